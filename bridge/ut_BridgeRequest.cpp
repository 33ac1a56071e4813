#include "ut_BridgeRequest.h"

#include <limits>
#include <set>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

using ut_Json = nlohmann::json;

static constexpr int theMaxDepth = 8;
static constexpr int64 theMaxId = (int64(1) << 53) - 1;

enum class ut_Argument
{
    NONE,
    TEXT,
    INTEGER
};

struct ut_Method
{
    std::string_view name;
    ut_BridgeMethod method;
    ut_Argument argument;
};

// Any other name is not a method, and a name gives access to its row only.
static constexpr ut_Method theMethods[] = {
    {"SetSocketPortNum",    ut_BridgeMethod::SET_SOCKET_PORT_NUM,
     ut_Argument::INTEGER                                                               },
    {"Run",                 ut_BridgeMethod::RUN,                   ut_Argument::TEXT   },
    {"RunPythonStatements", ut_BridgeMethod::RUN_PYTHON_STATEMENTS,
     ut_Argument::TEXT                                                                  },
    {"RunPythonExpression", ut_BridgeMethod::RUN_PYTHON_EXPRESSION,
     ut_Argument::TEXT                                                                  },
    {"StashString",         ut_BridgeMethod::STASH_STRING,          ut_Argument::TEXT   },
    {"GetStashedString",    ut_BridgeMethod::GET_STASHED_STRING,
     ut_Argument::NONE                                                                  },
    {"Check",               ut_BridgeMethod::CHECK,                 ut_Argument::INTEGER},
};

// ---- Lone surrogates

// The number of the four hexadecimal digits at `text`; -1 when there are
// others.
static int
utHexUnit(std::string_view text)
{
    if (text.size() < 4)
        return -1;
    int unit = 0;
    for (const char byte : text.substr(0, 4))
    {
        const char lower = byte >= 'A' && byte <= 'F' ? char(byte + 32) : byte;
        if (lower >= '0' && lower <= '9')
            unit = unit * 16 + (lower - '0');
        else if (lower >= 'a' && lower <= 'f')
            unit = unit * 16 + (lower - 'a' + 10);
        else
            return -1;
    }
    return unit;
}

// JSON.stringify() writes a surrogate without its other half as an escape, and
// the parser would refuse that. It must not cost the page its host.
static void
utReplaceLoneSurrogates(std::string &frame)
{
    const std::string_view json = frame;
    size_t at = 0;
    while ((at = json.find('\\', at)) != std::string_view::npos)
    {
        if (json.substr(at, 2) != "\\u")
        {
            at += 2;
            continue;
        }
        const int unit = utHexUnit(json.substr(at + 2));
        const bool isHigh = unit >= 0xd800 && unit < 0xdc00;
        const bool isLow = unit >= 0xdc00 && unit < 0xe000;
        if (isHigh && json.substr(at + 6, 2) == "\\u")
        {
            const int next = utHexUnit(json.substr(at + 8));
            if (next >= 0xdc00 && next < 0xe000)
            {
                at += 12;
                continue;
            }
        }
        if (isHigh || isLow)
            frame.replace(at + 2, 4, "fffd");
        at += 6;
    }
}

// ---- The JSON

// The object in `frame`; anything else when it cannot be trusted.
static ut_Json
utParseFrame(const std::string &frame)
{
    // The parser passes over a byte order mark, and takes a NUL for the end.
    if (frame.compare(0, 3, "\xef\xbb\xbf") == 0 ||
        frame.find('\0') != std::string::npos)
        return ut_Json();

    using ut_Event = ut_Json::parse_event_t;
    bool isSound = true;
    std::set<std::string> names;
    const auto watch = [&](int depth, ut_Event event, ut_Json &value)
    {
        if (event == ut_Event::object_start || event == ut_Event::array_start)
            isSound = isSound && depth < theMaxDepth;
        else if (event == ut_Event::key && depth == 1)
            isSound = isSound && names.insert(value.get<std::string>()).second;
        return isSound;
    };
    ut_Json json = ut_Json::parse(frame, watch, /*allow_exceptions=*/false);
    return isSound && json.is_object() ? std::move(json) : ut_Json();
}

// False when `value` is not an integer from `low` to `high`.
static bool
utTakeInteger(const ut_Json &value, int64 low, int64 high, int64 &number)
{
    if (!value.is_number_integer())
        return false;
    // Above the signed integers there are unsigned ones.
    if (value.is_number_unsigned() && value.get<uint64>() > uint64(high))
        return false;
    const int64 taken = value.get<int64>();
    if (taken < low || taken > high)
        return false;
    number = taken;
    return true;
}

// Null when `args` is what `method` takes, and `request` then has it. Otherwise
// what is wrong.
static const char *
utTakeArguments(
    const ut_Method &method, ut_Json &args, ut_BridgeRequest &request)
{
    if (method.argument == ut_Argument::NONE)
        return args.empty() ? nullptr : "The method takes no arguments.";
    if (args.size() != 1)
        return "The method takes one argument.";

    if (method.argument == ut_Argument::INTEGER)
    {
        using ut_Limits = std::numeric_limits<int32>;
        int64 number = 0;
        if (!utTakeInteger(args[0], ut_Limits::min(), ut_Limits::max(), number))
            return "The method takes an integer of 32 bits.";
        request.number = SYSnarrow<int32>(number);
        return nullptr;
    }

    if (!args[0].is_string())
        return "The method takes a text.";
    request.text = std::move(args[0].get_ref<std::string &>());
    if (request.text.find('\0') != std::string::npos)
        return "The text has a NUL in it, which no command can carry.";
    return nullptr;
}

// Null when `json`, an object, is a request, and `request` then has all but its
// id. Otherwise what is wrong.
static const char *
utTakeRequest(ut_Json &json, ut_BridgeRequest &request)
{
    if (json.size() != 3 || !json.contains("method") || !json.contains("args"))
        return "A request has the members id, method and args.";
    if (!json["method"].is_string())
        return "The name of a method is a text.";
    if (!json["args"].is_array())
        return "The arguments are an array.";
    const auto &name = json["method"].get_ref<const std::string &>();
    for (const ut_Method &method : theMethods)
    {
        if (method.name != name)
            continue;
        request.method = method.method;
        return utTakeArguments(method, json["args"], request);
    }
    return "There is no such method.";
}

ut_BridgeVerdict
utReadRequest(
    std::string frame, ut_BridgeRequest &request, std::string &problem)
{
    request = ut_BridgeRequest();
    utReplaceLoneSurrogates(frame);
    ut_Json json = utParseFrame(frame);
    if (!json.is_object())
    {
        problem = "The frame is not a JSON object in UTF-8, names a member "
                  "twice or is nested too deeply.";
        return ut_BridgeVerdict::BROKEN;
    }
    if (!json.contains("id") ||
        !utTakeInteger(json["id"], 0, theMaxId, request.id))
    {
        problem = "The request has no usable id.";
        return ut_BridgeVerdict::BROKEN;
    }
    if (const char *refusal = utTakeRequest(json, request))
    {
        problem = refusal;
        return ut_BridgeVerdict::REFUSED;
    }
    return ut_BridgeVerdict::ACCEPTED;
}
