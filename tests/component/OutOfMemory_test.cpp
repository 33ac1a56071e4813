// What callers see when there is no room. This program's operator new and
// allocator come before the library's, as a browser's may.

#include "ut_ComponentSlots.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

static bool theMemoryIsGone;

static void *
utAllocate(size_t size)
{
    return theMemoryIsGone ? nullptr : malloc(size);
}

void *
operator new(size_t size)
{
    void *const block = utAllocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void *
operator new(size_t size, const std::nothrow_t &) noexcept
{
    return utAllocate(size);
}

// Not inlined, or the compiler sees only one side of the pair.
[[gnu::noinline]] void
operator delete(void *block) noexcept
{
    free(block);
}

[[gnu::noinline]] void
operator delete(void *block, size_t) noexcept
{
    free(block);
}

extern "C" __attribute__((visibility("default"))) void *
NS_Alloc(size_t size)
{
    return utAllocate(size);
}

namespace
{
struct ut_NoMemory
{
    ut_NoMemory() { theMemoryIsGone = true; }
    ~ut_NoMemory() { theMemoryIsGone = false; }
};

// `call` is made without memory, and must not throw.
template <class Call>
uint32_t
utWithoutMemory(Call call)
{
    ut_NoMemory guard;
    return call();
}
} // namespace

TEST(OutOfMemory, HasAResultCode)
{
    ut_StandInManager manager;
    void *module = nullptr;
    void *factory = nullptr;
    void *object = nullptr;
    void *info = nullptr;
    EXPECT_EQ(
        UT_OUT_OF_MEMORY,
        utWithoutMemory([&]
                        { return NSGetModule(nullptr, nullptr, &module); }));
    ASSERT_EQ(UT_OK, NSGetModule(nullptr, nullptr, &module));

    const auto getFactory = [&]
    { return utGetClassObject(module, &manager, theFactoryID, &factory); };
    EXPECT_EQ(UT_OUT_OF_MEMORY, utWithoutMemory(getFactory));
    EXPECT_EQ(nullptr, factory);
    ASSERT_EQ(UT_OK, getFactory());

    const auto create = [&]
    { return utCreate(factory, theConnectionID, &object); };
    object = &manager;
    EXPECT_EQ(UT_OUT_OF_MEMORY, utWithoutMemory(create));
    EXPECT_EQ(nullptr, object);
    ASSERT_EQ(UT_OK, create());

    const ut_ConnectionSlots &slots = utSlots<ut_ConnectionSlots>(object);
    char unset = 0;
    char *text = &unset;
    EXPECT_EQ(
        UT_OUT_OF_MEMORY,
        utWithoutMemory([&] { return slots.run(object, "x", &text); }));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(
        UT_OUT_OF_MEMORY,
        utWithoutMemory([&]
                        { return slots.runPythonStatements(object, "x"); }));
    // Deliberate: a copy that fails is null, and no failure.
    text = &unset;
    EXPECT_EQ(
        UT_OK,
        utWithoutMemory([&] { return slots.getStashedString(object, &text); }));
    EXPECT_EQ(nullptr, text);

    ASSERT_EQ(UT_OK, slots.queryInterface(object, theClassInfoID, &info));
    const ut_ClassInfoSlots &infoSlots = utSlots<ut_ClassInfoSlots>(info);
    void *cid = nullptr;
    EXPECT_EQ(
        UT_OUT_OF_MEMORY,
        utWithoutMemory([&] { return infoSlots.getContractID(info, &text); }));
    EXPECT_EQ(
        UT_OUT_OF_MEMORY,
        utWithoutMemory([&] { return infoSlots.getClassID(info, &cid); }));
    for (void *each : {info, object, factory, module})
        utRelease(each);
}
