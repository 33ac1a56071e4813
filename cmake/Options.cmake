# How every file of ours is compiled, and where the results go.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LIBRARIES z)
check_cxx_source_compiles(
    "#include <zlib.h>
int main() { return *zlibVersion() == 0; }" VALDRIN_HAS_ZLIB)
unset(CMAKE_REQUIRED_LIBRARIES)
if(NOT VALDRIN_HAS_ZLIB)
    unset(VALDRIN_HAS_ZLIB CACHE)
    message(
        FATAL_ERROR
            "zlib and its headers are needed, for the same word size: Debian's "
            "package zlib1g-dev, and lib32z1-dev for -m32.")
endif()

# The flags decide whether we build for 32-bit x86, so the compiler is tested.
try_compile(
    VALDRIN_IS_X86_32 SOURCE_FROM_CONTENT x86_32.cpp "#ifndef __i386__
#error Another processor
#endif
int main() { return 0; }
" NO_CACHE)

# There, code that others call can rely on a stack that is aligned to 4 bytes
# and no more: the browser's call stub and code compiled for size keep to that.
# With -mstackrealign, functions that have vectors on the stack align it first;
# clang's do so that call another, too, and -mstack-alignment=4, which is less,
# would leave callbacks without their 16 bytes. With gcc's
# -mincoming-stack-boundary=2 it is also all functions that call another, for up
# to a third more instructions in sorts and a sixth in streams; the address
# sanitizer wants that, as it has something in most frames.
set(VALDRIN_STACK_OPTIONS "")
if(VALDRIN_IS_X86_32)
    set(VALDRIN_STACK_OPTIONS -mstackrealign)
    if(VALDRIN_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        set(VALDRIN_STACK_OPTIONS -mincoming-stack-boundary=2)
    endif()
endif()

add_library(valdrin_options INTERFACE)
# There, too, floats round as they do elsewhere.
if(VALDRIN_IS_X86_32)
    target_compile_options(valdrin_options INTERFACE -msse2 -mfpmath=sse)
endif()

# Warnings are for our own files only.
target_compile_options(
    valdrin_options
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wcast-qual
              -Wconversion
              -Wextra-semi
              -Wformat=2
              -Wnarrowing
              -Wnon-virtual-dtor
              -Wold-style-cast
              -Woverloaded-virtual
              -Wshadow
              -Wsign-conversion
              -Wundef
              -Wvla)
if(VALDRIN_WERROR)
    target_compile_options(valdrin_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(valdrin_options INTERFACE -Wduplicated-cond
                                                     -Wlogical-op)
endif()
target_link_libraries(valdrin_options INTERFACE Threads::Threads)

# Shipped files refuse what attacks begin with: a smashed stack, a buffer
# overrun that the C library can see, a table of functions that is written to, a
# stack that is run. Sanitizers check more, in their own way.
if(NOT VALDRIN_SANITIZE)
    target_compile_options(
        valdrin_options INTERFACE -fstack-protector-strong
                                  -fstack-clash-protection)
    # The C library's checks need an optimised build.
    target_compile_options(
        valdrin_options
        INTERFACE
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    target_link_options(
        valdrin_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack
                                  -Wl,-z,text)
    include(CheckPIESupported)
    check_pie_supported(LANGUAGES CXX)
endif()

# The same sources give the same bytes, wherever they are built.
target_compile_options(
    valdrin_options
    INTERFACE -ffile-prefix-map=${PROJECT_BINARY_DIR}=build
              -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)

set(VALDRIN_NO_UNDEFINED -Wl,-z,defs)
if(VALDRIN_SANITIZE)
    add_compile_options(-fsanitize=${VALDRIN_SANITIZE}
                        -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VALDRIN_SANITIZE})
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Clang's sanitizer runtime lives in the program, not in libraries.
        set(VALDRIN_NO_UNDEFINED "")
        # The typed arrays pass their comparators to the untyped ones, which
        # call them with untyped pointers.
        if(VALDRIN_SANITIZE MATCHES "undefined")
            add_compile_options(-fno-sanitize=function)
        endif()
    endif()
endif()
