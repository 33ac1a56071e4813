// Reading and writing descriptors that the program inherited from its parent.

#pragma once

/// Opens /dev/null for each of the descriptors 0 to 2 that the parent has
/// closed, 0 for writing and the others for reading: a socket must not get one
/// of these numbers, and using them must still fail.
void utFillStandardDescriptors();

/// Whether a read or write on `fd` that failed with `error` is worth repeating.
/// When the descriptor does not block, which other programs that share it can
/// cause, first waits for `events` of poll().
bool utIsWorthRepeating(int error, int fd, short events);
