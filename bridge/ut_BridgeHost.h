// Serves one browser: requests come in, calls go to the component, answers go
// out.

#pragma once

/// Answers the requests on standard input, one after the other, until it ends.
/// Standard output carries nothing but the answers: what the library prints
/// goes to standard error.
///
/// The end of standard input ends the process at once with status 0, as does
/// SIGTERM: in the middle of a call too, which nobody waits for any more. So
/// requests that come just before the end may be left undone. Returns the exit
/// status otherwise: 1, after a line on standard error, when a frame cannot be
/// trusted or an answer cannot be sent. Call once.
int utServeBrowser();
