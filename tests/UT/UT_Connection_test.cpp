// What the fuzz entry of exchanges does not show.

#include "UT/UT_Connection.h"

#include "ut_LoopbackServer.h"

#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

using Server = ut_LoopbackServer;

TEST(UT_Connection, RepliesMayBeAsLongAsTheLimit)
{
    Server server({Server::send(std::string(70000, 'r') + '\0')});
    UT_Connection connection(server.port());
    UT_WorkBuffer reply;
    connection.setMaxReply(70000);
    EXPECT_TRUE(connection.run("", reply));
    EXPECT_EQ(70000, reply.length());
    connection.setMaxReply(69999);
    EXPECT_FALSE(connection.run("", reply));
    EXPECT_EQ(UT_CONNECTION_TOO_LONG, connection.result());
    EXPECT_EQ(0, reply.length());
}

// What peers cause is in the table of UT_Wire.
TEST(UT_Connection, FailuresHaveReasons)
{
    const ut_LoopbackPort refusing;
    const std::string refused = "127.0.0.1 port " +
                                std::to_string(refusing.port()) +
                                ": Connection refused";
    const struct
    {
        const char *host;
        const char *text;
        int length;
        UT_ConnectionResult result;
        std::string message; // what it contains
    } cases[] = {
        {nullptr,     "x",    1,       UT_CONNECTION_REFUSED,  refused    },
        {"300.1.1.1", "x",    1,       UT_CONNECTION_NO_HOST,  "300.1.1.1"},
        {nullptr,     "a\0b", 3,       UT_CONNECTION_HAS_NUL,  "NUL"      },
        {nullptr,     "x",    INT_MAX, UT_CONNECTION_TOO_LONG, "text"     },
    };
    for (const auto &row : cases)
    {
        UT_Connection connection(refusing.port(), row.host);
        UT_WorkBuffer reply;
        EXPECT_FALSE(connection.run(row.text, row.length, reply));
        EXPECT_EQ(row.result, connection.result()) << row.message;
        EXPECT_NE(nullptr, strstr(connection.message(), row.message.c_str()))
            << connection.message();
    }
}
