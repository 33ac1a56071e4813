#include "ut_BridgeSetup.h"

#include "ut_BridgeComponent.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include <nlohmann/json.hpp>
#include <unistd.h>

using ut_Json = nlohmann::json;
using ut_Path = std::filesystem::path;

struct ut_Browser
{
    const char *name;
    std::vector<const char *> programs;

    // The manifest that makes the host known: for one user, below the home
    // folder, for all users, and below the prefix where ours is installed.
    std::string userManifest;
    std::string systemManifest;
    std::string ourManifest;
    const char *allowed; // its member that lists who may call
    const char *caller;  // whom it must list

    // The extension, below its prefix, where the browser may find it for all
    // users; and in one of the user's profiles, which lie in folders below the
    // home folder.
    const char *extension;
    bool findsExtension;
    std::vector<const char *> profiles;
    const char *profileExtension;
    const char *howToAdd; // to a profile, before the name of the extension
};

static const char theManifestName[] = "/" VALDRIN_HOST_NAME ".json";

static ut_Browser
utFirefox()
{
    ut_Browser firefox;
    firefox.name = "Firefox";
    firefox.programs = {"firefox-esr", "firefox"};
    const std::string folder = "mozilla/native-messaging-hosts";
    firefox.userManifest = "/." + folder + theManifestName;
    firefox.systemManifest = "/usr/lib/" + folder + theManifestName;
    firefox.ourManifest = "lib/" + folder + theManifestName;
    firefox.allowed = "allowed_extensions";
    firefox.caller = VALDRIN_FIREFOX_ID;
    firefox.extension = "share/mozilla/extensions/"
                        "{ec8030f7-c20a-464f-9b0e-13a3a9e97384}"
                        "/" VALDRIN_FIREFOX_ID ".xpi";
    firefox.findsExtension = true;
    firefox.profiles = {"/.mozilla/firefox", "/.config/mozilla/firefox"};
    firefox.profileExtension = "extensions/" VALDRIN_FIREFOX_ID ".xpi";
    firefox.howToAdd = "set xpinstall.signatures.required to false in "
                       "about:config, and then open";
    return firefox;
}

static ut_Browser
utChromium()
{
    ut_Browser chromium;
    chromium.name = "Chromium";
    chromium.programs = {"chromium", "chromium-browser"};
    const std::string folder = "etc/chromium/native-messaging-hosts";
    chromium.userManifest =
        std::string("/.config/chromium/NativeMessagingHosts") + theManifestName;
    chromium.systemManifest = "/" + folder + theManifestName;
    chromium.ourManifest = folder + theManifestName;
    chromium.allowed = "allowed_origins";
    chromium.caller = "chrome-extension://" VALDRIN_CHROMIUM_ID "/";
    chromium.extension = "share/chromium/extensions/valdrin-connection";
    chromium.findsExtension = true;
    chromium.profiles = {"/.config/chromium"};
    chromium.profileExtension = "Extensions/" VALDRIN_CHROMIUM_ID;
    chromium.howToAdd = "switch on Developer mode in chrome://extensions, "
                        "choose Load unpacked, and then";
    return chromium;
}

// The same browser with places of its own. It finds no extension but those of
// its maker's store.
static ut_Browser
utChrome()
{
    ut_Browser chrome = utChromium();
    chrome.name = "Google Chrome";
    chrome.programs = {"google-chrome", "google-chrome-stable"};
    const std::string folder = "etc/opt/chrome/native-messaging-hosts";
    chrome.userManifest =
        std::string("/.config/google-chrome/NativeMessagingHosts") +
        theManifestName;
    chrome.systemManifest = "/" + folder + theManifestName;
    chrome.ourManifest = folder + theManifestName;
    chrome.findsExtension = false;
    chrome.profiles = {"/.config/google-chrome"};
    return chrome;
}

// ---- The words

static void
utPrint(const char *subject, const std::string &words)
{
    printf("%-14s %s\n", subject, words.c_str());
}

// What is missing, and what to do about it. Returns false, as its callers do.
static bool
utMiss(const char *subject, const std::string &words, const std::string &remedy)
{
    utPrint(subject, words);
    utPrint("", "To do: " + remedy + ".");
    return false;
}

// A path for a shell.
static std::string
utQuote(const std::string &path)
{
    std::string quoted = "'";
    for (const char byte : path)
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    return quoted + "'";
}

// ---- The places

static bool
utExists(const ut_Path &path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

// Folders can be entered, which access() takes for the same.
static bool
utCanRun(const ut_Path &path)
{
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) &&
           access(path.c_str(), X_OK) == 0;
}

