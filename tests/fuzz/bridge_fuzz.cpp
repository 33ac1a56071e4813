// The frames of the browser's extension: a request is what a plain JSON parser
// finds in the same bytes, and a reply comes out of its parts as it went in.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "bridge/ut_BridgeReply.h"
#include "bridge/ut_BridgeRequest.h"

#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

using ut_Json = nlohmann::json;

static void
utTryRequest(const std::string &frame)
{
    ut_BridgeRequest request;
    std::string problem;
    const ut_BridgeVerdict verdict = utReadRequest(frame, request, problem);
    utRequire((verdict == ut_BridgeVerdict::ACCEPTED) == problem.empty());
    if (verdict != ut_BridgeVerdict::ACCEPTED)
        return;

    utRequire(request.text.find('\0') == std::string::npos);
    const ut_Json plain =
        ut_Json::parse(frame, nullptr, /*allow_exceptions=*/false);
    // Only lone surrogates are more than the parser takes.
    if (plain.is_discarded())
    {
        utRequire(
            frame.find("\\ud") != std::string::npos ||
            frame.find("\\uD") != std::string::npos);
        return;
    }
    utRequire(plain.size() == 3);
    utRequire(plain.at("id") == request.id);
    // The tests of the host show that each name calls its own method.
    const ut_Json &arguments = plain.at("args");
    if (arguments.empty())
        utRequire(request.method == ut_BridgeMethod::GET_STASHED_STRING);
    else if (arguments[0].is_string())
        utRequire(arguments == ut_Json::array({request.text}));
    else
        utRequire(arguments == ut_Json::array({request.number}));
}

static std::string
utLatin1(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes)
    {
        if (uint8(byte) < 0x80)
            text += byte;
        else
            text += {char(0xc0 | uint8(byte) >> 6), char(0x80 | (byte & 0x3f))};
    }
    return text;
}

static void
utTryReply(const std::string &reply)
{
    static constexpr size_t theMaxBytes = 100;
    static constexpr int64 theId = 9007199254740991;
    std::string joined;
    bool isLast = false;
    const auto take = [&](const std::string &frame)
    {
        utRequire(!isLast);
        uint32 length = 0;
        memcpy(&length, frame.data(), sizeof(length));
        utRequire(length == frame.size() - sizeof(length));
        utRequire(length <= theMaxBytes);
        // A part that is cut inside a character would be refused here.
        const ut_Json part = ut_Json::parse(frame.substr(sizeof(length)));
        utRequire(part.at("id") == theId);
        joined += part.at("part").get<std::string>();
        isLast = part.contains("last");
        utRequire(part.size() == (isLast ? 3U : 2U));
        return true;
    };
    utRequire(utSendReply(theId, reply, take, theMaxBytes));
    utRequire(isLast);
    // What the parser would leave out is not UTF-8.
    const ut_Json text(reply);
    const bool isUtf8 =
        text == ut_Json::parse(text.dump(
                    -1, ' ', false, ut_Json::error_handler_t::ignore));
    utRequire(joined == (isUtf8 ? reply : utLatin1(reply)));
}

void
utTry(const std::string &input)
{
    utTryRequest(input);
    utTryReply(input);
}
