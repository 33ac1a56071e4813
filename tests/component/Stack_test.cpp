// Functions of the toolkit that keep vectors on the stack, called with the
// stack anywhere. One that relies on more than it is promised ends the process.

#include "ut_StackOff.h"

#include "SYS/SYS_FPReal16.h"
#include "UT/UT_Env.h"
#include "UT/UT_IStream.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_NumericCast.h"
#include "UT/UT_QuickSort.h"
#include "UT/UT_String.h"
#include "UT/UT_SysResource.h"
#include "UT/UT_Thread.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"
#include "VM/VM_Math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

// The function of a member that is not virtual, which takes the object first.
template <class Result, class Class, class... Parameters>
static auto
utFunction(Result (Class::*member)(Parameters...))
{
    Result (*function)(Class *, Parameters...);
    memcpy(&function, &member, sizeof(function));
    return function;
}

template <class Result, class Class, class... Parameters>
static auto
utFunction(Result (Class::*member)(Parameters...) const)
{
    return utFunction(
        reinterpret_cast<Result (Class::*)(Parameters...)>(member));
}

namespace
{

// The parameter is `theStackOff`.
class StackOff : public ::testing::TestWithParam<uint32_t>
{
protected:
    StackOff() { theStackOff = GetParam(); }
};

struct ut_Record
{
    int key;
    int square; // of the key
    int unused[3];
};

} // namespace

static bool
utIsBefore(const ut_Record &a, const ut_Record &b)
{
    return a.key < b.key;
}

INSTANTIATE_TEST_SUITE_P(
    Toolkit, StackOff, ::testing::Values(0, 4, 8, 12),
    ::testing::PrintToStringParamName());

TEST_P(StackOff, RecordsAreSorted)
{
    const auto sort = utFunction(
        static_cast<UT_QuickSort &(
            UT_QuickSort::
                *)(void *, unsigned, unsigned, UT_QuickSort::compareType)>(
            &UT_QuickSort::sort));
    for (const auto type :
         {UT_QuickSort::UT_SORT_SIGNED, UT_QuickSort::UT_SORT_UNSIGNED,
          UT_QuickSort::UT_SORT_FLOAT})
    {
        std::mt19937 random(1);
        std::vector<ut_Record> records(1000);
        for (ut_Record &record : records)
        {
            record.key = int(random() % 40000);
            record.square = record.key * record.key;
        }
        UT_QuickSort sorter;
        utCallOff(
            sort, &sorter, records.data(), unsigned(sizeof(ut_Record)),
            unsigned(records.size()), type);
        EXPECT_TRUE(std::is_sorted(records.begin(), records.end(), utIsBefore))
            << type;
        for (const ut_Record &record : records)
            EXPECT_EQ(record.key * record.key, record.square) << type;
    }
}

static int
utCompareRecords(const void *a, const void *b)
{
    return static_cast<const ut_Record *>(a)->key -
           static_cast<const ut_Record *>(b)->key;
}

TEST_P(StackOff, ElementsAreSelected)
{
    std::vector<ut_Record> records(1000);
    std::vector<int> numbers(1000);
    for (int i = 0; i < 1000; ++i)
    {
        records[size_t(i)].key = i % 2 ? i : 999 - i;
        numbers[size_t(i)] = i * 7 % 1000;
    }
    utCallOff(
        static_cast<void (*)(
            void *, unsigned, unsigned, unsigned,
            int (*)(const void *, const void *))>(UTquickSelect),
        records.data(), 1000u, 300u, unsigned(sizeof(ut_Record)),
        utCompareRecords);
    utCallOff(
        static_cast<int (*)(int *, unsigned, unsigned, int (*)(int, int))>(
            UTquickSelect),
        numbers.data(), 1000u, 300u, [](int a, int b) { return a - b; });
    std::vector<ut_Record> sorted = records;
    std::sort(sorted.begin(), sorted.end(), utIsBefore);
    EXPECT_EQ(sorted[300].key, records[300].key);
    EXPECT_EQ(300, numbers[300]);
}

TEST_P(StackOff, ArraysAreCalculated)
{
    std::vector<float> values(1001);
    std::iota(values.begin(), values.end(), 0.0f);
    EXPECT_EQ(
        1000.0 * 1001 * 2001 / 6,
        utCallOff(VM_Math::dot, values.data(), values.data(), 1001u));

    std::vector<fpreal16> halves(values.size());
    utCallOff(
        static_cast<void (*)(fpreal16 *, const float *, size_t)>(UTnumericCast),
        halves.data(), values.data(), values.size());
    std::vector<float> back(values.size());
    utCallOff(
        static_cast<void (*)(float *, const fpreal16 *, size_t)>(UTnumericCast),
        back.data(), halves.data(), values.size());
    EXPECT_EQ(values, back);
}

TEST_P(StackOff, StreamsAreReadAndWritten)
{
    std::ostringstream out;
    const double numbers[] = {0.1, -1e300, 7};
    EXPECT_TRUE(utCallOff(
        static_cast<bool (*)(std::ostream &, const double *, int)>(UTawrite),
        out, numbers, 3));
    EXPECT_TRUE(
        utCallOff(UTsaveStringBinary, out, UT_ISTREAM_RLE_64, "text", -1));
    const std::string text = out.str();

    UT_IStream in(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    double read[3];
    EXPECT_EQ(
        3, utCallOff(
               utFunction(static_cast<int (UT_IStream::*)(double *, int)>(
                   &UT_IStream::aread)),
               &in, read, 3));
    EXPECT_TRUE(std::equal(read, read + 3, numbers));
    UT_IStream *const part = utCallOff(
        utFunction(&UT_IStream::getSubStream), &in, 0, int64(text.size()));
    EXPECT_TRUE(utCallOff(
        utFunction(&UT_IStream::seekg), part, int64(text.size() - 4), 0));
    UT_WorkBuffer word;
    EXPECT_TRUE(utCallOff(utFunction(&UT_IStream::getLine), part, word, '\n'));
    EXPECT_STREQ("text", word.buffer());
    delete part;
}

TEST_P(StackOff, TextsAreTakenApart)
{
    std::vector<int> selected;
    UT_String range("1-9:3");
    const int done = utCallOff(
        utFunction(&UT_String::traversePattern), &range, 30, &selected,
        [](int major, int, void *data)
        {
            static_cast<std::vector<int> *>(data)->push_back(major);
            return 1;
        },
        nullptr, 0);
    EXPECT_EQ(1, done);
    EXPECT_EQ((std::vector<int>{1, 4, 7}), selected);

    UT_String name("  name  ");
    EXPECT_EQ(4, utCallOff(utFunction(&UT_String::strip), &name, " "));
    EXPECT_STREQ("name", name.buffer());
}

TEST_P(StackOff, TheMachineAnswers)
{
    UT_SysResource resource;
    utCallOff(utFunction(&UT_SysResource::update), &resource, false);
    EXPECT_GT(resource.memoryTotal(), 0u);
    EXPECT_GT(utCallOff(UT_Thread::getNumProcessors), 0);
    utCallOff(ValdrinSetenv, "UT_STACK_OFF", "1");
    utCallOff(ValdrinUnsetenv, "UT_STACK_OFF");
    EXPECT_EQ(nullptr, getenv("UT_STACK_OFF"));
    UT_NetSocket socket;
    int octets[4];
    const bool isKnown = utCallOff(
        utFunction(static_cast<bool (UT_NetSocket::*)(int *)>(
            &UT_NetSocket::getLocalIP4)),
        &socket, octets);
    EXPECT_EQ(socket.getLocalIP4() != 0, isKnown);
}
