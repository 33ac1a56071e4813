// The settings: names, defaults, limits, former names and uses.

#include "UT_EnvControlImpl.h"

constexpr const char *theObeyedNames[] = {
    "HOME",
    "VALDRIN8_COMPATIBILITY",
    "VALDRIN_DISABLE_3DNOW",
    "VALDRIN_DISABLE_MMX",
    "VALDRIN_DISABLE_SSE",
    "VALDRIN_DISABLE_XMMX",
    "VALDRIN_ERRORLOG_FILENAME",
    "VALDRIN_ERRORLOG_LEVEL",
    "VALDRIN_IMAGE_PATH",
    "VALDRIN_MAXTHREADS",
    "VALDRIN_RENDER_SHADER_PATH",
    "VALDRIN_RENDER_TEXTURE_PATH",
    "VALDRIN_SCRIPT_PATH",
    "VALDRIN_SCRIPT_PYTHON_PATH",
    "VALDRIN_TEMP_DIR",
    "VALDRIN_UI_HELP_PATH",
    "VALDRIN_UI_ICON_PATH",
    "VALDRIN_VERBOSE_ERROR",
    "VRS",
    nullptr,
};

// One row per line, however long it gets.
// clang-format off

// A switch is 0 or 1.
constexpr ut_ExistRow theExistLookups[] = {
    {UT_VALDRIN_WINDOW_CONSOLE,              "VALDRIN_WINDOW_CONSOLE",              0, nullptr, "text goes to a console window"},
    {UT_VALDRIN_DISABLE_CONSOLE,             "VALDRIN_DISABLE_CONSOLE",             0, "VALDRIN_NO_CONSOLE", "no console comes up"},
    {UT_VALDRIN_TEXT_CONSOLE,                "VALDRIN_TEXT_CONSOLE",                0, nullptr, "the program has a text console"},
    {UT_VALDRIN_VERBOSE_ERROR,               "VALDRIN_VERBOSE_ERROR",               0, nullptr, "failed writes to output files are reported on standard error"},
    {UT_VALDRIN_UI_SPLASH_SCREEN,            "VALDRIN_UI_SPLASH_SCREEN",            1, nullptr, "a picture is shown during start-up"},
    {UT_VALDRIN_UI_TOOLTIPS,                 "VALDRIN_UI_TOOLTIPS",                 1, nullptr, "a hint comes up where the pointer rests"},
    {UT_VALDRIN_UI_CONFIRM_QUIT,             "VALDRIN_UI_CONFIRM_QUIT",             1, nullptr, "leaving with unsaved changes is asked about"},
    {UT_VALDRIN_DISABLE_CPUID,               "VALDRIN_DISABLE_CPUID",               0, nullptr, "the processor is not asked what it offers"},
    {UT_VALDRIN_DISABLE_MMX,                 "VALDRIN_DISABLE_MMX",                 0, nullptr, "MMX instructions stay unused"},
    {UT_VALDRIN_DISABLE_XMMX,                "VALDRIN_DISABLE_XMMX",                0, nullptr, "extended MMX instructions stay unused"},
    {UT_VALDRIN_DISABLE_SSE,                 "VALDRIN_DISABLE_SSE",                 0, nullptr, "SSE instructions stay unused"},
    {UT_VALDRIN_DISABLE_3DNOW,               "VALDRIN_DISABLE_3DNOW",               0, nullptr, "3DNow! instructions stay unused"},
    {UT_VALDRIN_VIEW_GRID,                   "VALDRIN_VIEW_GRID",                   1, nullptr, "the ground grid is drawn"},
    {UT_VALDRIN_VIEW_AXES,                   "VALDRIN_VIEW_AXES",                   1, nullptr, "the axes of the world are drawn in a corner"},
    {UT_VALDRIN_VIEW_ANTIALIAS,              "VALDRIN_VIEW_ANTIALIAS",              1, nullptr, "lines and edges are smoothed"},
    {UT_VALDRIN_VIEW_BACKFACE_CULLING,       "VALDRIN_VIEW_BACKFACE_CULLING",       0, nullptr, "faces seen from the back are left out"},
    {UT_VALDRIN_VIEW_DOUBLE_BUFFER,          "VALDRIN_VIEW_DOUBLE_BUFFER",          1, nullptr, "pictures are drawn out of sight and then shown"},
    {UT_VALDRIN_VIEW_WIREFRAME,              "VALDRIN_VIEW_WIREFRAME",              0, nullptr, "new viewports show edges only"},
    {UT_VALDRIN_VIEW_POINT_NUMBERS,          "VALDRIN_VIEW_POINT_NUMBERS",          0, nullptr, "points are labelled with their numbers"},
    {UT_VALDRIN_VIEW_NORMALS,                "VALDRIN_VIEW_NORMALS",                0, nullptr, "surface normals are drawn"},
    {UT_VALDRIN_VIEW_SHADOWS,                "VALDRIN_VIEW_SHADOWS",                0, nullptr, "lights cast shadows in viewports"},
    {UT_VALDRIN_VIEW_TEXTURES,               "VALDRIN_VIEW_TEXTURES",               1, nullptr, "surfaces show their textures"},
    {UT_VALDRIN_VIEW_STEREO,                 "VALDRIN_VIEW_STEREO",                 0, nullptr, "viewports draw a picture for each eye"},
    {UT_VALDRIN_VIEW_FULL_SCREEN,            "VALDRIN_VIEW_FULL_SCREEN",            0, nullptr, "the first window fills the screen"},
    {UT_VALDRIN_VIEW_SAFE_AREA,              "VALDRIN_VIEW_SAFE_AREA",              0, nullptr, "the safe area of the camera is outlined"},
    {UT_VALDRIN_VIEW_FRAME_RATE,             "VALDRIN_VIEW_FRAME_RATE",             0, nullptr, "the frames per second are shown"},
    {UT_VALDRIN_VIEW_VERTICAL_SYNC,          "VALDRIN_VIEW_VERTICAL_SYNC",          1, nullptr, "drawing waits for the screen to refresh"},
    {UT_VALDRIN_VIEW_VERTEX_BUFFERS,         "VALDRIN_VIEW_VERTEX_BUFFERS",         1, nullptr, "geometry is kept in the memory of the display card"},
    {UT_VALDRIN_VIEW_OUTLINE_SELECTION,      "VALDRIN_VIEW_OUTLINE_SELECTION",      1, nullptr, "selected objects get an outline"},
    {UT_VALDRIN_RENDER_SHADOWS,              "VALDRIN_RENDER_SHADOWS",              1, nullptr, "lights cast shadows"},
    {UT_VALDRIN_RENDER_REFLECTIONS,          "VALDRIN_RENDER_REFLECTIONS",          1, nullptr, "surfaces reflect each other"},
    {UT_VALDRIN_RENDER_REFRACTIONS,          "VALDRIN_RENDER_REFRACTIONS",          1, nullptr, "transparent surfaces bend light"},
    {UT_VALDRIN_RENDER_MOTION_BLUR,          "VALDRIN_RENDER_MOTION_BLUR",          0, nullptr, "moving objects are blurred"},
    {UT_VALDRIN_RENDER_DEPTH_OF_FIELD,       "VALDRIN_RENDER_DEPTH_OF_FIELD",       0, nullptr, "what is out of focus is blurred"},
    {UT_VALDRIN_RENDER_AMBIENT_OCCLUSION,    "VALDRIN_RENDER_AMBIENT_OCCLUSION",    0, nullptr, "corners get less of the light from everywhere"},
    {UT_VALDRIN_RENDER_DISPLACEMENT,         "VALDRIN_RENDER_DISPLACEMENT",         1, nullptr, "displacement moves surfaces"},
    {UT_VALDRIN_RENDER_PROGRESSIVE,          "VALDRIN_RENDER_PROGRESSIVE",          1, nullptr, "a coarse picture comes first and is refined"},
    {UT_VALDRIN_RENDER_BACKGROUND,           "VALDRIN_RENDER_BACKGROUND",           0, nullptr, "work goes on while a frame renders"},
    {UT_VALDRIN_RENDER_KEEP_SCENE_FILES,     "VALDRIN_RENDER_KEEP_SCENE_FILES",     0, nullptr, "the files made for the renderer are kept"},
    {UT_VALDRIN_RENDER_SKIP_EXISTING_FRAMES, "VALDRIN_RENDER_SKIP_EXISTING_FRAMES", 0, nullptr, "frames that are on disk are not rendered again"},
    {UT_VALDRIN_RENDER_STOP_ON_ERROR,        "VALDRIN_RENDER_STOP_ON_ERROR",        1, nullptr, "a frame that fails ends the sequence"},
    {UT_VALDRIN_RENDER_STATISTICS,           "VALDRIN_RENDER_STATISTICS",           0, nullptr, "times and memory use are written to the log"},
    {UT_VALDRIN_IMAGE_TIFF_COMPRESSION,      "VALDRIN_IMAGE_TIFF_COMPRESSION",      1, nullptr, "TIFF files are compressed"},
    {UT_VALDRIN_IMAGE_TIFF_TILED,            "VALDRIN_IMAGE_TIFF_TILED",            0, nullptr, "TIFF files are written in tiles"},
    {UT_VALDRIN_IMAGE_TARGA_COMPRESSION,     "VALDRIN_IMAGE_TARGA_COMPRESSION",     1, nullptr, "Targa files are compressed"},
    {UT_VALDRIN_IMAGE_PREMULTIPLY_ALPHA,     "VALDRIN_IMAGE_PREMULTIPLY_ALPHA",     1, nullptr, "colours are multiplied by alpha"},
    {UT_VALDRIN_IMAGE_WRITE_ALPHA,           "VALDRIN_IMAGE_WRITE_ALPHA",           1, nullptr, "alpha is written where the format has it"},
    {UT_VALDRIN_IMAGE_LINEAR_INPUT,          "VALDRIN_IMAGE_LINEAR_INPUT",          0, nullptr, "images without a profile are taken as linear"},
    {UT_VALDRIN_IMAGE_DITHER,                "VALDRIN_IMAGE_DITHER",                1, nullptr, "noise hides the steps when bits are dropped"},
    {UT_VALDRIN_IMAGE_EMBED_THUMBNAIL,       "VALDRIN_IMAGE_EMBED_THUMBNAIL",       0, nullptr, "images carry a small copy of themselves"},
    {UT_VALDRIN_UI_AUTOSAVE,                 "VALDRIN_UI_AUTOSAVE",                 0, nullptr, "scenes are saved from time to time"},
    {UT_VALDRIN_UI_LEFT_HANDED,              "VALDRIN_UI_LEFT_HANDED",              0, nullptr, "the mouse buttons change places"},
    {UT_VALDRIN_UI_LARGE_ICONS,              "VALDRIN_UI_LARGE_ICONS",              0, nullptr, "icons have double size"},
    {UT_VALDRIN_UI_ANIMATION,                "VALDRIN_UI_ANIMATION",                1, nullptr, "panels and menus move into place"},
    {UT_VALDRIN_UI_SOUND,                    "VALDRIN_UI_SOUND",                    0, nullptr, "events are heard"},
    {UT_VALDRIN_UI_TABLET,                   "VALDRIN_UI_TABLET",                   1, nullptr, "a drawing tablet is used if there is one"},
    {UT_VALDRIN_UI_RESTORE_LAYOUT,           "VALDRIN_UI_RESTORE_LAYOUT",           1, nullptr, "windows come back where they were"},
    {UT_VALDRIN_UI_NATIVE_FILE_DIALOG,       "VALDRIN_UI_NATIVE_FILE_DIALOG",       0, nullptr, "files are chosen in the desktop's own dialog"},
    {UT_VALDRIN_UI_STATUS_BAR,               "VALDRIN_UI_STATUS_BAR",               1, nullptr, "windows have a status bar"},
    {UT_VALDRIN_SCRIPT_STARTUP,              "VALDRIN_SCRIPT_STARTUP",              1, nullptr, "the start-up script is run"},
    {UT_VALDRIN_SCRIPT_ECHO,                 "VALDRIN_SCRIPT_ECHO",                 0, nullptr, "commands are printed as they run"},
    {UT_VALDRIN_SCRIPT_WARNINGS,             "VALDRIN_SCRIPT_WARNINGS",             1, nullptr, "outdated commands cause a warning"},
    {UT_VALDRIN_SCRIPT_STOP_ON_ERROR,        "VALDRIN_SCRIPT_STOP_ON_ERROR",        1, nullptr, "a command that fails ends its script"},
    {UT_VALDRIN_SCRIPT_TRACE,                "VALDRIN_SCRIPT_TRACE",                0, nullptr, "each line is logged before it runs"},
    {UT_VALDRIN_SCRIPT_PYTHON,               "VALDRIN_SCRIPT_PYTHON",               1, nullptr, "Python is available"},
    {UT_VALDRIN_SCRIPT_COMPILE_CACHE,        "VALDRIN_SCRIPT_COMPILE_CACHE",        1, nullptr, "compiled scripts are kept on disk"},
    {UT_VALDRIN6_EXPRESSION_COMPATIBILITY,   "VALDRIN6_EXPRESSION_COMPATIBILITY",   0, nullptr, "expressions are evaluated as version 6 did"},
    {UT_VALDRIN7_CAMERA_COMPATIBILITY,       "VALDRIN7_CAMERA_COMPATIBILITY",       0, nullptr, "cameras frame the scene as version 7 did"},
    {UT_VALDRIN8_COMPATIBILITY,              "VALDRIN8_COMPATIBILITY",              0, nullptr, "variable names are scanned as version 8 did"},
    {UT_VALDRIN8_NORMAL_COMPATIBILITY,       "VALDRIN8_NORMAL_COMPATIBILITY",       0, nullptr, "normals are averaged as version 8 did"},
    {UT_VALDRIN8_TEXTURE_COMPATIBILITY,      "VALDRIN8_TEXTURE_COMPATIBILITY",      0, nullptr, "textures are filtered as version 8 did"},
    {UT_VALDRIN9_RANDOM_COMPATIBILITY,       "VALDRIN9_RANDOM_COMPATIBILITY",       0, nullptr, "random numbers come in the order of version 9"},
    {UT_VALDRIN9_LIGHT_COMPATIBILITY,        "VALDRIN9_LIGHT_COMPATIBILITY",        0, nullptr, "lights fade with distance as in version 9"},
    {UT_VALDRIN9_UNIT_COMPATIBILITY,         "VALDRIN9_UNIT_COMPATIBILITY",         0, nullptr, "scenes without a unit are read as version 9 did"},
    {UT_VALDRIN10_SCRIPT_COMPATIBILITY,      "VALDRIN10_SCRIPT_COMPATIBILITY",      0, nullptr, "scripts split words as version 10 did"},
    {UT_VALDRIN10_MENU_COMPATIBILITY,        "VALDRIN10_MENU_COMPATIBILITY",        0, nullptr, "menus are laid out as in version 10"},
    {UT_VALDRIN_UI_LOG_WINDOW,               "VALDRIN_UI_LOG_WINDOW",               0, nullptr, "the log window opens at start-up"},
    {UT_VALDRIN_VIEW_THREADED_DRAWING,       "VALDRIN_VIEW_THREADED_DRAWING",       0, nullptr, "a thread of its own draws the viewports"},
    {UT_INT_CONTROL_COUNT,                   nullptr,                               0, nullptr, nullptr},
};

