// Steps of the sorts of plain keys that take eight keys at a time, by the
// vectors of AVX2, or sixteen, by the long ones of AVX-512.

#pragma once

#include "UT_DigitSortImpl.h"
#include "UT_QuickSortImpl.h"

#include "SYS/SYS_VectorsImpl.h"

// The most keys that utSortByRanks() takes.
constexpr size_t theRanksSize = 112;

// The most keys that utSortByNetwork() takes.
constexpr size_t theNetworkSize = 256;

#ifdef SYS_HAS_VECTORS
// Sorts up to theRanksSize keys; stable. Compares each key with all others, as
// the place of a key is the number of keys that belong before it: eight at a
// time and without a branch, which up to that size is faster than to divide.
void utSortByRanks(unsigned *keys, size_t n, ut_KeyForm<unsigned> form);
void utSortByRanks(float *keys, size_t n, ut_KeyForm<float> form);

// Moves the keys that belong after `pivot` after the others, in a quarter of
// the time that single keys take, and returns how many the others are. Keys
// equal to the pivot are among these if `equalsStay` is set. `pivot` is in the
// flipped form.
size_t utPartitionByVectors(
    unsigned *keys, size_t n, unsigned pivot, bool equalsStay,
    ut_KeyForm<unsigned> form);
size_t utPartitionByVectors(
    float *keys, size_t n, float pivot, bool equalsStay,
    ut_KeyForm<float> form);

// What utSettleRun() does, for 17 keys or more.
bool
utSettleRunByLongVectors(unsigned *keys, size_t n, ut_KeyForm<unsigned> form);
bool utSettleRunByLongVectors(float *keys, size_t n, ut_KeyForm<float> form);

// Sorts up to theNetworkSize keys by a network of exchanges: sixteen at a time
// and without a branch. Of equal floats -0 comes first.
void utSortByNetwork(unsigned *keys, size_t n, ut_KeyForm<unsigned> form);
void utSortByNetwork(float *keys, size_t n, ut_KeyForm<float> form);

// The same for up to 32 keys, of which equal ones keep their order. Returns
// false, and does nothing, where one is -0: the network cannot do that then.
bool
utSortInOrderByNetwork(unsigned *keys, size_t n, ut_KeyForm<unsigned> form);
bool utSortInOrderByNetwork(float *keys, size_t n, ut_KeyForm<float> form);

// The place of each of up to 32 keys: how many belong before it, those that are
// less, and those before it that are equal.
void utPlacesByLongVectors(const unsigned *keys, size_t n, size_t *places);

// Divides theNetworkSize keys or more by a middle one of some of them.
ut_EqualRange
utDivideByLongVectors(unsigned *keys, size_t n, ut_KeyForm<unsigned> form);
ut_EqualRange
utDivideByLongVectors(float *keys, size_t n, ut_KeyForm<float> form);
#endif
