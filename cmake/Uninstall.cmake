# Removes what BUILD was last installed as: its files, what Python has made of
# them, and the folders that are empty without them.
cmake_minimum_required(VERSION 3.25)
set(manifest ${BUILD}/install_manifest.txt)
if(NOT EXISTS ${manifest})
    message(FATAL_ERROR "Nothing to remove: there is no ${manifest}, which "
                        "cmake --install writes.")
endif()
file(READ ${manifest} rest)
file(READ ${BUILD}/install_prefix.txt prefix)

# These are there without us.
set(kept / /etc /usr /usr/local ${prefix})
foreach(system /usr /usr/local)
    foreach(folder bin etc include lib lib32 share share/man)
        list(APPEND kept ${system}/${folder})
    endforeach()
endforeach()

# A folder and those above it, until rmdir refuses one that is not empty.
function(remove_empty_folders folder)
    while(NOT folder IN_LIST kept)
        execute_process(COMMAND rmdir -- "${folder}" RESULT_VARIABLE refused
                        ERROR_QUIET)
        if(refused AND EXISTS "${folder}")
            break()
        endif()
        get_filename_component(folder "${folder}" DIRECTORY)
    endwhile()
endfunction()

# Not by file(STRINGS), which splits lines at what is not ASCII.
set(count 0)
while(rest MATCHES "^([^\n]+)\n?(.*)$")
    set(file "$ENV{DESTDIR}${CMAKE_MATCH_1}")
    set(rest "${CMAKE_MATCH_2}")
    math(EXPR count "${count} + 1")
    file(REMOVE "${file}")
    get_filename_component(folder "${file}" DIRECTORY)
    if(file MATCHES "/([^/]+)\\.py$")
        file(GLOB compiled "${folder}/__pycache__/${CMAKE_MATCH_1}.*.pyc")
        if(compiled)
            file(REMOVE ${compiled})
            remove_empty_folders("${folder}/__pycache__")
        endif()
    endif()
    remove_empty_folders("${folder}")
endwhile()
file(REMOVE ${manifest} ${BUILD}/install_prefix.txt)
message("Removed ${count} files from ${prefix}.")
