// The platform's interfaces as a caller without our declarations sees them: an
// object starts with a pointer to a table of functions, which take the object
// first. A slot that moved is then a wrong call here, not an agreement.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The identifiers as they lie in memory.
static const char theSupportsID[] =
    "\x00\x00\x00\x00\x00\x00\x00\x00\xc0\x00\x00\x00\x00\x00\x00\x46";
static const char theFactoryID[] =
    "\x01\x00\x00\x00\x00\x00\x00\x00\xc0\x00\x00\x00\x00\x00\x00\x46";
static const char theModuleID[] =
    "\x32\xd0\x92\x73\x71\x53\xd3\x11\x99\x4e\x00\x80\x5f\xd2\x6f\xee";
static const char theClassInfoID[] =
    "\xd0\x11\x6c\x98\x40\xf3\xd4\x11\x90\x75\x00\x10\xa4\xe7\x3d\x9a";
static const char theRegistrarID[] =
    "\xfe\xcb\x17\x24\xad\x65\xa6\x48\xb4\xb6\xeb\x84\xdb\x17\x43\x92";
static const char theConnectionID[] =
    "\x06\x83\xae\x7e\x9f\x9d\xaa\x43\xae\xff\x51\x7e\x86\xa3\xd0\x6f";
static const char theClassID[] =
    "\x75\xfb\xd2\xbc\x43\xa2\xf1\x48\xb4\x95\xf3\xaa\x18\xea\x5c\x25";

inline bool
utIsID(const void *bytes, const char *id)
{
    return memcmp(bytes, id, 16) == 0;
}

// Result codes.
enum : uint32_t
{
    UT_OK = 0,
    UT_NO_INTERFACE = 0x80004002,
    UT_NULL_POINTER = 0x80004003,
    UT_FAILURE = 0x80004005,
    UT_OUT_OF_MEMORY = 0x8007000E,
    UT_NO_AGGREGATION = 0x80040110,
    UT_NOT_REGISTERED = 0x80040154
};

// Slots: those of every object, then the connection's.
enum : size_t
{
    UT_QUERY,
    UT_ADD_REF,
    UT_RELEASE,
    UT_SET_PORT,
    UT_RUN,
    UT_RUN_STATEMENTS,
    UT_RUN_EXPRESSION,
    UT_STASH,
    UT_GET_STASHED
};

template <class... Arguments>
uint32_t
utCall(void *object, size_t slot, Arguments... arguments)
{
    using Function = uint32_t (*)(void *, Arguments...);
    return (*static_cast<Function **>(object))[slot](object, arguments...);
}
