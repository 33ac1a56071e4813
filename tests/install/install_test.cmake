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

# The native host, what makes it known to browsers, and the extension. Browsers
# look for these two below /usr and /etc.
function(expect_bridge folder sysconfdir prefix)
    set(name com.norvex.valdrinconnection.json)
    foreach(manifest lib/mozilla/native-messaging-hosts/${name}
                     ${sysconfdir}/chromium/native-messaging-hosts/${name})
        file(READ ${folder}/${manifest} json)
        string(JSON path GET "${json}" path)
        if(NOT path STREQUAL "${prefix}/bin/valdrin-bridge")
            message(FATAL_ERROR "${manifest} names ${path}")
        endif()
    endforeach()
    foreach(path
            bin/valdrin-bridge
            share/man/man1/valdrin-bridge.1
            share/chromium/extensions/valdrin-connection/manifest.json
            share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/valdrin-connection@norvex.com.xpi
    )
        if(NOT EXISTS ${folder}/${path})
            message(FATAL_ERROR "${path} is not installed")
        endif()
    endforeach()
endfunction()

if(HAS_BRIDGE)
    expect_bridge(${prefix} etc ${prefix})
    set(stage ${BUILD}/install_test_stage)
    file(REMOVE_RECURSE ${stage})
    run(${CMAKE_COMMAND} -E env DESTDIR=${stage} ${CMAKE_COMMAND} --install
        ${BUILD} --prefix /usr)
    expect_bridge(${stage}/usr ../etc /usr)

    # One account, and how it is left.
    set(home ${BUILD}/install_test_home)
    file(REMOVE_RECURSE ${home})
    set(page ${CMAKE_COMMAND} -E env --unset=XDG_DATA_HOME HOME=${home}
             ${CMAKE_CURRENT_LIST_DIR}/../../scripts/install-page)
    run(${page} ${BUILD})
    set(name com.norvex.valdrinconnection.json)
    foreach(manifest .mozilla/native-messaging-hosts/${name}
                     .config/chromium/NativeMessagingHosts/${name})
        file(READ ${home}/${manifest} json)
        string(JSON path GET "${json}" path)
        run(${path} --version)
    endforeach()
    run(${page} --uninstall)
    file(GLOB_RECURSE left ${home}/*)
    if(left)
        message(FATAL_ERROR "left after uninstalling: ${left}")
    endif()

    # It finds its library where that was installed.
    run(sh -c "'${prefix}/bin/valdrin-bridge' --check --port 1 --root '${stage}' | grep '^Library *${prefix}/${LIBDIR}/'")
endif()

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
