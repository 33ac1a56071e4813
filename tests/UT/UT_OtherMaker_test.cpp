// The tests of what is done by vectors run as on another maker's processor,
// after whose vectors something is to be done if it is not after these, and
// otherwise not: the linker has this function called in place of the one that
// asks.

bool utVectorsLinger() __asm__("__real__Z16sysVectorsLingerv");
bool utVectorsLingerElsewhere() __asm__("__wrap__Z16sysVectorsLingerv");

bool
utVectorsLingerElsewhere()
{
    return __builtin_cpu_supports("avx") && !utVectorsLinger();
}
