// Settings from the environment, read and checked once. docs/settings.md lists
// them all.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

// An id is "UT_" followed by the name of the environment variable. Programs
// depend on the numbers: they never change.

/// Ids of the switches and the whole-number settings.
enum UT_IntControl
{
    UT_VALDRIN_WINDOW_CONSOLE = 0,
    UT_VALDRIN_CONSOLE_LINES = 1,
    UT_VALDRIN_DISABLE_CONSOLE = 2,
    UT_VALDRIN_TEXT_CONSOLE = 3,
    UT_VALDRIN_VERBOSE_ERROR = 4,
    UT_VALDRIN_UI_SPLASH_SCREEN = 5,
    UT_VALDRIN_UI_TOOLTIPS = 6,
    UT_VALDRIN_UI_CONFIRM_QUIT = 7,
    UT_VALDRIN_DISABLE_CPUID = 8,
    UT_VALDRIN_DISABLE_MMX = 9,
    UT_VALDRIN_DISABLE_XMMX = 10,
    UT_VALDRIN_DISABLE_SSE = 11,
    UT_VALDRIN_DISABLE_3DNOW = 12,
    UT_VALDRIN_VIEW_GRID = 13,
    UT_VALDRIN_VIEW_AXES = 14,
    UT_VALDRIN_VIEW_ANTIALIAS = 15,
    UT_VALDRIN_VIEW_BACKFACE_CULLING = 16,
    UT_VALDRIN_VIEW_DOUBLE_BUFFER = 17,
    UT_VALDRIN_VIEW_WIREFRAME = 18,
    UT_VALDRIN_VIEW_POINT_NUMBERS = 19,
    UT_VALDRIN_VIEW_NORMALS = 20,
    UT_VALDRIN_VIEW_SHADOWS = 21,
    UT_VALDRIN_VIEW_TEXTURES = 22,
    UT_VALDRIN_VIEW_STEREO = 23,
    UT_VALDRIN_VIEW_FULL_SCREEN = 24,
    UT_VALDRIN_VIEW_SAFE_AREA = 25,
    UT_VALDRIN_VIEW_FRAME_RATE = 26,
    UT_VALDRIN_VIEW_VERTICAL_SYNC = 27,
    UT_VALDRIN_VIEW_VERTEX_BUFFERS = 28,
    UT_VALDRIN_VIEW_SAMPLES = 29,
    UT_VALDRIN_VIEW_MAX_TEXTURE_SIZE = 30,
    UT_VALDRIN_VIEW_TEXTURE_MEMORY_MB = 31,
    UT_VALDRIN_VIEW_MAX_LIGHTS = 32,
    UT_VALDRIN_VIEW_GRID_LINES = 33,
    UT_VALDRIN_SOCKET_PORT = 34,
    UT_VALDRIN_VIEW_CURVE_SEGMENTS = 35,
    UT_VALDRIN_VIEW_SPHERE_SEGMENTS = 36,
    UT_VALDRIN_VIEW_POINT_SIZE = 37,
    UT_VALDRIN_VIEW_HANDLE_SIZE = 38,
    UT_VALDRIN_VIEW_PICK_RADIUS = 39,
    UT_VALDRIN_VIEW_MAX_FRAME_RATE = 40,
    UT_VALDRIN_VIEW_PLAYBACK_FRAMES = 41,
    UT_VALDRIN_VIEW_OUTLINE_SELECTION = 42,
    UT_VALDRIN_VIEW_DEPTH_BITS = 43,
    UT_VALDRIN_VIEW_TRANSPARENCY_LAYERS = 44,
    UT_VALDRIN_RENDER_SHADOWS = 45,
    UT_VALDRIN_RENDER_REFLECTIONS = 46,
    UT_VALDRIN_RENDER_REFRACTIONS = 47,
    UT_VALDRIN_RENDER_MOTION_BLUR = 48,
    UT_VALDRIN_RENDER_DEPTH_OF_FIELD = 49,
    UT_VALDRIN_RENDER_AMBIENT_OCCLUSION = 50,
    UT_VALDRIN_RENDER_DISPLACEMENT = 51,
    UT_VALDRIN_RENDER_PROGRESSIVE = 52,
    UT_VALDRIN_RENDER_BACKGROUND = 53,
    UT_VALDRIN_RENDER_KEEP_SCENE_FILES = 54,
    UT_VALDRIN_RENDER_SKIP_EXISTING_FRAMES = 55,
    UT_VALDRIN_RENDER_STOP_ON_ERROR = 56,
    UT_VALDRIN_RENDER_STATISTICS = 57,
    UT_VALDRIN_RENDER_SAMPLES = 58,
    UT_VALDRIN_RENDER_LIGHT_SAMPLES = 59,
    UT_VALDRIN_RENDER_REFLECTION_DEPTH = 60,
    UT_VALDRIN_RENDER_REFRACTION_DEPTH = 61,
    UT_VALDRIN_RENDER_DIFFUSE_DEPTH = 62,
    UT_VALDRIN_RENDER_TILE_SIZE = 63,
    UT_VALDRIN_RENDER_WIDTH = 64,
    UT_VALDRIN_RENDER_HEIGHT = 65,
    UT_VALDRIN_RENDER_NICE = 66,
    UT_VALDRIN_RENDER_MEMORY_MB = 67,
    UT_VALDRIN_RENDER_TEXTURE_CACHE_MB = 68,
    UT_VALDRIN_RENDER_MOTION_SAMPLES = 69,
    UT_VALDRIN_RENDER_RANDOM_SEED = 70,
    UT_VALDRIN_RENDER_RETRIES = 71,
    UT_VALDRIN_IMAGE_JPEG_QUALITY = 72,
    UT_VALDRIN_IMAGE_PNG_COMPRESSION = 73,
    UT_VALDRIN_IMAGE_TIFF_COMPRESSION = 74,
    UT_VALDRIN_IMAGE_TIFF_TILED = 75,
    UT_VALDRIN_IMAGE_TARGA_COMPRESSION = 76,
    UT_VALDRIN_IMAGE_PREMULTIPLY_ALPHA = 77,
    UT_VALDRIN_IMAGE_WRITE_ALPHA = 78,
    UT_VALDRIN_IMAGE_LINEAR_INPUT = 79,
    UT_VALDRIN_IMAGE_DITHER = 80,
    UT_VALDRIN_IMAGE_CHANNEL_BITS = 81,
    UT_VALDRIN_IMAGE_CACHE_MB = 82,
    UT_VALDRIN_IMAGE_CACHE_FILES = 83,
    UT_VALDRIN_IMAGE_FRAME_DIGITS = 84,
    UT_VALDRIN_IMAGE_MAX_SIZE = 85,
    UT_VALDRIN_IMAGE_THUMBNAIL_SIZE = 86,
    UT_VALDRIN_IMAGE_EMBED_THUMBNAIL = 87,
    UT_VALDRIN_IMAGE_READ_AHEAD_FRAMES = 88,
    UT_VALDRIN_UI_FONT_SIZE = 89,
    UT_VALDRIN_UI_SCALE_PERCENT = 90,
    UT_VALDRIN_UI_UNDO_LEVELS = 91,
    UT_VALDRIN_UI_RECENT_FILES = 92,
    UT_VALDRIN_UI_AUTOSAVE = 93,
    UT_VALDRIN_UI_AUTOSAVE_MINUTES = 94,
    UT_VALDRIN_UI_BACKUP_FILES = 95,
    UT_VALDRIN_UI_DOUBLE_CLICK_MS = 96,
    UT_VALDRIN_UI_TOOLTIP_DELAY_MS = 97,
    UT_VALDRIN_UI_DRAG_DISTANCE = 98,
    UT_VALDRIN_UI_LEFT_HANDED = 99,
    UT_VALDRIN_UI_LARGE_ICONS = 100,
    UT_VALDRIN_UI_ANIMATION = 101,
    UT_VALDRIN_UI_SOUND = 102,
    UT_VALDRIN_UI_TABLET = 103,
    UT_VALDRIN_UI_RESTORE_LAYOUT = 104,
    UT_VALDRIN_UI_NATIVE_FILE_DIALOG = 105,
    UT_VALDRIN_UI_STATUS_BAR = 106,
    UT_VALDRIN_UI_MAX_WINDOWS = 107,
    UT_VALDRIN_SCRIPT_STARTUP = 108,
    UT_VALDRIN_SCRIPT_ECHO = 109,
    UT_VALDRIN_SCRIPT_WARNINGS = 110,
    UT_VALDRIN_SCRIPT_STOP_ON_ERROR = 111,
    UT_VALDRIN_SCRIPT_TRACE = 112,
    UT_VALDRIN_SCRIPT_PYTHON = 113,
    UT_VALDRIN_SCRIPT_MAX_DEPTH = 114,
    UT_VALDRIN_SCRIPT_HISTORY_LINES = 115,
    UT_VALDRIN_SCRIPT_TIME_LIMIT_S = 116,
    UT_VALDRIN_SCRIPT_COMPILE_CACHE = 117,
    UT_VALDRIN6_EXPRESSION_COMPATIBILITY = 118,
    UT_VALDRIN7_CAMERA_COMPATIBILITY = 119,
    UT_VALDRIN8_COMPATIBILITY = 120,
    UT_VALDRIN8_NORMAL_COMPATIBILITY = 121,
    UT_VALDRIN8_TEXTURE_COMPATIBILITY = 122,
    UT_VALDRIN9_RANDOM_COMPATIBILITY = 123,
    UT_VALDRIN9_LIGHT_COMPATIBILITY = 124,
    UT_VALDRIN9_UNIT_COMPATIBILITY = 125,
    UT_VALDRIN10_SCRIPT_COMPATIBILITY = 126,
    UT_VALDRIN10_MENU_COMPATIBILITY = 127,
    UT_VALDRIN_UI_MESSAGE_SECONDS = 128,
    UT_VALDRIN_UI_LOG_WINDOW = 129,
    UT_VALDRIN_ERRORLOG_LEVEL = 130,
    UT_VALDRIN_SCRIPT_OUTPUT_LINES = 131,
    UT_VALDRIN_MAXTHREADS = 132,
    UT_VALDRIN_RENDER_THREAD_STACK_KB = 133,
    UT_VALDRIN_VIEW_THREADED_DRAWING = 134,
    UT_INT_CONTROL_COUNT = 135
};

