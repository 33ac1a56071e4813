// Requests of the browser's extension, as they come in frames.

#pragma once

#include "SYS/SYS_Types.h"

#include <string>

/// Most bytes of JSON in a frame to the host. A page's text has at most 2^20
/// UTF-16 units, of which none takes more than the six bytes of "\u0001".
constexpr size_t theMaxRequestBytes = size_t(8) << 20;

/// What a request may ask for: the methods of IValdrinConnection, and for the
/// extension's own page the state of the host.
enum class ut_BridgeMethod
{
    SET_SOCKET_PORT_NUM,
    RUN,
    RUN_PYTHON_STATEMENTS,
    RUN_PYTHON_EXPRESSION,
    STASH_STRING,
    GET_STASHED_STRING,
    CHECK
};

struct ut_BridgeRequest
{
    int64 id = 0; // of the extension's choice; the answer repeats it
    ut_BridgeMethod method = ut_BridgeMethod::CHECK;
    std::string text; // UTF-8 without NUL; empty unless the method takes one
    int32 number = 0; // 0 unless the method takes one
};

/// How utReadRequest() finds a frame.
enum class ut_BridgeVerdict
{
    ACCEPTED, ///< a request
    REFUSED,  ///< it has an id, and is otherwise not what a method takes
    BROKEN    ///< not of our extension: nothing in the stream can be trusted
};

/// Reads the JSON of one frame: an object with exactly the members "id", an
/// integer from 0 to 2^53 - 1, "method" and "args", an array of what the method
/// takes. It is valid UTF-8 without a byte order mark, names no member twice
/// and is nested no deeper than 8. A lone surrogate, which script may have in
/// a text, counts as U+FFFD.
///
/// Unless the verdict is ACCEPTED, `problem` is set to an English sentence. It
/// quotes nothing of the frame. Of `request` only the id counts when the frame
/// is REFUSED, and nothing when it is BROKEN.
ut_BridgeVerdict utReadRequest(
    std::string frame, ut_BridgeRequest &request, std::string &problem);