constexpr ut_IntRow theIntLookups[] = {
    {UT_VALDRIN_CONSOLE_LINES,            "VALDRIN_CONSOLE_LINES",            256,   64,  65535,      nullptr, "lines that the console keeps"},
    {UT_VALDRIN_VIEW_SAMPLES,             "VALDRIN_VIEW_SAMPLES",             4,     1,   16,         "VALDRIN_VIEW_MULTISAMPLE", "samples per pixel for smooth edges"},
    {UT_VALDRIN_VIEW_MAX_TEXTURE_SIZE,    "VALDRIN_VIEW_MAX_TEXTURE_SIZE",    2048,  64,  16384,      nullptr, "larger textures are shrunk for display; pixels"},
    {UT_VALDRIN_VIEW_TEXTURE_MEMORY_MB,   "VALDRIN_VIEW_TEXTURE_MEMORY_MB",   256,   16,  65536,      nullptr, "memory for textures on display"},
    {UT_VALDRIN_VIEW_MAX_LIGHTS,          "VALDRIN_VIEW_MAX_LIGHTS",          8,     1,   64,         nullptr, "lights that viewports take into account"},
    {UT_VALDRIN_VIEW_GRID_LINES,          "VALDRIN_VIEW_GRID_LINES",          20,    2,   1000,       nullptr, "lines of the ground grid in each direction"},
    {UT_VALDRIN_SOCKET_PORT,              "VALDRIN_SOCKET_PORT",              560,   1,   32767,      nullptr, "command port of the application; the connection does not read it"},
    {UT_VALDRIN_VIEW_CURVE_SEGMENTS,      "VALDRIN_VIEW_CURVE_SEGMENTS",      16,    2,   256,        nullptr, "straight pieces for each span of a curve"},
    {UT_VALDRIN_VIEW_SPHERE_SEGMENTS,     "VALDRIN_VIEW_SPHERE_SEGMENTS",     24,    4,   256,        nullptr, "straight pieces around a sphere"},
    {UT_VALDRIN_VIEW_POINT_SIZE,          "VALDRIN_VIEW_POINT_SIZE",          3,     1,   32,         nullptr, "size of points in pixels"},
    {UT_VALDRIN_VIEW_HANDLE_SIZE,         "VALDRIN_VIEW_HANDLE_SIZE",         8,     2,   64,         nullptr, "size of handles in pixels"},
    {UT_VALDRIN_VIEW_PICK_RADIUS,         "VALDRIN_VIEW_PICK_RADIUS",         5,     1,   50,         nullptr, "how far beside an object a click may be; pixels"},
    {UT_VALDRIN_VIEW_MAX_FRAME_RATE,      "VALDRIN_VIEW_MAX_FRAME_RATE",      60,    1,   1000,       nullptr, "most frames to draw per second"},
    {UT_VALDRIN_VIEW_PLAYBACK_FRAMES,     "VALDRIN_VIEW_PLAYBACK_FRAMES",     240,   0,   100000,     nullptr, "frames kept for playing them again"},
    {UT_VALDRIN_VIEW_DEPTH_BITS,          "VALDRIN_VIEW_DEPTH_BITS",          24,    16,  32,         nullptr, "bits of the depth buffer"},
    {UT_VALDRIN_VIEW_TRANSPARENCY_LAYERS, "VALDRIN_VIEW_TRANSPARENCY_LAYERS", 8,     0,   64,         nullptr, "transparent layers drawn in the right order"},
    {UT_VALDRIN_RENDER_SAMPLES,           "VALDRIN_RENDER_SAMPLES",           16,    1,   4096,       nullptr, "samples per pixel"},
    {UT_VALDRIN_RENDER_LIGHT_SAMPLES,     "VALDRIN_RENDER_LIGHT_SAMPLES",     8,     1,   1024,       nullptr, "samples per light with an area"},
    {UT_VALDRIN_RENDER_REFLECTION_DEPTH,  "VALDRIN_RENDER_REFLECTION_DEPTH",  6,     0,   64,         nullptr, "reflections in reflections"},
    {UT_VALDRIN_RENDER_REFRACTION_DEPTH,  "VALDRIN_RENDER_REFRACTION_DEPTH",  8,     0,   64,         nullptr, "refractions in refractions"},
    {UT_VALDRIN_RENDER_DIFFUSE_DEPTH,     "VALDRIN_RENDER_DIFFUSE_DEPTH",     2,     0,   64,         nullptr, "bounces of light from dull surfaces"},
    {UT_VALDRIN_RENDER_TILE_SIZE,         "VALDRIN_RENDER_TILE_SIZE",         32,    8,   512,        nullptr, "side of the tiles that threads work on; pixels"},
    {UT_VALDRIN_RENDER_WIDTH,             "VALDRIN_RENDER_WIDTH",             1280,  1,   32768,      nullptr, "width of pictures in pixels"},
    {UT_VALDRIN_RENDER_HEIGHT,            "VALDRIN_RENDER_HEIGHT",            720,   1,   32768,      nullptr, "height of pictures in pixels"},
    {UT_VALDRIN_RENDER_NICE,              "VALDRIN_RENDER_NICE",              10,    0,   19,         nullptr, "nice value of renders; the higher, the more others come first"},
    {UT_VALDRIN_RENDER_MEMORY_MB,         "VALDRIN_RENDER_MEMORY_MB",         1024,  64,  1048576,    nullptr, "memory that one render may use"},
    {UT_VALDRIN_RENDER_TEXTURE_CACHE_MB,  "VALDRIN_RENDER_TEXTURE_CACHE_MB",  256,   16,  1048576,    nullptr, "memory for textures during a render"},
    {UT_VALDRIN_RENDER_MOTION_SAMPLES,    "VALDRIN_RENDER_MOTION_SAMPLES",    2,     1,   64,         nullptr, "positions between which motion is blurred"},
    {UT_VALDRIN_RENDER_RANDOM_SEED,       "VALDRIN_RENDER_RANDOM_SEED",       1,     0,   2147483647, nullptr, "start of the random numbers"},
    {UT_VALDRIN_RENDER_RETRIES,           "VALDRIN_RENDER_RETRIES",           2,     0,   100,        nullptr, "further attempts at a frame that fails"},
    {UT_VALDRIN_IMAGE_JPEG_QUALITY,       "VALDRIN_IMAGE_JPEG_QUALITY",       90,    1,   100,        nullptr, "quality of JPEG files in percent"},
    {UT_VALDRIN_IMAGE_PNG_COMPRESSION,    "VALDRIN_IMAGE_PNG_COMPRESSION",    6,     0,   9,          nullptr, "effort spent on compressing PNG files"},
    {UT_VALDRIN_IMAGE_CHANNEL_BITS,       "VALDRIN_IMAGE_CHANNEL_BITS",       8,     8,   32,         nullptr, "bits of each channel in new files"},
    {UT_VALDRIN_IMAGE_CACHE_MB,           "VALDRIN_IMAGE_CACHE_MB",           128,   0,   1048576,    nullptr, "memory for images read from disk"},
    {UT_VALDRIN_IMAGE_CACHE_FILES,        "VALDRIN_IMAGE_CACHE_FILES",        64,    1,   4096,       nullptr, "image files kept open"},
    {UT_VALDRIN_IMAGE_FRAME_DIGITS,       "VALDRIN_IMAGE_FRAME_DIGITS",       4,     1,   16,         nullptr, "digits of frame numbers in file names"},
    {UT_VALDRIN_IMAGE_MAX_SIZE,           "VALDRIN_IMAGE_MAX_SIZE",           32768, 64,  1048576,    nullptr, "larger images are refused; pixels"},
    {UT_VALDRIN_IMAGE_THUMBNAIL_SIZE,     "VALDRIN_IMAGE_THUMBNAIL_SIZE",     128,   16,  1024,       nullptr, "side of small copies in pixels"},
    {UT_VALDRIN_IMAGE_READ_AHEAD_FRAMES,  "VALDRIN_IMAGE_READ_AHEAD_FRAMES",  4,     0,   256,        nullptr, "frames of a sequence read before they are needed"},
    {UT_VALDRIN_UI_FONT_SIZE,             "VALDRIN_UI_FONT_SIZE",             10,    6,   72,         nullptr, "size of text in points"},
    {UT_VALDRIN_UI_SCALE_PERCENT,         "VALDRIN_UI_SCALE_PERCENT",         100,   50,  400,        nullptr, "size of everything on the screen"},
    {UT_VALDRIN_UI_UNDO_LEVELS,           "VALDRIN_UI_UNDO_LEVELS",           100,   0,   10000,      nullptr, "changes that can be undone"},
    {UT_VALDRIN_UI_RECENT_FILES,          "VALDRIN_UI_RECENT_FILES",          10,    0,   100,        nullptr, "files listed as used before"},
    {UT_VALDRIN_UI_AUTOSAVE_MINUTES,      "VALDRIN_UI_AUTOSAVE_MINUTES",      10,    1,   1440,       nullptr, "time between two saves"},
    {UT_VALDRIN_UI_BACKUP_FILES,          "VALDRIN_UI_BACKUP_FILES",          3,     0,   99,         nullptr, "older versions kept of a scene"},
    {UT_VALDRIN_UI_DOUBLE_CLICK_MS,       "VALDRIN_UI_DOUBLE_CLICK_MS",       400,   100, 2000,       nullptr, "longest time between the clicks of a double click"},
    {UT_VALDRIN_UI_TOOLTIP_DELAY_MS,      "VALDRIN_UI_TOOLTIP_DELAY_MS",      600,   0,   10000,      nullptr, "time until a hint comes up"},
    {UT_VALDRIN_UI_DRAG_DISTANCE,         "VALDRIN_UI_DRAG_DISTANCE",         4,     1,   64,         nullptr, "how far a drag must go to be one; pixels"},
    {UT_VALDRIN_UI_MAX_WINDOWS,           "VALDRIN_UI_MAX_WINDOWS",           16,    1,   256,        nullptr, "windows that may be open"},
    {UT_VALDRIN_SCRIPT_MAX_DEPTH,         "VALDRIN_SCRIPT_MAX_DEPTH",         1000,  10,  100000,     nullptr, "calls within calls before a script is ended"},
    {UT_VALDRIN_SCRIPT_HISTORY_LINES,     "VALDRIN_SCRIPT_HISTORY_LINES",     500,   0,   100000,     nullptr, "commands that can be called back"},
    {UT_VALDRIN_SCRIPT_TIME_LIMIT_S,      "VALDRIN_SCRIPT_TIME_LIMIT_S",      0,     0,   86400,      nullptr, "seconds until a script is ended; 0 is no limit"},
    {UT_VALDRIN_UI_MESSAGE_SECONDS,       "VALDRIN_UI_MESSAGE_SECONDS",       5,     0,   600,        nullptr, "how long a message stays; 0 is until it is clicked"},
    {UT_VALDRIN_ERRORLOG_LEVEL,           "VALDRIN_ERRORLOG_LEVEL",           3,     0,   6,          nullptr, "what the error log takes; 0 is nothing"},
    {UT_VALDRIN_SCRIPT_OUTPUT_LINES,      "VALDRIN_SCRIPT_OUTPUT_LINES",      2000,  10,  1000000,    nullptr, "lines of output that are kept"},
    {UT_VALDRIN_MAXTHREADS,               "VALDRIN_MAXTHREADS",               -1,    -1,  100,        nullptr, "most processors to use; below 1 is no limit"},
    {UT_VALDRIN_RENDER_THREAD_STACK_KB,   "VALDRIN_RENDER_THREAD_STACK_KB",   1024,  64,  65536,      nullptr, "stack of each render thread"},
    {UT_INT_CONTROL_COUNT,                nullptr,                            0,     0,   0,          nullptr, nullptr},
};

