// Saving a string to a stream, and loading it back.

#include "UT_String.h"

#include "UT_IStream.h"
#include "UT_WorkBuffer.h"
#include "UT_Write.h"

bool
UT_String::save(std::ostream &out, bool binary) const
{
    return binary ? UTsaveStringBinary(out, UT_ISTREAM_RLE_8, myData)
                  : UTsaveStringAscii(out, myData);
}

bool
UT_String::load(UT_IStream &in)
{
    if (in.isBinary())
        return in.readBinaryString(*this, UT_ISTREAM_RLE_8);
    UT_WorkBuffer text;
    if (!in.getString(text))
        return false;
    text.copyIntoString(*this);
    return true;
}
