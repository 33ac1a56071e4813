// The frames of the browser's extension: a request is what a plain JSON parser
// finds in the same bytes, and a reply comes out of its parts as it went in.

#include "ut_FuzzCheck.h"

#include "bridge/ut_BridgeReply.h"
#include "bridge/ut_BridgeRequest.h"

#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

using ut_Json = nlohmann::json;

// The JSON that asks for what `request` has, by the method of `plain`: the
// tests of the host show that each name calls its own.
static ut_Json
utWrite(const ut_BridgeRequest &request, const ut_Json &plain)
{
    ut_Json arguments = ut_Json::array();
    switch (request.method)
    {
    case ut_BridgeMethod::GET_STASHED_STRING:
        break;
    case ut_BridgeMethod::SET_SOCKET_PORT_NUM:
    case ut_BridgeMethod::CHECK:
        arguments.push_back(request.number);
        break;
    default:
        arguments.push_back(request.text);
    }
    return {
        {"id",     request.id        },
        {"args",   arguments         },
        {"method", plain.at("method")}
    };
}

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
        utRequire(
            frame.find("\\ud") != std::string::npos ||
            frame.find("\\uD") != std::string::npos);
    else
        utRequire(plain == utWrite(request, plain));
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

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string bytes(data, data + size);
    utTryRequest(bytes);
    utTryReply(bytes);
    return 0;
}
