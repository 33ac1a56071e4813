#include "UT/UT_Env.h"
#include "UT/UT_EnvControl.h"
#include "UT/UT_String.h"

#include <cstdio>

int
main()
{
    // Before the first setting is read; usually the shell does this.
    ValdrinSetenv("VALDRIN_UI_FONT_SIZE", "12pt");
    ValdrinSetenv("VALDRIN_UI_SCALE_PERCENT", "1000");
    ValdrinSetenv("VALDRIN_UI_SOUND", "off");

    std::printf(
        "font %d, scale %d, sound %d\n",
        UT_EnvControl::getInt(UT_VALDRIN_UI_FONT_SIZE),
        UT_EnvControl::getInt(UT_VALDRIN_UI_SCALE_PERCENT),
        UT_EnvControl::getInt(UT_VALDRIN_UI_SOUND));

    // The table notices no change by itself.
    ValdrinSetenv("VALDRIN_UI_FONT_SIZE", "14");
    const int before = UT_EnvControl::getInt(UT_VALDRIN_UI_FONT_SIZE);
    UT_EnvControl::varChanged("VALDRIN_UI_FONT_SIZE");
    const int after = UT_EnvControl::getInt(UT_VALDRIN_UI_FONT_SIZE);
    std::printf("font %d, then %d\n", before, after);

    // A text is null when there is neither a value nor a default. It is
    // borrowed until the next change of the settings.
    const char *artist = UT_EnvControl::getString(UT_VALDRIN_IMAGE_ARTIST);
    std::printf("artist: %s\n", artist ? artist : "nobody");
    UT_EnvControl::setStringVar(UT_VALDRIN_IMAGE_ARTIST, "Ada");
    artist = UT_EnvControl::getString(UT_VALDRIN_IMAGE_ARTIST);
    std::printf("artist: %s\n", artist);

    // Any other variable.
    ValdrinSetenv("SHOW", "forest");
    UT_String path("/shows/$SHOW/shot1");
    path.expandVariables();
    std::printf("%s\n", path.buffer());
    return 0;
}
