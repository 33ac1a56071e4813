// Writers for UT_IStream: numbers as text or big-endian, and texts with their
// length or in quotes. Values read back bit for bit, unless a comment says
// otherwise.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <iosfwd>

enum UT_ISTREAM_RLE_IO : int;

// All writers return whether `out` is without failure afterwards; one that had
// failed before stays so.

/// Writes `count` big-endian values, for UT_IStream::bread(). O(count), in
/// blocks of 4096 bytes.
UT_API bool UTbwrite(std::ostream &out, const char *values, int count);
UT_API bool UTbwrite(std::ostream &out, const short *values, int count);
UT_API bool UTbwrite(std::ostream &out, const int *values, int count);
UT_API bool UTbwrite(std::ostream &out, const int64 *values, int count);
UT_API bool UTbwrite(std::ostream &out, const float *values, int count);
UT_API bool UTbwrite(std::ostream &out, const double *values, int count);

/// Writes `count` numbers as a line of text with blanks between them, for
/// UT_IStream::aread(): "0.5 1" and a newline; nothing at all when `count` is
/// 0. The decimal point is "." in every locale and digits are not grouped.
/// Floats have the fewest digits that distinguish them from their neighbours.
///
/// Integers beyond the range of a long do not read back. Infinity is written as
/// "1e999", which is too large for any float; a NaN is written as "nan" and
/// loses its sign and payload.
UT_API bool UTawrite(std::ostream &out, const short *values, int count);
UT_API bool
UTawrite(std::ostream &out, const unsigned short *values, int count);
UT_API bool UTawrite(std::ostream &out, const int *values, int count);
UT_API bool UTawrite(std::ostream &out, const unsigned *values, int count);
UT_API bool UTawrite(std::ostream &out, const int64 *values, int count);
UT_API bool UTawrite(std::ostream &out, const uint64 *values, int count);
UT_API bool UTawrite(std::ostream &out, const float *values, int count);
UT_API bool UTawrite(std::ostream &out, const double *values, int count);

/// Writes a length and that many bytes, for UT_IStream::readBinaryString() with
/// the same `rle`. The length is a big-endian field of 8, 16, 32 or 64 bits,
/// the first width that is at least `rle`; a field of all ones means that the
/// length follows in the next wider one. A negative `length` stands for the
/// text up to its NUL; null is a text of 0 bytes. "hi" with UT_ISTREAM_RLE_8 is
/// written as the bytes 2 'h' 'i'.
UT_API bool UTsaveStringBinary(
    std::ostream &out, UT_ISTREAM_RLE_IO rle, const char *bytes,
    int length = -1);

/// Writes the bytes in double quotes, with a backslash before every double
/// quote and backslash, for UT_IStream::getString(). `length` and null are as
/// for UTsaveStringBinary(). No white space is needed around the result.
UT_API bool
UTsaveStringAscii(std::ostream &out, const char *bytes, int length = -1);
