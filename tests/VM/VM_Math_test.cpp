#include "VM/VM_Math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

// Values of which every fifth is a special one. `stride` is the way through the
// special ones, so that two arrays pair each of them with others.
static std::vector<float>
utValues(float scale, size_t stride)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> specials = {infinity,  0.0f,   -0.0f,
                                         -infinity, 1e-42f, 1e38f,
                                         -1e-42f,   3.0f,   std::nanf("")};
    std::vector<float> values(5003);
    size_t special = 0;
    for (size_t i = 0; i < values.size(); ++i)
    {
        values[i] = scale * (float(i) - 40.3f);
        if (i % 5 == 0)
        {
            values[i] = specials[special % specials.size()];
            special += stride;
        }
    }
    return values;
}

static const auto theA = utValues(/*scale=*/1, /*stride=*/1);
static const auto theB = utValues(/*scale=*/2, /*stride=*/2);
static const auto theC = utValues(/*scale=*/7, /*stride=*/7);

// Zeros of different signs differ; all NaNs are the same.
static void
utExpectSame(float expected, float result)
{
    EXPECT_EQ(std::isnan(expected), std::isnan(result));
    if (std::isnan(expected))
        return;
    EXPECT_EQ(expected, result);
    EXPECT_EQ(std::signbit(expected), std::signbit(result));
}

// What an operation reads beside the first array: other ones, or values.
template <class Operand>
static float
utElement(Operand operand, [[maybe_unused]] unsigned i)
{
    if constexpr (std::is_pointer_v<Operand>)
        return operand[i];
    else
        return operand;
}

// Compares an operation in place with what `one` makes of each element.
template <class Operation, class One, class... Operands>
static void
utCheck(const char *name, Operation operation, One one, Operands... operands)
{
    for (const bool simd : {false, true})
        for (const unsigned count : {0u, 1u, 4u, 9u, 31u, 32u, 33u, 39u, 5003u})
        {
            VM_Math::theSIMD = simd;
            std::vector<float> result(&theA[0], &theA[0] + count);
            operation(result.data(), result.data(), operands..., count);
            for (unsigned i = 0; i < count; ++i)
            {
                SCOPED_TRACE(
                    testing::Message() << name << ", element " << i << " of "
                                       << count << ", vectors " << simd);
                utExpectSame(
                    one(theA[i], utElement(operands, i)...), result[i]);
            }
        }
}

TEST(VM_Math, BothWaysGiveTheSame)
{
    const float *const b = theB.data();
    const float *const c = theC.data();
    const auto add = [](auto... operands) { VM_Math::add(operands...); };
    const auto sum = [](float x, float y) { return x + y; };
    utCheck("add", add, sum, b);
    utCheck("add a value", add, sum, 0.3f);
    const auto multiply = [](auto... operands)
    { VM_Math::multiply(operands...); };
    const auto product = [](float x, float y) { return x * y; };
    utCheck("multiply", multiply, product, b);
    utCheck("multiply by a value", multiply, product, 0.3f);
    const auto multiplyAdd = [](auto... operands)
    { VM_Math::multiplyAdd(operands...); };
    const auto productAndSum = [](float x, float y, float z)
    {
        volatile float rounded = x * y;
        return rounded + z;
    };
    utCheck("multiplyAdd", multiplyAdd, productAndSum, b, c);
    utCheck("multiplyAdd with a value", multiplyAdd, productAndSum, 0.3f, c);
    const auto difference = [](float x, float y) { return x - y; };
    utCheck("subtract", VM_Math::subtract, difference, b);
    const auto quotient = [](float x, float y) { return x / y; };
    utCheck("divide", VM_Math::divide, quotient, b);
    const auto smaller = [](float x, float y) { return x < y ? x : y; };
    utCheck("min", VM_Math::min, smaller, b);
    const auto larger = [](float x, float y) { return x > y ? x : y; };
    utCheck("max", VM_Math::max, larger, b);
    const auto clamped = [](float x, float low, float high)
    { return x > low ? std::min(x, high) : low; };
    utCheck("clamp", VM_Math::clamp, clamped, -5.0f, 7.0f);
    const auto root = [](float x) { return std::sqrt(x); };
    utCheck("squareRoot", VM_Math::squareRoot, root);
    const auto set = [](float *result, const float *, float x, unsigned count)
    { VM_Math::set(result, x, count); };
    const auto second = [](float, float x) { return x; };
    utCheck("set", set, second, -0.25f);
}

TEST(VM_Math, DotIsTheSameBothWays)
{
    const std::vector<float> a(103, 1 / 3.0f);
    std::vector<float> b(103, 1e7f);
    b[50] = -3.0f;
    const double plain = VM_Math::dot(a.data(), b.data(), 103);
    EXPECT_NEAR(102 * (double(a[0]) * 1e7) - double(a[0]) * 3, plain, 1e-6);
    VM_Math::theSIMD = true;
    EXPECT_EQ(plain, VM_Math::dot(a.data(), b.data(), 103));
    EXPECT_EQ(0, VM_Math::dot(a.data(), b.data(), 0));
}
