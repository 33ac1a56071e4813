// Reading and writing descriptors that come from whoever started the program.

#pragma once

/// Opens /dev/null, the wrong way round, for each of the descriptors 0 to 2
/// that the caller has closed: a socket must not take the place of one, and
/// using it must still fail.
void utFillStandardDescriptors();

/// Whether a read or write on `fd` that failed with `error` is worth
/// repeating. Waits for `events` of poll() when the descriptor does not block,
/// which other programs can cause that share it.
bool utIsWorthRepeating(int error, int fd, short events);
