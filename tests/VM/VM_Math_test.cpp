#include "VM/VM_Math.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

static std::vector<float>
utValues(unsigned count, float scale)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const float specials[] = {0.0f,  -0.0f,   infinity, -infinity,    1e-42f,
                              1e38f, -1e-42f, 3.0f,     std::nanf("")};
    std::vector<float> values(count);
    for (unsigned i = 0; i < count; ++i)
        values[i] = i % 5 ? scale * (float(i) - 40.3f)
                          : specials[(i / 5 * unsigned(scale)) % 9];
    return values;
}

using ut_Operation = std::function<void(
    float *, const float *, const float *, const float *, unsigned)>;
using ut_Scalar = std::function<float(float, float, float)>;

static const struct
{
    const char *name;
    ut_Operation array;
    ut_Scalar one;
} theOperations[] = {
    {"add",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::add(r, a, b, n); },
     [](float a, float b, float) { return a + b; }                             },
    {"add a value",
     [](float *r, const float *a, const float *,  const float *,  unsigned n)
     { VM_Math::add(r, a, 0.3f, n); },
     [](float a, float,   float) { return a + 0.3f; }                          },
    {"subtract",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::subtract(r, a, b, n); },
     [](float a, float b, float) { return a - b; }                             },
    {"multiply",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::multiply(r, a, b, n); },
     [](float a, float b, float) { return a * b; }                             },
    {"multiply by a value",
     [](float *r, const float *a, const float *,  const float *,  unsigned n)
     { VM_Math::multiply(r, a, 0.3f, n); },
     [](float a, float,   float) { return a * 0.3f; }                          },
    {"divide",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::divide(r, a, b, n); },
     [](float a, float b, float) { return a / b; }                             },
    {"multiplyAdd",
     [](float *r, const float *a, const float *b, const float *c, unsigned n)
     { VM_Math::multiplyAdd(r, a, b, c, n); },
     [](float a, float b, float c)
     {
         volatile float product = a * b; // rounded
         return product + c;
     }                                                },
    {"multiplyAdd with a value",
     [](float *r, const float *a, const float *,  const float *c, unsigned n)
     { VM_Math::multiplyAdd(r, a, 0.3f, c, n); },
     [](float a, float,   float c)
     {
         volatile float product = a * 0.3f;
         return product + c;
     }                                                  },
    {"min",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::min(r, a, b, n); },
     [](float a, float b, float) { return a < b ? a : b; }                     },
    {"max",
     [](float *r, const float *a, const float *b, const float *,  unsigned n)
     { VM_Math::max(r, a, b, n); },
     [](float a, float b, float) { return a > b ? a : b; }                     },
    {"clamp",
     [](float *r, const float *a, const float *,  const float *,  unsigned n)
     { VM_Math::clamp(r, a, -5, 7, n); },
     [](float a, float,   float) { return !(a > -5) ? -5
                                        : a < 7   ? a
                                                  : 7; }},
    {"squareRoot",
     [](float *r, const float *a, const float *,  const float *,  unsigned n)
     { VM_Math::squareRoot(r, a, n); },
     [](float a, float,   float) { return std::sqrt(a); }                      },
};

TEST(VM_Math, BothWaysGiveTheSame)
{
    for (const bool simd : {false, true})
        for (const auto &row : theOperations)
            for (const unsigned count : {0u, 1u, 3u, 4u, 5u, 103u})
            {
                VM_Math::theSIMD = simd;
                const auto a = utValues(count, 1);
                const auto b = utValues(count, 2);
                const auto c = utValues(count, 7);
                auto result = a;
                row.array(
                    result.data(), result.data(), b.data(), c.data(), count);
                for (unsigned i = 0; i < count; ++i)
                {
                    const float one = row.one(a[i], b[i], c[i]);
                    if (std::isnan(one))
                        EXPECT_TRUE(std::isnan(result[i])) << row.name << i;
                    else
                        EXPECT_EQ(0, memcmp(&one, &result[i], sizeof one))
                            << row.name << i << ' ' << one << ' ' << result[i];
                }
            }
}

TEST(VM_Math, DotIsTheSameBothWays)
{
    std::vector<float> a(103);
    std::vector<float> b(103);
    long double exact = 0;
    for (unsigned i = 0; i < 103; ++i)
    {
        a[i] = 1 / float(i + 1);
        b[i] = 1e7f - float(i * i);
        exact += static_cast<long double>(a[i]) * b[i];
    }
    const double plain = VM_Math::dot(a.data(), b.data(), 103);
    EXPECT_NEAR(double(exact), plain, 1e-7);
    VM_Math::theSIMD = true;
    EXPECT_EQ(plain, VM_Math::dot(a.data(), b.data(), 103));
    EXPECT_EQ(0, VM_Math::dot(a.data(), b.data(), 0));
}
