// Calls as a browser makes them: on 32-bit x86 its call stub, and code compiled
// for size, leave the stack at any multiple of four bytes.
//
//     theStackOff = 12;
//     EXPECT_EQ(0, utCallOff(NSGetModule, nullptr, nullptr, &module));

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// How many bytes below a multiple of 16 the stack is at the calls that follow:
// 0, 4, 8 or 12. Only 32-bit x86 takes notice.
inline uint32_t theStackOff = 0;

#ifdef __i386__
// Its true type is ut_Thunk, below.
extern "C" void utCallWithStackOff();

asm(R"(
    .section .text.utCallWithStackOff,"axG",@progbits,utCallWithStackOff,comdat
    .weak utCallWithStackOff
    .type utCallWithStackOff, @function
utCallWithStackOff:
    pushl %ebp
    movl %esp, %ebp
    pushl %esi
    pushl %edi
    movl 20(%ebp), %ecx
    leal (,%ecx,4), %eax
    subl %eax, %esp
    andl $-16, %esp
    subl 8(%ebp), %esp
    movl 16(%ebp), %esi
    movl %esp, %edi
    cld
    rep movsl
    call *12(%ebp)
    leal -8(%ebp), %esp
    popl %edi
    popl %esi
    popl %ebp
    ret
    .size utCallWithStackOff, .-utCallWithStackOff
    .previous
)");

// Calls `function` with the `count` words as its arguments, `off` bytes below a
// multiple of 16. What it returns stays in its registers.
template <class Result>
using ut_Thunk = Result (*)(
    uint32_t off, const void *function, const uint32_t *words, size_t count);

// The word that an argument is on the stack.
template <class Parameter>
uint32_t
utWordOf(Parameter argument)
{
    static_assert(sizeof(argument) == 4);
    uint32_t word;
    memcpy(&word, &argument, sizeof(word));
    return word;
}
#endif

// The type of an argument, which is not to be deduced from it.
template <class Parameter>
struct ut_Argument
{
    using Type = Parameter;
};

template <class Result, class... Parameters>
Result
utCallOff(
    Result (*function)(Parameters...),
    typename ut_Argument<Parameters>::Type... arguments)
{
#ifdef __i386__
    // Not on the heap, where a test may allow no more blocks.
    const uint32_t words[] = {utWordOf<Parameters>(arguments)...};
    return reinterpret_cast<ut_Thunk<Result>>(utCallWithStackOff)(
        theStackOff, reinterpret_cast<const void *>(function), words,
        sizeof...(arguments));
#else
    return function(arguments...);
#endif
}