/// Ids of the settings with a fraction.
enum UT_FltControl
{
    UT_VALDRIN_VIEW_GAMMA = 0,
    UT_VALDRIN_VIEW_FIELD_OF_VIEW = 1,
    UT_VALDRIN_VIEW_NEAR_CLIP = 2,
    UT_VALDRIN_VIEW_FAR_CLIP = 3,
    UT_VALDRIN_VIEW_LINE_WIDTH = 4,
    UT_VALDRIN_VIEW_ZOOM_SPEED = 5,
    UT_VALDRIN_RENDER_GAMMA = 6,
    UT_VALDRIN_RENDER_PIXEL_ASPECT = 7,
    UT_VALDRIN_RENDER_NOISE_LEVEL = 8,
    UT_VALDRIN_IMAGE_GAMMA = 9,
    UT_VALDRIN_UI_SCROLL_SPEED = 10,
    UT_FLT_CONTROL_COUNT = 11
};

/// Ids of the texts.
enum UT_StrControl
{
    UT_HOME = 0,
    UT_USER = 1,
    UT_VALDRIN_UI_LANGUAGE = 2,
    UT_VALDRIN_UI_BROWSER = 3,
    UT_VALDRIN_UI_EDITOR = 4,
    UT_VRS = 5,
    UT_VALDRIN_OS = 6,
    UT_VALDRIN_TEMP_DIR = 7,
    UT_VALDRIN_DESKTOP_DIR = 8,
    UT_VALDRIN_VIEW_DRIVER = 9,
    UT_VALDRIN_VIEW_DISPLAY = 10,
    UT_VALDRIN_VIEW_BACKGROUND_COLOR = 11,
    UT_VALDRIN_VIEW_GRID_COLOR = 12,
    UT_VALDRIN_VIEW_SELECTION_COLOR = 13,
    UT_VALDRIN_VIEW_WIRE_COLOR = 14,
    UT_VALDRIN_VIEW_POINT_COLOR = 15,
    UT_VALDRIN_VIEW_TEXT_COLOR = 16,
    UT_VALDRIN_VIEW_SHADING = 17,
    UT_VALDRIN_VIEW_LAYOUT = 18,
    UT_VALDRIN_VIEW_CAMERA = 19,
    UT_VALDRIN_VIEW_COLOR_PROFILE = 20,
    UT_VALDRIN_VIEW_BACKGROUND_IMAGE = 21,
    UT_VALDRIN_VIEW_FONT = 22,
    UT_VALDRIN_VIEW_STEREO_MODE = 23,
    UT_VALDRIN_VIEW_PLAYBACK_DIR = 24,
    UT_VALDRIN_VIEW_UP_AXIS = 25,
    UT_VALDRIN_RENDER_ENGINE = 26,
    UT_VALDRIN_RENDER_COMMAND = 27,
    UT_VALDRIN_RENDER_HOSTS = 28,
    UT_VALDRIN_RENDER_QUEUE = 29,
    UT_VALDRIN_RENDER_OUTPUT = 30,
    UT_VALDRIN_RENDER_SCENE_DIR = 31,
    UT_VALDRIN_RENDER_TEXTURE_PATH = 32,
    UT_VALDRIN_RENDER_SHADER_PATH = 33,
    UT_VALDRIN_RENDER_CACHE_DIR = 34,
    UT_VALDRIN_RENDER_LOG_FILE = 35,
    UT_VALDRIN_RENDER_FILTER = 36,
    UT_VALDRIN_RENDER_CAMERA = 37,
    UT_VALDRIN_RENDER_LIGHT_GROUP = 38,
    UT_VALDRIN_RENDER_PASSES = 39,
    UT_VALDRIN_RENDER_COLOR_SPACE = 40,
    UT_VALDRIN_RENDER_ENVIRONMENT_MAP = 41,
    UT_VALDRIN_RENDER_BEFORE_FRAME = 42,
    UT_VALDRIN_RENDER_AFTER_FRAME = 43,
    UT_VALDRIN_IMAGE_FORMAT = 44,
    UT_VALDRIN_IMAGE_PATH = 45,
    UT_VALDRIN_IMAGE_COLOR_SPACE = 46,
    UT_VALDRIN_IMAGE_VIEWER = 47,
    UT_VALDRIN_IMAGE_CONVERTER = 48,
    UT_VALDRIN_IMAGE_PLUGIN_PATH = 49,
    UT_VALDRIN_IMAGE_CACHE_DIR = 50,
    UT_VALDRIN_IMAGE_PLACEHOLDER = 51,
    UT_VALDRIN_IMAGE_COPYRIGHT = 52,
    UT_VALDRIN_IMAGE_ARTIST = 53,
    UT_VALDRIN_IMAGE_CHANNELS = 54,
    UT_VALDRIN_IMAGE_TIFF_METHOD = 55,
    UT_VALDRIN_IMAGE_LOOKUP_TABLE = 56,
    UT_VALDRIN_UI_THEME = 57,
    UT_VALDRIN_UI_FONT = 58,
    UT_VALDRIN_UI_FIXED_FONT = 59,
    UT_VALDRIN_UI_ICON_PATH = 60,
    UT_VALDRIN_UI_MENU_FILE = 61,
    UT_VALDRIN_UI_KEY_FILE = 62,
    UT_VALDRIN_UI_LAYOUT_FILE = 63,
    UT_VALDRIN_UI_LAYOUT = 64,
    UT_VALDRIN_UI_HELP_PATH = 65,
    UT_VALDRIN_UI_SOUND_DIR = 66,
    UT_VALDRIN_UI_PREFERENCES_DIR = 67,
    UT_VALDRIN_UI_BACKUP_DIR = 68,
    UT_VALDRIN_UI_AUTOSAVE_DIR = 69,
    UT_VALDRIN_UI_PROJECT_DIR = 70,
    UT_VALDRIN_UI_START_FILE = 71,
    UT_VALDRIN_UI_DATE_FORMAT = 72,
    UT_VALDRIN_UI_LENGTH_UNIT = 73,
    UT_VALDRIN_UI_FILE_PATTERN = 74,
    UT_VALDRIN_UI_TERMINAL = 75,
    UT_VALDRIN_UI_WINDOW_TITLE = 76,
    UT_VALDRIN_SCRIPT_PATH = 77,
    UT_VALDRIN_SCRIPT_STARTUP_FILE = 78,
    UT_VALDRIN_SCRIPT_SHUTDOWN_FILE = 79,
    UT_VALDRIN_SCRIPT_SCENE_OPENED = 80,
    UT_VALDRIN_SCRIPT_SCENE_SAVED = 81,
    UT_VALDRIN_SCRIPT_PYTHON_PATH = 82,
    UT_VALDRIN_SCRIPT_PYTHON_STARTUP = 83,
    UT_VALDRIN_SCRIPT_LOG_FILE = 84,
    UT_VALDRIN_SCRIPT_HISTORY_FILE = 85,
    UT_VALDRIN_SCRIPT_PROMPT = 86,
    UT_VALDRIN_SCRIPT_ENCODING = 87,
    UT_VALDRIN_SCRIPT_SHELL = 88,
    UT_VALDRIN_SCRIPT_LIBRARY_PATH = 89,
    UT_VALDRIN_SCRIPT_DATA_DIR = 90,
    UT_VALDRIN_ERRORLOG_FILENAME = 91,
    UT_VALDRIN_UI_REPORT_COMMAND = 92,
    UT_STR_CONTROL_COUNT = 93
};

