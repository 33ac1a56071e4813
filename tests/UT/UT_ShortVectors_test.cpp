// The tests of what is done by vectors run as on a processor without long ones:
// the linker has this function called in place of the one that asks.

bool utHasShortOnly() __asm__("__wrap__Z17sysHasLongVectorsv");

bool
utHasShortOnly()
{
    return false;
}
