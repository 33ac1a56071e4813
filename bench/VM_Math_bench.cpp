// With vectors, arrays of 1000 floats take 0.8 to 1.05 of the time of a loop in
// the program that is compiled for AVX2, in 32 bits of one for any processor;
// limits 0.4 to 0.85, sums of products 0.25 to 0.35, and square roots 0.15 to
// 0.25, as a loop asks each for an error. Without, they take as much of a loop
// for any processor. Sixteen floats take 1.3 to 1.9 times as long: ours is a
// call of 2 ns.
//
// Each benchmark runs beside its peers; the argument is the number of elements.

#include "VM/VM_Math.h"

#include "ut_Curve.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace
{

// What the operations read and write.
struct ut_Arrays
{
    explicit ut_Arrays(size_t count)
        : a(count), b(count), c(count), result(count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            a[i] = float(i % 1000) + 1;
            b[i] = float(i % 77) + 1;
            c[i] = float(i % 5);
        }
    }

    std::vector<float> a;
    std::vector<float> b;
    std::vector<float> c;
    std::vector<float> result;
};

// Each operation, by the library and as a program would write it.
struct ut_Add
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::add(result, in.a.data(), in.b.data(), count);
    }
    static float one(float a, float b, float) { return a + b; }
};

struct ut_MultiplyByValue
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::multiply(result, in.a.data(), 1.5f, count);
    }
    static float one(float a, float, float) { return a * 1.5f; }
};

struct ut_Divide
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::divide(result, in.a.data(), in.b.data(), count);
    }
    static float one(float a, float b, float) { return a / b; }
};

struct ut_MultiplyAdd
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::multiplyAdd(
            result, in.a.data(), in.b.data(), in.c.data(), count);
    }
    static float one(float a, float b, float c) { return a * b + c; }
};

struct ut_Clamp
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::clamp(result, in.a.data(), 3, 50, count);
    }
    static float one(float a, float, float)
    {
        return std::min(std::max(a, 3.0f), 50.0f);
    }
};

struct ut_SquareRoot
{
    static void ours(float *result, const ut_Arrays &in, unsigned count)
    {
        VM_Math::squareRoot(result, in.a.data(), count);
    }
    static float one(float a, float, float) { return std::sqrt(a); }
};

} // namespace

template <class Operation>
[[gnu::always_inline]] static inline void
utLoop(float *__restrict result, const ut_Arrays &in, size_t count)
{
    const float *const a = in.a.data();
    const float *const b = in.b.data();
    const float *const c = in.c.data();
    for (size_t i = 0; i < count; ++i)
        result[i] = Operation::one(a[i], b[i], c[i]);
}

template <class Operation>
static void
utLoopHere(float *result, const ut_Arrays &in, unsigned count)
{
    utLoop<Operation>(result, in, count);
}

template <class Operation>
[[gnu::target("avx2")]] static void
utLoopByAvx2(float *result, const ut_Arrays &in, unsigned count)
{
    utLoop<Operation>(result, in, count);
}

// The sum of products, which goes into the result's first element.
static void
utDot(float *result, const ut_Arrays &in, unsigned count)
{
    *result = float(VM_Math::dot(in.a.data(), in.b.data(), count));
}

static void
utDotHere(float *result, const ut_Arrays &in, unsigned count)
{
    double sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += double(in.a[i]) * double(in.b[i]);
    *result = float(sum);
}

using ut_Function = void (*)(float *, const ut_Arrays &, unsigned);

static void
utRun(benchmark::State &state, ut_Function function, bool simd)
{
    ut_Arrays arrays(size_t(state.range(0)));
    VM_Math::theSIMD = simd;
    for (auto _ : state)
    {
        function(arrays.result.data(), arrays, unsigned(state.range(0)));
        benchmark::ClobberMemory();
    }
    VM_Math::theSIMD = false;
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

static void
utRegister(const std::string &name, ut_Function function, bool simd = false)
{
    benchmark::RegisterBenchmark(name.c_str(), utRun, function, simd)
        ->Apply(utCurve<16, 65536, 16777216, 64>);
}

// With vectors beside what the compiler makes of a loop for any processor and
// for AVX2, and without beside the former. In 32 bits a loop for AVX2 would
// slow down whatever is measured after it.
static void
utCompare(
    const std::string &name, ut_Function ours, ut_Function here,
    ut_Function byAvx2)
{
    utRegister(name + "/ours by vectors", ours, /*simd=*/true);
    utRegister(name + "/a loop", here);
    if (byAvx2 && sizeof(void *) == 8 && __builtin_cpu_supports("avx2"))
        utRegister(name + "/a loop by AVX2", byAvx2);
    utRegister(name + " for any processor/ours", ours);
    utRegister(name + " for any processor/a loop", here);
}

template <class Operation>
static void
utCompare(const std::string &name)
{
    utCompare(
        name, Operation::ours, utLoopHere<Operation>, utLoopByAvx2<Operation>);
}

static const bool theRowsAreThere = []
{
    utCompare<ut_Add>("add floats");
    utCompare<ut_MultiplyByValue>("multiply floats by one");
    utCompare<ut_Divide>("divide floats");
    utCompare<ut_MultiplyAdd>("multiply and add floats");
    utCompare<ut_Clamp>("limit floats");
    utCompare<ut_SquareRoot>("roots of floats");
    utCompare("sum of products", utDot, utDotHere, nullptr);
    return true;
}();