constexpr ut_FltRow theFltLookups[] = {
    {UT_VALDRIN_VIEW_GAMMA,          "VALDRIN_VIEW_GAMMA",          2.2f,  0.1f,    10,   "VALDRIN_GAMMA", "gamma of the screen"},
    {UT_VALDRIN_VIEW_FIELD_OF_VIEW,  "VALDRIN_VIEW_FIELD_OF_VIEW",  45,    1,       179,  nullptr, "angle that a new viewport takes in; degrees"},
    {UT_VALDRIN_VIEW_NEAR_CLIP,      "VALDRIN_VIEW_NEAR_CLIP",      0.1f,  0.0001f, 1000, nullptr, "what is nearer is not drawn"},
    {UT_VALDRIN_VIEW_FAR_CLIP,       "VALDRIN_VIEW_FAR_CLIP",       10000, 1,       1e9f, nullptr, "what is farther away is not drawn"},
    {UT_VALDRIN_VIEW_LINE_WIDTH,     "VALDRIN_VIEW_LINE_WIDTH",     1,     0.1f,    16,   nullptr, "width of lines in pixels"},
    {UT_VALDRIN_VIEW_ZOOM_SPEED,     "VALDRIN_VIEW_ZOOM_SPEED",     1,     0.01f,   100,  nullptr, "how fast the view zooms"},
    {UT_VALDRIN_RENDER_GAMMA,        "VALDRIN_RENDER_GAMMA",        1,     0.1f,    10,   nullptr, "gamma of rendered pictures"},
    {UT_VALDRIN_RENDER_PIXEL_ASPECT, "VALDRIN_RENDER_PIXEL_ASPECT", 1,     0.01f,   100,  nullptr, "width of a pixel over its height"},
    {UT_VALDRIN_RENDER_NOISE_LEVEL,  "VALDRIN_RENDER_NOISE_LEVEL",  0.01f, 0,       1,    nullptr, "noise at which a pixel is done"},
    {UT_VALDRIN_IMAGE_GAMMA,         "VALDRIN_IMAGE_GAMMA",         2.2f,  0.1f,    10,   nullptr, "gamma of images that do not state theirs"},
    {UT_VALDRIN_UI_SCROLL_SPEED,     "VALDRIN_UI_SCROLL_SPEED",     1,     0.1f,    100,  nullptr, "how fast lists scroll"},
    {UT_FLT_CONTROL_COUNT,           nullptr,                       0,     0,       0,    nullptr, nullptr},
};

