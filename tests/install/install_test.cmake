# Installs BUILD into an empty folder, looks for what should be there, and
# uses it.

set(prefix ${BUILD}/install_test)
file(REMOVE_RECURSE ${prefix})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result
                    OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

foreach(path
        ${LIBDIR}/libValdrinConnection.so
        bin/valdrin
        bin/valdrin-standin
        include/SYS/SYS_Types.h
        include/UT/UT_NetSocket.h
        share/man/man1/valdrin.1
        share/valdrin/IValdrinConnection.idl
        share/valdrin/IValdrinConnection.xpt
        share/valdrin/error/README)
    if(NOT EXISTS ${prefix}/${path})
        message(FATAL_ERROR "${path} is not installed")
    endif()
endforeach()

file(GLOB_RECURSE internal ${prefix}/include/*Impl.h)
if(internal)
    message(FATAL_ERROR "internal headers are installed: ${internal}")
endif()

separate_arguments(flags UNIX_COMMAND "${FLAGS}")
run(${COMPILER} ${flags} -std=c++17 -Wall -Wextra -Werror
    -I ${prefix}/include ${SOURCE} -o ${prefix}/uses_toolkit
    -L ${prefix}/${LIBDIR} -lValdrinConnection
    -Wl,-rpath,${prefix}/${LIBDIR})
run(${prefix}/uses_toolkit)
run(${prefix}/bin/valdrin --version)
run(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH
    sh -c "'${prefix}/bin/valdrin' --port 1 eval 1 2>&1 | grep 'Could not connect'")
