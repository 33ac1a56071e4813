# What several scripts need, which source this file in the project's folder.
# shellcheck shell=bash

# copy_sources FOLDER: makes the folder one of what belongs to the project.
copy_sources() {
    rm -rf "$1"
    mkdir -p "$1"
    git ls-files -z | tar --null -T - -c | tar -x -C "$1"
}

# clang_tool NAME: prints what the tool is called here, as clang++ or
# clang++-14; the latest of several. Returns 1 when there is none.
clang_tool() {
    if command -v "$1" >/dev/null; then
        echo "$1"
        return
    fi
    compgen -c "$1-" | grep -xE "${1//+/\\+}-[0-9]+" | sort -V | tail -n 1 | grep .
}

# can_make FOLDER: whether the folder can be made and written to, or else prints
# the one that prevents it.
can_make() {
    local parent=$1
    while [ ! -e "$parent" ]; do parent=$(dirname -- "$parent"); done
    [ -d "$parent" ] && [ -w "$parent" ] && return
    echo "$parent"
    return 1
}

# need COMMAND PACKAGE: ends the script where the command is missing.
need() {
    command -v "$1" >/dev/null && return
    echo "$1 is missing. Debian has it in the package $2." >&2
    exit 1
}