/// What kind of value a setting has.
enum UT_ControlKind
{
    UT_CONTROL_SWITCH, ///< 0 or 1, with a UT_IntControl
    UT_CONTROL_INT,
    UT_CONTROL_FLOAT,
    UT_CONTROL_STRING
};

/// The description of one setting; see UTdescribeControl(). Names and use live
/// as long as the process; the texts are borrowed until the next change of the
/// settings.
struct UT_ControlInfo
{
    UT_ControlKind kind;
    int32 id;
    const char *name;       ///< of the environment variable
    const char *formerName; ///< null when it never had another one
    const char *use;        ///< its purpose, in a few words
    double value;           ///< of numbers and switches
    double defaultValue;
    double minimum;
    double maximum;
    const char *text;        ///< the value of texts; null when there is none
    const char *defaultText; ///< null when there is none
    bool isComputed;         ///< the default depends on machine and user
};

/// The table of settings. It is created when a setting is first read, from the
/// environment at that time, and lives as long as the process.
///
/// A switch is off for "0" and on for "1". Deliberate: any other value, ""
/// included, sets it to the opposite of its default. A number is read up to the
/// first byte that is no part of it ("12px" is 12), counts as 0 when there is
/// none, and is moved to the nearest allowed value when it is out of range. In
/// a text each backslash becomes a slash, and the variable is then rewritten.
/// An unset variable leaves the default.
///
/// The table sets the variables USER, HOME, VALDRIN_TEMP_DIR and
/// VALDRIN_DESKTOP_DIR to the values that it computed, for child processes.
///
/// Reading is thread-safe; the first read and all changes touch the
/// environment: one thread only.
class UT_API UT_EnvControl
{
public:
    /// The table, which is created when it does not exist yet.
    static UT_EnvControl &getControl()
    {
        UT_EnvControl *control = theControl.load(std::memory_order_acquire);
        return control ? *control : createControl();
    }

