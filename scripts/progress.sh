# How far long tasks are, for the scripts that source this file.
# shellcheck shell=bash

# counted LABEL LOG COMMAND...: runs a command with all that it prints in LOG, and
# counts its steps: in one line of a terminal, elsewhere in a line every minute.
# Returns the command's status.
counted() {
    local label=$1 log=$2 line shown=$SECONDS status
    shift 2
    # Steps as Ninja, make, ctest and apt-get print them.
    local step='^\[? *([0-9]+/[0-9]+|[0-9]+%)(\]| Test )|^[a-z]+status:[^:]*:([0-9]+)'
    {
        "$@" 2>&1 | while IFS= read -r line; do
            printf '%s\n' "$line"
            [[ $line =~ $step ]] || continue
            line=${BASH_REMATCH[1]:-${BASH_REMATCH[3]}%}
            if [ -t 3 ]; then
                printf '\r%s %s\033[K' "$label" "$line" >&3
            elif ((SECONDS - shown >= 60)); then
                printf '%s %s\n' "$label" "$line" >&3
                shown=$SECONDS
            fi
        done >"$log"
        status=${PIPESTATUS[0]}
        [ ! -t 3 ] || printf '\r\033[K' >&3
    } 3>&1
    return "$status"
}
