// Lists the settings whose names match a pattern, and marks those that differ
// from their defaults.

#include <UT/UT_EnvControl.h>
#include <UT/UT_String.h>

#include <cstdio>

int
main(int argc, char **argv)
{
    const char *const pattern = argc > 1 ? argv[1] : "*";
    UT_ControlInfo setting;
    for (int i = 0; UTdescribeControl(i, setting); ++i)
    {
        if (!UT_String(setting.name).match(pattern))
            continue;
        if (setting.kind == UT_CONTROL_STRING)
        {
            const UT_String text(setting.text);
            const bool isChanged = text.compare(setting.defaultText) != 0;
            std::printf(
                "%c %s = %s\n", isChanged ? '*' : ' ', setting.name,
                text.isNull() ? "(none)" : text.buffer());
            continue;
        }
        const bool isChanged = setting.value != setting.defaultValue;
        std::printf(
            "%c %s = %g (%g to %g)\n", isChanged ? '*' : ' ', setting.name,
            setting.value, setting.minimum, setting.maximum);
    }
    return 0;
}
