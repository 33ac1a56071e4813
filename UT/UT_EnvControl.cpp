// The table of settings: reading, finding, changing and describing them.

#include "UT_EnvControl.h"

#include "UT_AllocImpl.h"
#include "UT_CancelImpl.h"
#include "UT_Env.h"
#include "UT_EnvControlImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"
#include "UT_SpecialDir.h"
#include "UT_SymbolTable.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include <pwd.h>
#include <unistd.h>

// What a slot holds until its row has filled it.
static const int32 theMissingInt = -399128;
static const float theMissingFloat = -399128.0f;
static char theMissingMark;
static char *const theMissingString = &theMissingMark;

std::atomic<UT_EnvControl *> UT_EnvControl::theControl(nullptr);

// The default texts by id. Those that depend on machine and user are
// computed once: a later change of the environment does not affect them.
static const char *theStringDefaults[UT_STR_CONTROL_COUNT];

// ---- The tables

template <class Row, class Id>
static const Row *
utFindRow(const Row *rows, Id id)
{
    while (rows->name && rows->id != id)
        ++rows;
    return rows->name ? rows : nullptr;
}

template <class Row>
static void
utAddNames(UT_SymbolTable &names, const Row *rows)
{
    for (; rows->name; ++rows)
        names.addSymbol(rows->name, UT_Thing());
}

static const UT_SymbolTable *
utListVariableNames()
{
    auto names = std::make_unique<UT_SymbolTable>();
    utAddNames(*names, theExistLookups);
    utAddNames(*names, theIntLookups);
    utAddNames(*names, theFltLookups);
    utAddNames(*names, theStringLookups);
    return names.release();
}

// The names of all variables that are settings. Call when there are settings:
// the list has a lock, and the first lock reads one.
static const UT_SymbolTable &
theVariableNames()
{
    static const UT_SymbolTable *theNames =
        utListVariableNames(); // never destroyed
    return *theNames;
}

// ---- The one table

UT_EnvControl &
UT_EnvControl::createControl()
{
    static UT_Lock theCreation(UT_STATIC_LOCK);
    static ut_ForkLock theForkLock(theCreation, UT_FORK_SETTINGS);
    theForkLock.join();
    // The light-weight way to wait reads a setting.
    const ut_LockGuard guard(&theCreation, utLockNap);
    const ut_CancelGuard cancelGuard; // they are read as a whole
    UT_EnvControl *control = theControl.load(std::memory_order_relaxed);
    if (!control)
    {
        control = new UT_EnvControl;
        theControl.store(control, std::memory_order_release);
    }
    return *control;
}

UT_EnvControl::UT_EnvControl() : myInts(), myFloats(), myStrings()
{
    try
    {
        doInit();
    }
    catch (...)
    {
        freeStrings();
        throw;
    }
}

UT_EnvControl::~UT_EnvControl()
{
    freeStrings();
}

void
UT_EnvControl::freeStrings()
{
    for (char *text : myStrings)
        if (text != theMissingString)
            free(text);
}

// The login name without blanks.
static char *
utDefaultUser()
{
    const passwd *const user = getpwuid(geteuid());
    char *const name = utDuplicate(user ? user->pw_name : "nobody");
    std::replace(name, name + strlen(name), ' ', '_');
    return name;
}

static void
utComputeDefaults()
{
    static bool theIsDone = false;
    if (theIsDone)
        return;
    ut_BlockOwner<char> user(utDefaultUser());
    ut_BlockOwner<char> desktop(UTgetDesktopDir());
    const char *const home = UTgetTmpDir();
    ut_BlockOwner<char> temporary(UTgetDefaultTmpDir());
    theIsDone = true; // nothing fails after this
    for (const ut_StringRow *row = theStringLookups; row->name; ++row)
        theStringDefaults[row->id] = row->defaultText;
    theStringDefaults[UT_USER] = user.release();
    theStringDefaults[UT_HOME] = home;
    theStringDefaults[UT_VALDRIN_TEMP_DIR] = temporary.release();
    theStringDefaults[UT_VALDRIN_DESKTOP_DIR] = desktop.release();
    theStringDefaults[UT_VALDRIN_OS] = "Linux";
}

