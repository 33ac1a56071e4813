// The tests of what is done by vectors run as on a processor that has none:
// these take the place of what the compiler's library finds out about it, and
// of what such a processor could not do.

#include <cstdlib>

extern unsigned theModel[4] __asm__("__cpu_model");
extern unsigned theFeatures[8] __asm__("__cpu_features2");
int utFindOut() __asm__("__cpu_indicator_init");

unsigned theModel[4] = {};
unsigned theFeatures[8] = {};

int
utFindOut()
{
    return 0;
}

void utForgetVectors() __asm__("__wrap__Z16sysForgetVectorsv");

void
utForgetVectors()
{
    abort();
}