constexpr ut_StringRow theStringLookups[] = {
    {UT_HOME,                           "HOME",                           nullptr, nullptr, "home directory; when unset, the temporary directory"},
    {UT_USER,                           "USER",                           nullptr, nullptr, "user name; when unset, the login name"},
    {UT_VALDRIN_UI_LANGUAGE,            "VALDRIN_UI_LANGUAGE",            nullptr, nullptr, "language of texts; when unset, that of the desktop"},
    {UT_VALDRIN_UI_BROWSER,             "VALDRIN_UI_BROWSER",             nullptr, nullptr, "program that shows web pages"},
    {UT_VALDRIN_UI_EDITOR,              "VALDRIN_UI_EDITOR",              nullptr, nullptr, "program that edits text"},
    {UT_VRS,                            "VRS",                            nullptr, nullptr, "installation directory"},
    {UT_VALDRIN_OS,                     "VALDRIN_OS",                     nullptr, nullptr, "operating system; when unset, Linux"},
    {UT_VALDRIN_TEMP_DIR,               "VALDRIN_TEMP_DIR",               nullptr, nullptr, "temporary directory; when unset, /tmp"},
    {UT_VALDRIN_DESKTOP_DIR,            "VALDRIN_DESKTOP_DIR",            nullptr, nullptr, "desktop directory; when unset, Desktop in the home directory"},
    {UT_VALDRIN_VIEW_DRIVER,            "VALDRIN_VIEW_DRIVER",            "opengl", nullptr, "what viewports are drawn with"},
    {UT_VALDRIN_VIEW_DISPLAY,           "VALDRIN_VIEW_DISPLAY",           nullptr, nullptr, "display of the viewports; when unset, the usual one"},
    {UT_VALDRIN_VIEW_BACKGROUND_COLOR,  "VALDRIN_VIEW_BACKGROUND_COLOR",  "0.25 0.25 0.28", nullptr, "red, green and blue behind the scene"},
    {UT_VALDRIN_VIEW_GRID_COLOR,        "VALDRIN_VIEW_GRID_COLOR",        "0.4 0.4 0.4", nullptr, "colour of the ground grid"},
    {UT_VALDRIN_VIEW_SELECTION_COLOR,   "VALDRIN_VIEW_SELECTION_COLOR",   "1 0.8 0.2", nullptr, "colour of what is selected"},
    {UT_VALDRIN_VIEW_WIRE_COLOR,        "VALDRIN_VIEW_WIRE_COLOR",        "0.8 0.8 0.8", nullptr, "colour of edges"},
    {UT_VALDRIN_VIEW_POINT_COLOR,       "VALDRIN_VIEW_POINT_COLOR",       "0.2 0.6 1", nullptr, "colour of points"},
    {UT_VALDRIN_VIEW_TEXT_COLOR,        "VALDRIN_VIEW_TEXT_COLOR",        "1 1 1", nullptr, "colour of labels"},
    {UT_VALDRIN_VIEW_SHADING,           "VALDRIN_VIEW_SHADING",           "smooth", nullptr, "how new viewports shade surfaces"},
    {UT_VALDRIN_VIEW_LAYOUT,            "VALDRIN_VIEW_LAYOUT",            "quad", nullptr, "arrangement of the viewports"},
    {UT_VALDRIN_VIEW_CAMERA,            "VALDRIN_VIEW_CAMERA",            "perspective", nullptr, "what new viewports look through"},
    {UT_VALDRIN_VIEW_COLOR_PROFILE,     "VALDRIN_VIEW_COLOR_PROFILE",     nullptr, nullptr, "colour profile of the screen; a file"},
    {UT_VALDRIN_VIEW_BACKGROUND_IMAGE,  "VALDRIN_VIEW_BACKGROUND_IMAGE",  nullptr, nullptr, "image behind the scene"},
    {UT_VALDRIN_VIEW_FONT,              "VALDRIN_VIEW_FONT",              "sans", nullptr, "font of labels"},
    {UT_VALDRIN_VIEW_STEREO_MODE,       "VALDRIN_VIEW_STEREO_MODE",       "anaglyph", nullptr, "how the pictures for both eyes are shown"},
    {UT_VALDRIN_VIEW_PLAYBACK_DIR,      "VALDRIN_VIEW_PLAYBACK_DIR",      nullptr, nullptr, "where frames for playing are kept"},
    {UT_VALDRIN_VIEW_UP_AXIS,           "VALDRIN_VIEW_UP_AXIS",           "y", nullptr, "axis that points up in new scenes"},
    {UT_VALDRIN_RENDER_ENGINE,          "VALDRIN_RENDER_ENGINE",          "raytrace", nullptr, "renderer of new scenes"},
    {UT_VALDRIN_RENDER_COMMAND,         "VALDRIN_RENDER_COMMAND",         nullptr, nullptr, "program that renders in place of the built-in one"},
    {UT_VALDRIN_RENDER_HOSTS,           "VALDRIN_RENDER_HOSTS",           nullptr, nullptr, "machines that share in rendering"},
    {UT_VALDRIN_RENDER_QUEUE,           "VALDRIN_RENDER_QUEUE",           "default", nullptr, "queue that renders are put in"},
    {UT_VALDRIN_RENDER_OUTPUT,          "VALDRIN_RENDER_OUTPUT",          "render.png", nullptr, "file name of rendered pictures"},
    {UT_VALDRIN_RENDER_SCENE_DIR,       "VALDRIN_RENDER_SCENE_DIR",       nullptr, nullptr, "where the files made for the renderer go"},
    {UT_VALDRIN_RENDER_TEXTURE_PATH,    "VALDRIN_RENDER_TEXTURE_PATH",    nullptr, "VALDRIN_TEXTURE_PATH", "directories with textures"},
    {UT_VALDRIN_RENDER_SHADER_PATH,     "VALDRIN_RENDER_SHADER_PATH",     nullptr, nullptr, "directories with shaders"},
    {UT_VALDRIN_RENDER_CACHE_DIR,       "VALDRIN_RENDER_CACHE_DIR",       nullptr, nullptr, "where renders keep intermediate results"},
    {UT_VALDRIN_RENDER_LOG_FILE,        "VALDRIN_RENDER_LOG_FILE",        nullptr, nullptr, "file that renders report to"},
    {UT_VALDRIN_RENDER_FILTER,          "VALDRIN_RENDER_FILTER",          "gauss", nullptr, "filter from samples to pixels"},
    {UT_VALDRIN_RENDER_CAMERA,          "VALDRIN_RENDER_CAMERA",          "camera1", nullptr, "camera that scenes are rendered through"},
    {UT_VALDRIN_RENDER_LIGHT_GROUP,     "VALDRIN_RENDER_LIGHT_GROUP",     nullptr, nullptr, "lights to use; when unset, all"},
    {UT_VALDRIN_RENDER_PASSES,          "VALDRIN_RENDER_PASSES",          "color", nullptr, "pictures made of each frame"},
    {UT_VALDRIN_RENDER_COLOR_SPACE,     "VALDRIN_RENDER_COLOR_SPACE",     "linear", nullptr, "colour space of computation"},
    {UT_VALDRIN_RENDER_ENVIRONMENT_MAP, "VALDRIN_RENDER_ENVIRONMENT_MAP", nullptr, nullptr, "image that lights scenes without lights"},
    {UT_VALDRIN_RENDER_BEFORE_FRAME,    "VALDRIN_RENDER_BEFORE_FRAME",    nullptr, nullptr, "command to run before each frame"},
    {UT_VALDRIN_RENDER_AFTER_FRAME,     "VALDRIN_RENDER_AFTER_FRAME",     nullptr, nullptr, "command to run after each frame"},
    {UT_VALDRIN_IMAGE_FORMAT,           "VALDRIN_IMAGE_FORMAT",           "png", nullptr, "format of files whose names do not imply one"},
    {UT_VALDRIN_IMAGE_PATH,             "VALDRIN_IMAGE_PATH",             nullptr, nullptr, "directories with images"},
    {UT_VALDRIN_IMAGE_COLOR_SPACE,      "VALDRIN_IMAGE_COLOR_SPACE",      "srgb", nullptr, "colour space of images that do not state theirs"},
    {UT_VALDRIN_IMAGE_VIEWER,           "VALDRIN_IMAGE_VIEWER",           nullptr, nullptr, "program that shows images"},
    {UT_VALDRIN_IMAGE_CONVERTER,        "VALDRIN_IMAGE_CONVERTER",        nullptr, nullptr, "program for formats that are not built in"},
    {UT_VALDRIN_IMAGE_PLUGIN_PATH,      "VALDRIN_IMAGE_PLUGIN_PATH",      nullptr, nullptr, "directories with further formats"},
    {UT_VALDRIN_IMAGE_CACHE_DIR,        "VALDRIN_IMAGE_CACHE_DIR",        nullptr, nullptr, "where converted images are kept"},
    {UT_VALDRIN_IMAGE_PLACEHOLDER,      "VALDRIN_IMAGE_PLACEHOLDER",      nullptr, nullptr, "image shown for one that is missing"},
    {UT_VALDRIN_IMAGE_COPYRIGHT,        "VALDRIN_IMAGE_COPYRIGHT",        nullptr, nullptr, "copyright note in new files"},
    {UT_VALDRIN_IMAGE_ARTIST,           "VALDRIN_IMAGE_ARTIST",           nullptr, nullptr, "artist named in new files"},
    {UT_VALDRIN_IMAGE_CHANNELS,         "VALDRIN_IMAGE_CHANNELS",         "rgba", nullptr, "channels of new files"},
    {UT_VALDRIN_IMAGE_TIFF_METHOD,      "VALDRIN_IMAGE_TIFF_METHOD",      "deflate", nullptr, "how TIFF files are compressed"},
    {UT_VALDRIN_IMAGE_LOOKUP_TABLE,     "VALDRIN_IMAGE_LOOKUP_TABLE",     nullptr, nullptr, "colour table applied on reading"},
    {UT_VALDRIN_UI_THEME,               "VALDRIN_UI_THEME",               "dark", nullptr, "colours of windows"},
    {UT_VALDRIN_UI_FONT,                "VALDRIN_UI_FONT",                "sans", nullptr, "font of menus and panels"},
    {UT_VALDRIN_UI_FIXED_FONT,          "VALDRIN_UI_FIXED_FONT",          "monospace", nullptr, "font of scripts and logs"},
    {UT_VALDRIN_UI_ICON_PATH,           "VALDRIN_UI_ICON_PATH",           nullptr, nullptr, "directories with icons"},
    {UT_VALDRIN_UI_MENU_FILE,           "VALDRIN_UI_MENU_FILE",           "menus.txt", nullptr, "what the menus hold"},
    {UT_VALDRIN_UI_KEY_FILE,            "VALDRIN_UI_KEY_FILE",            "keys.txt", nullptr, "what the keys do"},
    {UT_VALDRIN_UI_LAYOUT_FILE,         "VALDRIN_UI_LAYOUT_FILE",         "layouts.txt", nullptr, "arrangements of windows"},
    {UT_VALDRIN_UI_LAYOUT,              "VALDRIN_UI_LAYOUT",              "standard", nullptr, "arrangement at start-up"},
    {UT_VALDRIN_UI_HELP_PATH,           "VALDRIN_UI_HELP_PATH",           nullptr, nullptr, "directories with help pages"},
    {UT_VALDRIN_UI_SOUND_DIR,           "VALDRIN_UI_SOUND_DIR",           nullptr, nullptr, "where sounds are"},
    {UT_VALDRIN_UI_PREFERENCES_DIR,     "VALDRIN_UI_PREFERENCES_DIR",     nullptr, nullptr, "where preferences are kept"},
    {UT_VALDRIN_UI_BACKUP_DIR,          "VALDRIN_UI_BACKUP_DIR",          nullptr, nullptr, "where older versions of scenes go"},
    {UT_VALDRIN_UI_AUTOSAVE_DIR,        "VALDRIN_UI_AUTOSAVE_DIR",        nullptr, nullptr, "where scenes are saved from time to time"},
    {UT_VALDRIN_UI_PROJECT_DIR,         "VALDRIN_UI_PROJECT_DIR",         nullptr, nullptr, "where file dialogs start"},
    {UT_VALDRIN_UI_START_FILE,          "VALDRIN_UI_START_FILE",          nullptr, nullptr, "scene that is opened at start-up"},
    {UT_VALDRIN_UI_DATE_FORMAT,         "VALDRIN_UI_DATE_FORMAT",         "%Y-%m-%d", nullptr, "how dates are shown"},
    {UT_VALDRIN_UI_LENGTH_UNIT,         "VALDRIN_UI_LENGTH_UNIT",         "m", nullptr, "unit of lengths"},
    {UT_VALDRIN_UI_FILE_PATTERN,        "VALDRIN_UI_FILE_PATTERN",        "*", nullptr, "files that dialogs list"},
    {UT_VALDRIN_UI_TERMINAL,            "VALDRIN_UI_TERMINAL",            nullptr, nullptr, "program that runs text programs"},
    {UT_VALDRIN_UI_WINDOW_TITLE,        "VALDRIN_UI_WINDOW_TITLE",        "Valdrin", nullptr, "title of the first window"},
    {UT_VALDRIN_SCRIPT_PATH,            "VALDRIN_SCRIPT_PATH",            nullptr, nullptr, "directories with scripts"},
    {UT_VALDRIN_SCRIPT_STARTUP_FILE,    "VALDRIN_SCRIPT_STARTUP_FILE",    "startup.txt", nullptr, "script that is run at start-up"},
    {UT_VALDRIN_SCRIPT_SHUTDOWN_FILE,   "VALDRIN_SCRIPT_SHUTDOWN_FILE",   nullptr, nullptr, "script that is run at the end"},
    {UT_VALDRIN_SCRIPT_SCENE_OPENED,    "VALDRIN_SCRIPT_SCENE_OPENED",    nullptr, nullptr, "script that is run when a scene was opened"},
    {UT_VALDRIN_SCRIPT_SCENE_SAVED,     "VALDRIN_SCRIPT_SCENE_SAVED",     nullptr, nullptr, "script that is run when a scene was saved"},
    {UT_VALDRIN_SCRIPT_PYTHON_PATH,     "VALDRIN_SCRIPT_PYTHON_PATH",     nullptr, nullptr, "directories with Python modules"},
    {UT_VALDRIN_SCRIPT_PYTHON_STARTUP,  "VALDRIN_SCRIPT_PYTHON_STARTUP",  "startup.py", nullptr, "Python file that is run at start-up"},
    {UT_VALDRIN_SCRIPT_LOG_FILE,        "VALDRIN_SCRIPT_LOG_FILE",        nullptr, nullptr, "file that commands are logged to"},
    {UT_VALDRIN_SCRIPT_HISTORY_FILE,    "VALDRIN_SCRIPT_HISTORY_FILE",    nullptr, nullptr, "file that keeps commands for the next time"},
    {UT_VALDRIN_SCRIPT_PROMPT,          "VALDRIN_SCRIPT_PROMPT",          "> ", nullptr, "text before the command line"},
    {UT_VALDRIN_SCRIPT_ENCODING,        "VALDRIN_SCRIPT_ENCODING",        "utf-8", nullptr, "encoding of script files"},
    {UT_VALDRIN_SCRIPT_SHELL,           "VALDRIN_SCRIPT_SHELL",           "/bin/sh", nullptr, "program that runs system commands"},
    {UT_VALDRIN_SCRIPT_LIBRARY_PATH,    "VALDRIN_SCRIPT_LIBRARY_PATH",    nullptr, nullptr, "directories with shared script libraries"},
    {UT_VALDRIN_SCRIPT_DATA_DIR,        "VALDRIN_SCRIPT_DATA_DIR",        nullptr, nullptr, "only directory that scripts may write to; when unset, any"},
    {UT_VALDRIN_ERRORLOG_FILENAME,      "VALDRIN_ERRORLOG_FILENAME",      nullptr, nullptr, "file of the error log"},
    {UT_VALDRIN_UI_REPORT_COMMAND,      "VALDRIN_UI_REPORT_COMMAND",      nullptr, nullptr, "program that sends reports of faults"},
    {UT_STR_CONTROL_COUNT,              nullptr,                          nullptr, nullptr, nullptr},
};