    UT_EnvControl(const UT_EnvControl &) = delete;
    UT_EnvControl &operator=(const UT_EnvControl &) = delete;

    /// The value of a setting.
    static int getInt(UT_IntControl id) { return getControl().myInts[id]; }
    static float getFloat(UT_FltControl id)
    {
        return getControl().myFloats[id];
    }

    /// The value of a text, null when there is neither a value nor a default.
    /// Borrowed until the next change of the settings.
    static const char *getString(UT_StrControl id)
    {
        return getControl().myStrings[id];
    }

    /// The name of a setting's variable, null for an unknown id. Does not
    /// create the table.
    static const char *getIntVar(UT_IntControl id);
    static const char *getFloatVar(UT_FltControl id);
    static const char *getStringVar(UT_StrControl id);

    /// The former name of a setting's variable, null when it never had another
    /// one. Deliberate: a variable of that name is not read.
    static const char *getOldIntVar(UT_IntControl id);
    static const char *getOldFloatVar(UT_FltControl id);
    static const char *getOldStringVar(UT_StrControl id);

    /// Changes a text and its variable in the environment. `value` is copied
    /// unchanged, backslashes included, and may be the current value; null
    /// removes the variable and leaves no value. Does nothing for an unknown
    /// id.
    static void setStringVar(UT_StrControl id, const char *value);