// The content of a file; "" when it cannot be read. A folder throws when it is
// read, which only this operator catches.
static std::string
utTextOf(const ut_Path &file)
{
    const std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Follows what can be followed; links of a staged installation cannot.
static std::string
utReal(const ut_Path &path)
{
    std::error_code error;
    const ut_Path real = std::filesystem::canonical(path, error);
    return error ? path.string() : real.string();
}

// The first of the browser's programs that is there; "" when none is.
static std::string
utFindBrowser(const ut_Browser &browser, const ut_SetupPlaces &places)
{
    for (const char *program : browser.programs)
    {
        std::istringstream folders(places.path);
        std::string folder;
        while (std::getline(folders, folder, ':'))
        {
            std::string path = places.root + folder + "/" + program;
            if (folder[0] == '/' && utCanRun(path))
                return path;
        }
    }
    return "";
}

// A file below the prefix of our own installation; "" when it is not there, as
// when this program has been built and not installed.
static std::string
utInstalled(const ut_Path &file)
{
    const ut_Path prefix = ut_Path(utProgramPath()).parent_path().parent_path();
    return utExists(prefix / file) ? (prefix / file).string() : "";
}

// ---- The manifests

// What is wrong with the manifest in `file`, as the browser would find it; ""
// when nothing is. Sets `program` to what it starts.
static std::string
utFaultOf(const ut_Browser &browser, const ut_Path &file, std::string &program)
{
    const ut_Json json = ut_Json::parse(utTextOf(file), nullptr, false);
    if (!json.is_object())
        return "is not readable as JSON";
    const auto member = [&json](const char *name)
    {
        const auto found = json.find(name);
        return found != json.end() && found->is_string()
                   ? found->get<std::string>()
                   : std::string();
    };
    if (member("name") != VALDRIN_HOST_NAME)
        return "has another name than " VALDRIN_HOST_NAME;
    if (member("type") != "stdio")
        return "has another type than stdio";
    const auto allowed = json.find(browser.allowed);
    if (allowed == json.end() || !allowed->is_array() ||
        std::find(allowed->begin(), allowed->end(), browser.caller) ==
            allowed->end())
        return std::string("does not list ") + browser.caller + " as " +
               browser.allowed;
    program = member("path");
    return program[0] == '/' ? "" : "has no absolute path";
}

static bool
utCheckManifest(const ut_Browser &browser, const ut_SetupPlaces &places)
{
    const std::string system = places.root + browser.systemManifest;
    const ut_Path user = places.home + browser.userManifest;
    const bool hasUser = !places.home.empty() && utExists(user);

    std::string remedy = "install this program, below /usr for all users or by "
                         "scripts/install-page for you alone";
    const std::string ours = utInstalled(browser.ourManifest);
    if (!ours.empty() && !places.home.empty())
        remedy = "mkdir -p " + utQuote(user.parent_path()) + " && cp " +
                 utQuote(ours) + " " + utQuote(user.parent_path());
    if (!hasUser && !utExists(system))
        return utMiss("  manifest", "missing: " + system, remedy);

    // The user's own comes first, whatever is in it.
    const ut_Path file = hasUser ? user : ut_Path(system);
    const std::string root = hasUser ? "" : places.root;
    std::string program;
    const std::string fault = utFaultOf(browser, file, program);
    if (!fault.empty())
        return utMiss("  manifest", file.string() + " " + fault, remedy);
    if (!utCanRun(root + program))
        return utMiss(
            "  manifest",
            file.string() + " names " + program + ", which cannot be run",
            remedy);
    utPrint("  manifest", file.string());
    if (utReal(root + program) != utProgramPath())
        utPrint("", "It starts another program than this: " + program);
    return true;
}

// ---- The extension

// Whether a profile in `folder` has the extension. One that was loaded unpacked
// shows in Chromium's preferences only.
static bool
utIsInProfile(const ut_Browser &browser, const ut_Path &folder)
{
    std::error_code ignored;
    for (const auto &entry :
         std::filesystem::directory_iterator(folder, ignored))
    {
        if (utExists(entry.path() / browser.profileExtension))
            return true;
        for (const char *name : {"Preferences", "Secure Preferences"})
        {
            const std::string text = utTextOf(entry.path() / name);
            if (text.find("\"" VALDRIN_CHROMIUM_ID "\"") != std::string::npos)
                return true;
        }
    }
    return false;
}

static bool
utCheckExtension(const ut_Browser &browser, const ut_SetupPlaces &places)
{
    const std::string system = places.root + "/usr/" + browser.extension;
    if (browser.findsExtension && utExists(system))
    {
        utPrint("  extension", system);
        return true;
    }
    for (const char *profiles : browser.profiles)
    {
        const ut_Path folder = places.home + profiles;
        if (places.home.empty() || !utIsInProfile(browser, folder))
            continue;
        utPrint("  extension", "in a profile below " + folder.string());
        return true;
    }
    const std::string ours = utInstalled(browser.extension);
    const std::string byHand = std::string(browser.howToAdd) + " " +
                               (ours.empty() ? "the extension" : ours);
    if (!browser.findsExtension)
        return utMiss("  extension", "in no profile", byHand);
    return utMiss(
        "  extension", "missing: " + system,
        "install it below /usr for all users; or " + byHand);
}

static bool
utCheckBrowser(const ut_Browser &browser, const ut_SetupPlaces &places)
{
    const std::string program = utFindBrowser(browser, places);
    if (program.empty())
    {
        utPrint(browser.name, "not found");
        return false;
    }
    utPrint(browser.name, program);
    if (utReal(program).find("/snap") != std::string::npos)
        utPrint(
            "", "A Snap: it may not be able to start programs. The package of "
                "the distribution can.");
    const bool hasManifest = utCheckManifest(browser, places);
    return utCheckExtension(browser, places) && hasManifest;
}

bool
utCheckSetup(int32 port, const ut_SetupPlaces &places)
{
    const ut_BridgeComponent component;
    bool isWell = component.get() != nullptr;
    if (isWell)
        utPrint("Library", component.library());
    else
        utMiss(
            "Library", "cannot be used: " + component.problem(),
            "install this program and the library together");

    std::string problem;
    if (!isWell)
        utPrint("Application", "not asked, for want of the library");
    else if (component.probeApplication(port, problem))
        utPrint("Application", "answers on port " + std::to_string(port));
    else
        isWell = utMiss(
            "Application", problem,
            "start Valdrin and open its command port, or name another port "
            "with --port");

    bool hasBrowser = false;
    for (const ut_Browser &browser : {utFirefox(), utChromium(), utChrome()})
        hasBrowser = utCheckBrowser(browser, places) || hasBrowser;
    isWell = isWell && hasBrowser;
    printf(
        "\n%s\n", isWell ? "A page that the user allows gets an answer."
                         : "No page gets an answer yet.");
    return isWell;
}
