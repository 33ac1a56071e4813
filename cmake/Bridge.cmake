# The browser extension and its native host, where what they are built with is
# there.
find_package(Python3 3.9 QUIET COMPONENTS Interpreter)
find_path(VALDRIN_JSON_INCLUDE nlohmann/json.hpp)
set(missing "")
if(NOT Python3_FOUND)
    list(APPEND missing "Python 3.9 or later (Debian's package python3)")
endif()
if(NOT VALDRIN_JSON_INCLUDE)
    list(APPEND missing
         "nlohmann/json.hpp (Debian's package nlohmann-json3-dev)")
endif()
if(NOT VALDRIN_BUILD_PROGRAMS)
    list(APPEND missing "VALDRIN_BUILD_PROGRAMS")
endif()
list(JOIN missing " and " missing)

if(NOT missing)
    set(VALDRIN_BUILD_BRIDGE ON)
    add_subdirectory(bridge)
    add_subdirectory(extension)
elseif(VALDRIN_BUILD_BRIDGE STREQUAL "AUTO")
    set(VALDRIN_BUILD_BRIDGE OFF)
    message(STATUS "Without the browser extension, which needs ${missing}")
else()
    message(
        FATAL_ERROR
            "The browser extension needs ${missing}. Install it, or leave the "
            "extension out with -DVALDRIN_BUILD_BRIDGE=OFF.")
endif()
