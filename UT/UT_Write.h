// Writers of what UT_IStream reads: numbers as text or big-endian, and texts
// with their length or in quotes. What is written reads back as the same value,
// bit by bit, unless a comment tells otherwise.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <iosfwd>

enum UT_ISTREAM_RLE_IO : int;

// All writers return whether `out` is still without failure, which it is not
// when it was in one before.

/// Writes `count` big-endian values, for UT_IStream::bread(). O(count), in
/// blocks of 4096 bytes.
UT_API bool UTbwrite(std::ostream &out, const char *values, int count);
UT_API bool UTbwrite(std::ostream &out, const short *values, int count);
UT_API bool UTbwrite(std::ostream &out, const int *values, int count);
UT_API bool UTbwrite(std::ostream &out, const int64 *values, int count);
UT_API bool UTbwrite(std::ostream &out, const float *values, int count);
UT_API bool UTbwrite(std::ostream &out, const double *values, int count);

/// Writes `count` numbers as a line of text with blanks between them, nothing
/// at all for none, for UT_IStream::aread(). The decimal point is "." in every
/// locale and no digits are grouped. Floats have as few digits as tell them
/// from their neighbours.
///
/// Integers beyond the range of a long do not read back. Infinities are numbers
/// too large to hold, "1e999"; a NaN is the word "nan" and loses its sign and
/// its other bits.
UT_API bool UTawrite(std::ostream &out, const short *values, int count);
UT_API bool
UTawrite(std::ostream &out, const unsigned short *values, int count);
UT_API bool UTawrite(std::ostream &out, const int *values, int count);
UT_API bool UTawrite(std::ostream &out, const unsigned *values, int count);
UT_API bool UTawrite(std::ostream &out, const int64 *values, int count);
UT_API bool UTawrite(std::ostream &out, const uint64 *values, int count);
UT_API bool UTawrite(std::ostream &out, const float *values, int count);
UT_API bool UTawrite(std::ostream &out, const double *values, int count);

/// Writes a length and that many bytes, for UT_IStream::readBinaryString(),
/// which must be told the same `rle`. The length is a big-endian field of 8, 16
/// or 32 bits, the first that `rle` is not above, and 64 beyond; a field of all
/// ones tells that the length follows in the next wider one. A negative
/// `length` is that of the text up to its NUL; null is a text of 0 bytes.
UT_API bool UTsaveStringBinary(
    std::ostream &out, UT_ISTREAM_RLE_IO rle, const char *bytes,
    int length = -1);

/// Writes the bytes in double quotes, with a backslash before every double
/// quote and backslash, for UT_IStream::getString(). The same rules for
/// `length` and null. There is no need for white space around it.
UT_API bool
UTsaveStringAscii(std::ostream &out, const char *bytes, int length = -1);
