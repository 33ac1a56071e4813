// The tests of the sorts run as on a processor without long vectors: the linker
// has this function called in place of the one that asks.

bool utHasLongVectors() __asm__("__wrap__Z20utHasLongSortVectorsv");

bool
utHasLongVectors()
{
    return false;
}
