# Installs BUILD into empty folders, looks for what should be there, moves it,
# uses it and removes it.

set(work "${BUILD}/install test")
set(installed ${work}/installed)
set(prefix ${work}/moved)
file(REMOVE_RECURSE ${work})
separate_arguments(flags UNIX_COMMAND "${FLAGS}")

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result
                    OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_files folder)
    foreach(path IN LISTS ARGN)
        if(NOT EXISTS ${folder}/${path})
            message(FATAL_ERROR "${path} is not installed")
        endif()
    endforeach()
endfunction()

function(expect_none what)
    if(ARGN)
        message(FATAL_ERROR "${what}: ${ARGN}")
    endif()
endfunction()

# ---- What is there

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${installed})
expect_files(
    ${installed}
    ${LIBDIR}/libValdrinConnection.so
    ${LIBDIR}/libValdrinConnection.so.1
    bin/valdrin
    bin/valdrin-standin
    include/valdrin/SYS/SYS_Types.h
    include/valdrin/UT/UT_NetSocket.h
    share/doc/ValdrinConnection/README.md
    share/doc/ValdrinConnection/docs/streams.md
    share/man/man1/valdrin.1
    share/valdrin/IValdrinConnection.idl
    share/valdrin/IValdrinConnection.xpt
    share/valdrin/error/README)
file(GLOB_RECURSE internal ${installed}/include/*Impl.h)
expect_none("internal headers are installed" ${internal})

# The native host, what makes it known to browsers, and the extension. Browsers
# look for these two below /usr and /etc.
function(expect_bridge folder sysconfdir prefix)
    set(name com.norvex.valdrinconnection.json)
    foreach(manifest lib/mozilla/native-messaging-hosts/${name}
                     ${sysconfdir}/chromium/native-messaging-hosts/${name}
                     ${sysconfdir}/opt/chrome/native-messaging-hosts/${name})
        file(READ ${folder}/${manifest} json)
        string(JSON path GET "${json}" path)
        if(NOT path STREQUAL "${prefix}/bin/valdrin-bridge")
            message(FATAL_ERROR "${manifest} names ${path}")
        endif()
    endforeach()
    expect_files(
        ${folder}
        bin/valdrin-bridge
        share/man/man1/valdrin-bridge.1
        share/chromium/extensions/valdrin-connection/manifest.json
        share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/valdrin-connection@norvex.com.xpi
    )
endfunction()

if(HAS_BRIDGE)
    expect_bridge(${installed} etc ${installed})
    set(stage ${work}/stage)
    run(${CMAKE_COMMAND} -E env DESTDIR=${stage} ${CMAKE_COMMAND} --install
        ${BUILD} --prefix /usr)
    expect_bridge(${stage}/usr ../etc /usr)

    # One account, and how it is left.
    set(home ${work}/home)
    set(page ${CMAKE_COMMAND} -E env --unset=XDG_DATA_HOME HOME=${home}
             ${SOURCES}/scripts/install-page)
    run(${page} ${BUILD})
    set(name com.norvex.valdrinconnection.json)
    foreach(manifest .mozilla/native-messaging-hosts/${name}
                     .config/chromium/NativeMessagingHosts/${name}
                     .config/google-chrome/NativeMessagingHosts/${name})
        file(READ ${home}/${manifest} json)
        string(JSON path GET "${json}" path)
        run(${path} --version)
    endforeach()
    run(${page} --uninstall)
    file(GLOB_RECURSE left ${home}/*)
    expect_none("left after uninstalling" ${left})
endif()

# ---- What it is good for, wherever it is

file(RENAME ${installed} ${prefix})
if(HAS_BRIDGE)
    run(sh -c "'${prefix}/bin/valdrin-bridge' --check --port 1 --root '${stage}' | grep '^Library *${prefix}/${LIBDIR}/'")
endif()
run(${prefix}/bin/valdrin --version)
run(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH
    sh -c "'${prefix}/bin/valdrin' --port 1 eval 1 2>&1 | grep 'Could not connect'")

# The programs for users, whose page has what they print. One more is built with
# the options of pkg-config alone.
run(${CMAKE_COMMAND} -S ${SOURCES}/examples -B ${work}/examples -D
    CMAKE_PREFIX_PATH=${prefix} -D CMAKE_CXX_COMPILER=${COMPILER} -D
    CMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${work}/examples)
run(${PYTHON} -B ${SOURCES}/tests/examples/check_sessions.py
    ${SOURCES}/docs/programs.md ${work}/examples ${prefix}/bin)
run(${CMAKE_COMMAND} -E env
    PKG_CONFIG_LIBDIR=${prefix}/${LIBDIR}/pkgconfig
    pkg-config --cflags --libs valdrinconnection)
separate_arguments(options UNIX_COMMAND "${output}")
run(${COMPILER} ${flags} -std=c++17
    ${SOURCES}/examples/split_line.cpp -o ${work}/alone
    ${options} -Wl,-rpath,${prefix}/${LIBDIR})
run(${work}/alone "two words")

# ---- Its end

set(installed ${work}/größer)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${installed})
# Python compiles what it runs.
run(${installed}/bin/valdrin-standin --version)
run(${CMAKE_COMMAND} --build ${BUILD} --target uninstall)
file(GLOB_RECURSE left LIST_DIRECTORIES TRUE ${installed}/*)
expect_none("left after uninstalling" ${left})
file(REMOVE_RECURSE ${work})
