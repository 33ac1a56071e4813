// Replacing the variables in a text by their values.

#include "UT_String.h"

#include "UT_VariableScan.h"
#include "UT_WorkBuffer.h"

void
UT_String::expandVariables()
{
    UT_WorkBuffer expanded;
    UTVariableScan(
        expanded, myData, nullptr, nullptr, /*expandTilde=*/true,
        /*ignoreComments=*/true);
    expanded.copyIntoString(*this);
}
