# Tools that have their version in their name, for the scripts that source this
# file.
# shellcheck shell=bash

# clang_tool NAME: prints what the tool is called here, as clang++ or
# clang++-14; the latest of several. Returns 1 when there is none.
clang_tool() {
    if command -v "$1" >/dev/null; then
        echo "$1"
        return
    fi
    compgen -c "$1-" | grep -xE "${1//+/\\+}-[0-9]+" | sort -V | tail -n 1 | grep .
}