    /// Reads all settings again after the variable `name` has changed. Does
    /// nothing when `name` is not a setting's variable (a former name is not
    /// one), or before the table is created, which will read the new value
    /// anyway.
    static void varChanged(const char *name);

private:
    UT_LOCAL UT_EnvControl();
    UT_LOCAL ~UT_EnvControl();

    static UT_EnvControl &createControl();
    UT_LOCAL void doInit();
    UT_LOCAL void setDefaults();
    UT_LOCAL void loadEnvironment();
    UT_LOCAL void freeStrings();

    static std::atomic<UT_EnvControl *> theControl;

    // Order and size stay.
    int32 myInts[UT_INT_CONTROL_COUNT];
    float myFloats[UT_FLT_CONTROL_COUNT];
    char *myStrings[UT_STR_CONTROL_COUNT]; // owned, or null
};

static_assert(sizeof(void *) != 4 || sizeof(UT_EnvControl) == 956);

extern "C"
{
    /// Describes one setting, by its position in the list of all: the switches,
    /// the whole numbers, those with a fraction, the texts. Returns 1, or 0
    /// when `index` (from 0) is past the end; `info` is then left alone.
    /// Creates the table. The name is plain, for programs that load the
    /// library.
    UT_API int UTdescribeControl(int index, UT_ControlInfo &info);
}
