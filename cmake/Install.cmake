# What is installed, and where. All of it can be moved: nothing but the manifests
# for browsers has a path of this machine in it.
include(CMakePackageConfigHelpers)

# The library and the data that it finds in the folders above it.
install(
    TARGETS ValdrinConnection
    EXPORT ValdrinConnection
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES error/Common error/README
        DESTINATION ${CMAKE_INSTALL_DATADIR}/valdrin/error)

# What programs are built with. The file of the version knows the word size, so
# that each program finds the package of its own.
install(
    DIRECTORY SYS UT VM
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/valdrin
    FILES_MATCHING
    PATTERN "*.h"
    PATTERN "*Impl.h" EXCLUDE)
install(FILES component/IValdrinConnection.idl component/IValdrinConnection.xpt
        DESTINATION ${CMAKE_INSTALL_DATADIR}/valdrin)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/ValdrinConnection)
if(CMAKE_INSTALL_LIBDIR STREQUAL "lib32")
    # Debian has such a folder, but its CMake does not look there.
    set(package_folder lib/cmake/ValdrinConnection-32)
endif()
install(
    EXPORT ValdrinConnection
    NAMESPACE ValdrinConnection::
    FILE ValdrinConnectionConfig.cmake
    DESTINATION ${package_folder})
set(work ${PROJECT_BINARY_DIR}/package)
write_basic_package_version_file(
    ${work}/ValdrinConnectionConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${work}/ValdrinConnectionConfigVersion.cmake
        DESTINATION ${package_folder})

set(pkgconfig_folder ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
foreach(folder LIBDIR INCLUDEDIR)
    file(RELATIVE_PATH ${folder}_FROM_PKGCONFIG ${pkgconfig_folder}
         ${CMAKE_INSTALL_FULL_${folder}})
endforeach()
configure_file(cmake/valdrinconnection.pc.in ${work}/valdrinconnection.pc @ONLY)
install(FILES ${work}/valdrinconnection.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(VALDRIN_BUILD_PROGRAMS)
    install(TARGETS valdrin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(PROGRAMS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/valdrin-standin
            DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${PROJECT_BINARY_DIR}/tools/valdrin.1
                  ${PROJECT_BINARY_DIR}/tools/valdrin-standin.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(
        FILES tools/completion/valdrin.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME valdrin)
    install(FILES tools/completion/_valdrin
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(
        DIRECTORY python/valdrin
        DESTINATION ${CMAKE_INSTALL_DATADIR}/valdrin/python
        PATTERN __pycache__ EXCLUDE)
endif()

# Firefox gets the extension packed, Chromium as a folder. Both find it there
# when the prefix is /usr.
if(VALDRIN_BUILD_BRIDGE)
    install(TARGETS valdrin-bridge RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${PROJECT_BINARY_DIR}/bridge/valdrin-bridge.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(SCRIPT ${PROJECT_BINARY_DIR}/bridge/InstallManifests.cmake)
    install(
        FILES ${PROJECT_BINARY_DIR}/extension/${VALDRIN_FIREFOX_ID}.xpi
        DESTINATION
            ${CMAKE_INSTALL_DATADIR}/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}
    )
    install(DIRECTORY ${PROJECT_BINARY_DIR}/extension/valdrin-connection
            DESTINATION ${CMAKE_INSTALL_DATADIR}/chromium/extensions)
endif()

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
        OPTIONAL)
install(
    DIRECTORY docs
    DESTINATION ${CMAKE_INSTALL_DOCDIR}
    FILES_MATCHING
    PATTERN "*.md"
    PATTERN page.png
    PATTERN examples EXCLUDE)
install(
    DIRECTORY examples
    DESTINATION ${CMAKE_INSTALL_DOCDIR}
    PATTERN __pycache__ EXCLUDE)

# What was installed last can be removed again.
if(PROJECT_IS_TOP_LEVEL)
    install(
        CODE "file(WRITE \"${PROJECT_BINARY_DIR}/install_prefix.txt\"
              \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")")
    add_custom_target(
        uninstall
        COMMAND ${CMAKE_COMMAND} -D BUILD=${PROJECT_BINARY_DIR} -P
                ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake
        COMMENT "Removing what was installed"
        VERBATIM)
endif()
