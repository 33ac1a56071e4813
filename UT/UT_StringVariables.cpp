// Replacing the variables in a text by their values.

#include "UT_String.h"

#include "UT_VariableScan.h"
#include "UT_VariableScanImpl.h"
#include "UT_WorkBuffer.h"

void
UT_String::expandVariables()
{
    // Most texts have nothing to replace.
    if (!myData || utHasNothingToReplace(myData))
    {
        harden();
        return;
    }
    UT_WorkBuffer expanded;
    UTVariableScan(
        expanded, myData, nullptr, nullptr, /*expandTilde=*/true,
        /*ignoreComments=*/true);
    expanded.copyIntoString(*this);
}