// Nothing here may read a setting.
void
UT_EnvControl::doInit()
{
    utComputeDefaults();
    setDefaults();
    loadEnvironment();
    for (const UT_StrControl id :
         {UT_USER, UT_HOME, UT_VALDRIN_TEMP_DIR, UT_VALDRIN_DESKTOP_DIR})
        ValdrinSetenv(getStringVar(id), myStrings[id]);
}

template <class Value, size_t count>
static void
utReportMissing(const char *kind, const Value (&values)[count], Value marker)
{
    for (size_t id = 0; id < count; ++id)
        if (!(values[id] < marker) && !(marker < values[id]))
            fprintf(stderr, "EnvControl: missing %s %d\n", kind, int(id));
}

void
UT_EnvControl::setDefaults()
{
    std::fill(std::begin(myInts), std::end(myInts), theMissingInt);
    std::fill(std::begin(myFloats), std::end(myFloats), theMissingFloat);
    std::fill(std::begin(myStrings), std::end(myStrings), theMissingString);

    for (const ut_ExistRow *row = theExistLookups; row->name; ++row)
        myInts[row->id] = row->defaultValue;
    for (const ut_IntRow *row = theIntLookups; row->name; ++row)
        myInts[row->id] = row->defaultValue;
    for (const ut_StringRow *row = theStringLookups; row->name; ++row)
    {
        myStrings[row->id] = utDuplicate(theStringDefaults[row->id]);
    }
    for (const ut_FltRow *row = theFltLookups; row->name; ++row)
        myFloats[row->id] = row->defaultValue;

    utReportMissing("int", myInts, theMissingInt);
    utReportMissing("float", myFloats, theMissingFloat);
    utReportMissing("string", myStrings, theMissingString);
}

static int32
utSwitch(const char *value, int32 defaultValue)
{
    if (strcmp(value, "0") == 0 || strcmp(value, "1") == 0)
        return *value - '0';
    return !defaultValue;
}

// With a point, whatever the program's locale has between the digits.
static double
utNumber(const char *value)
{
    static const locale_t theCLocale =
        newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    const double number = strtod_l(value, nullptr, theCLocale);
    return std::isnan(number) ? 0 : number;
}

void
UT_EnvControl::loadEnvironment()
{
    for (const ut_ExistRow *row = theExistLookups; row->name; ++row)
        if (const char *value = ValdrinGetenv(row->name))
            myInts[row->id] = utSwitch(value, row->defaultValue);

    for (const ut_IntRow *row = theIntLookups; row->name; ++row)
        if (const char *value = ValdrinGetenv(row->name))
            myInts[row->id] = int32(std::clamp<long>(
                strtol(value, nullptr, 10), row->minimum, row->maximum));

    for (const ut_StringRow *row = theStringLookups; row->name; ++row)
        if (const char *value = ValdrinGetenv(row->name))
        {
            char *const text = utDuplicate(value);
            free(myStrings[row->id]);
            myStrings[row->id] = text;
            if (!strchr(text, '\\'))
                continue;
            std::replace(text, text + strlen(text), '\\', '/');
            ValdrinSetenv(row->name, text);
        }

    for (const ut_FltRow *row = theFltLookups; row->name; ++row)
        if (const char *value = ValdrinGetenv(row->name))
            myFloats[row->id] = float(std::clamp<double>(
                utNumber(value), row->minimum, row->maximum));
}

// ---- Names

const char *
UT_EnvControl::getIntVar(UT_IntControl id)
{
    if (const ut_ExistRow *row = utFindRow(theExistLookups, id))
        return row->name;
    const ut_IntRow *const row = utFindRow(theIntLookups, id);
    return row ? row->name : nullptr;
}

const char *
UT_EnvControl::getFloatVar(UT_FltControl id)
{
    const ut_FltRow *const row = utFindRow(theFltLookups, id);
    return row ? row->name : nullptr;
}

const char *
UT_EnvControl::getStringVar(UT_StrControl id)
{
    const ut_StringRow *const row = utFindRow(theStringLookups, id);
    return row ? row->name : nullptr;
}