// clang-format on

// ---- What the build proves

template <class Row>
static constexpr void
utCountIds(const Row *rows, int *counts)
{
    for (; rows->name; ++rows)
        ++counts[rows->id];
}

static constexpr bool
utEveryIdHasOneRow()
{
    constexpr int ints = UT_INT_CONTROL_COUNT;
    constexpr int floats = UT_FLT_CONTROL_COUNT;
    int counts[ints + floats + UT_STR_CONTROL_COUNT] = {};
    utCountIds(theExistLookups, counts);
    utCountIds(theIntLookups, counts);
    utCountIds(theFltLookups, counts + ints);
    utCountIds(theStringLookups, counts + ints + floats);
    for (const int count : counts)
        if (count != 1)
            return false;
    return true;
}
static_assert(utEveryIdHasOneRow());

// The hashes of all names, present and former.
struct ut_NameHashes
{
    template <class Row>
    constexpr void add(const Row *rows)
    {
        for (; rows->name; ++rows)
        {
            hashes[count++] = hashOf(rows->name);
            if (rows->formerName)
                hashes[count++] = hashOf(rows->formerName);
        }
    }

    static constexpr uint32 hashOf(const char *name)
    {
        uint32 hash = 0;
        for (; *name; ++name)
            hash = hash * 37 + uint8(*name);
        return hash;
    }

    uint32 hashes[1000] = {};
    int count = 0;
};

// Compilers would not compare so many texts: it is their hashes that differ,
// and so the names do.
static constexpr bool
utNamesAreUnique()
{
    ut_NameHashes names;
    names.add(theExistLookups);
    names.add(theIntLookups);
    names.add(theFltLookups);
    names.add(theStringLookups);
    for (int i = 0; i < names.count; ++i)
        for (int k = 0; k < i; ++k)
            if (names.hashes[i] == names.hashes[k])
                return false;
    return true;
}
static_assert(utNamesAreUnique());

template <class Row>
static constexpr bool
utDefaultsAreInRange(const Row *rows)
{
    for (; rows->name; ++rows)
        if (rows->defaultValue < rows->minimum ||
            rows->defaultValue > rows->maximum)
            return false;
    return true;
}
static_assert(utDefaultsAreInRange(theIntLookups));
static_assert(utDefaultsAreInRange(theFltLookups));

static constexpr bool
utSwitchesAreZeroOrOne()
{
    for (const ut_ExistRow *row = theExistLookups; row->name; ++row)
        if (row->defaultValue != 0 && row->defaultValue != 1)
            return false;
    return true;
}
static_assert(utSwitchesAreZeroOrOne());
