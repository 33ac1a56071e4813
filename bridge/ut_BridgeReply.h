// Answers to the browser's extension, as frames of a limited size.

#pragma once

#include "SYS/SYS_Types.h"

#include <functional>
#include <string>
#include <string_view>

/// Most bytes of JSON in one frame to the browser, which refuses more than
/// 1048576 and ends the connection.
constexpr size_t theMaxReplyBytes = 1000000;

/// Takes one frame, its length in front. False when it cannot be sent.
using ut_FrameSink = std::function<bool(const std::string &frame)>;

/// Sends `reply` as the answer to the request `id`, in as many parts of at most
/// `maxBytes` of JSON, 100 or more, as it takes:
///
///     {"id":7,"part":"..."}   {"id":7,"part":"...","last":true}
///
/// Deliberate: a reply that is valid UTF-8 is that text; any other is taken
/// byte for byte, each one the character of its number, as the old platform
/// takes every reply. A part ends with a whole character. Needs memory for one
/// frame. False once `send` has returned false.
bool utSendReply(
    int64 id, std::string_view reply, const ut_FrameSink &send,
    size_t maxBytes = theMaxReplyBytes);

/// Sends a failure, {"id":7,"error":"component","message":"..."}. `message` is
/// cut where it would not fit one frame.
bool utSendError(
    int64 id, std::string_view error, std::string_view message,
    const ut_FrameSink &send);