const char *
UT_EnvControl::getOldIntVar(UT_IntControl id)
{
    if (const ut_ExistRow *row = utFindRow(theExistLookups, id))
        return row->formerName;
    const ut_IntRow *const row = utFindRow(theIntLookups, id);
    return row ? row->formerName : nullptr;
}

const char *
UT_EnvControl::getOldFloatVar(UT_FltControl id)
{
    const ut_FltRow *const row = utFindRow(theFltLookups, id);
    return row ? row->formerName : nullptr;
}

const char *
UT_EnvControl::getOldStringVar(UT_StrControl id)
{
    const ut_StringRow *const row = utFindRow(theStringLookups, id);
    return row ? row->formerName : nullptr;
}

// ---- Changes

void
UT_EnvControl::setStringVar(UT_StrControl id, const char *value)
{
    const char *const name = getStringVar(id);
    if (!name)
        return;
    // Copied first: it may be the present value, or lie in the environment.
    ut_BlockOwner<char> text(utDuplicate(value));
    char *&slot = getControl().myStrings[id];
    if (text)
        ValdrinSetenv(name, text.get());
    else
        ValdrinUnsetenv(name);
    free(slot);
    slot = text.release();
}

void
UT_EnvControl::varChanged(const char *name)
{
    UT_EnvControl *const control = theControl.load(std::memory_order_acquire);
    if (!control || !theVariableNames().findSymbol(name, nullptr))
        return;
    const ut_CancelGuard guard; // they are read as a whole
    UT_EnvControl values;
    std::swap(control->myInts, values.myInts);
    std::swap(control->myFloats, values.myFloats);
    std::swap(control->myStrings, values.myStrings);
}

// ---- Descriptions

template <class Row>
static void
utDescribeNumber(UT_ControlInfo &info, const Row &row, double value)
{
    info.value = value;
    info.defaultValue = double(row.defaultValue);
    info.minimum = double(row.minimum);
    info.maximum = double(row.maximum);
}

static void
utDescribe(UT_ControlInfo &info, const ut_ExistRow &row)
{
    info.kind = UT_CONTROL_SWITCH;
    info.value = UT_EnvControl::getInt(row.id);
    info.defaultValue = row.defaultValue;
    info.maximum = 1;
}

static void
utDescribe(UT_ControlInfo &info, const ut_IntRow &row)
{
    info.kind = UT_CONTROL_INT;
    utDescribeNumber(info, row, UT_EnvControl::getInt(row.id));
}

static void
utDescribe(UT_ControlInfo &info, const ut_FltRow &row)
{
    info.kind = UT_CONTROL_FLOAT;
    utDescribeNumber(info, row, double(UT_EnvControl::getFloat(row.id)));
}

static void
utDescribe(UT_ControlInfo &info, const ut_StringRow &row)
{
    info.kind = UT_CONTROL_STRING;
    info.text = UT_EnvControl::getString(row.id);
    info.defaultText = theStringDefaults[row.id];
    info.isComputed = info.defaultText && !row.defaultText;
}

static bool
utIsObeyed(const char *name)
{
    for (const char *const *each = theObeyedNames; *each; ++each)
        if (strcmp(*each, name) == 0)
            return true;
    return false;
}

// Counts `index` down on the way through the rows.
template <class Row>
static bool
utDescribeIn(const Row *rows, int &index, UT_ControlInfo &info)
{
    while (rows->name && index-- > 0)
        ++rows;
    if (!rows->name)
        return false;
    info = UT_ControlInfo();
    info.id = rows->id;
    info.name = rows->name;
    info.formerName = rows->formerName;
    info.use = rows->use;
    info.isObeyed = utIsObeyed(rows->name);
    utDescribe(info, *rows);
    return true;
}

int
UTdescribeControl(int index, UT_ControlInfo &info)
{
    UT_EnvControl::getControl();
    return index >= 0 && (utDescribeIn(theExistLookups, index, info) ||
                          utDescribeIn(theIntLookups, index, info) ||
                          utDescribeIn(theFltLookups, index, info) ||
                          utDescribeIn(theStringLookups, index, info));
}
