// Stands in for the long vectors of the sorts, as on a processor without them:
// the tests of the sorts run with the short ones.

#include "UT/UT_VectorSortImpl.h"

#include <cstdlib>

#ifdef UT_HAS_SORT_VECTORS

bool
utHasLongSortVectors()
{
    return false;
}

bool
utSettleRunByLongVectors(unsigned *, size_t, ut_KeyForm<unsigned>)
{
    abort();
}

bool
utSettleRunByLongVectors(float *, size_t, ut_KeyForm<float>)
{
    abort();
}

void
utSortByNetwork(unsigned *, size_t, ut_KeyForm<unsigned>)
{
    abort();
}

void
utSortByNetwork(float *, size_t, ut_KeyForm<float>)
{
    abort();
}

ut_EqualRange
utDivideByLongVectors(unsigned *, size_t, ut_KeyForm<unsigned>)
{
    abort();
}

ut_EqualRange
utDivideByLongVectors(float *, size_t, ut_KeyForm<float>)
{
    abort();
}

#endif
