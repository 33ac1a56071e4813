# What the demonstrations share: sourced by them, with `valdrin` set to the
# program. It starts an application, talks to it, and cleans up at the end.
# shellcheck shell=bash

# The program must be known by now.
: "${valdrin:?}"

scratch=
application=
port=

fail() {
    printf '\n%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

stop_application() {
    [[ -n $application ]] || return 0
    kill "$application" 2>/dev/null
    wait "$application"
    local status=$?
    application=
    return "$status"
}

clean_up() {
    stop_application
    [[ -z $scratch ]] || rm -rf -- "$scratch"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# say WHO TEXT: every line of TEXT after the name of the speaker.
say() {
    local line
    while IFS= read -r line || [[ -n $line ]]; do
        printf '%8s | %s\n' "$1" "$line"
    done <<<"${2%$'\n'}"
}

# ask COMMAND TEXT STATUS EXPECTED: sends TEXT and checks what comes back on
# standard output and standard error together. "..." at the start of EXPECTED
# stands for anything.
ask() {
    local answer reply status
    say "$1" "$2"
    # After the reply comes the status, which also keeps the newlines at the
    # end that $(...) would drop.
    answer=$("$valdrin" --port "$port" --timeout 60 "$1" -- "$2" 2>&1
        printf ':%s' "$?")
    status=${answer##*:}
    reply=${answer%:*}
    say reply "${reply:-(none)}"
    printf '\n'
    [[ $status == "$3" ]] || fail "the exit status is $status, not $3"
    if [[ $4 == ...* ]]; then
        [[ $reply == *"${4#...}" ]] || fail "the reply should have ended: $4"
    else
        [[ $reply == "$4" ]] || fail "the reply should have been: $4"
    fi
}

# start_application COMMAND...: starts it and sets `port` to the one that it
# says it listens on.
start_application() {
    scratch=$(mktemp -d) || fail "no room for temporary files"
    mkfifo "$scratch/ready" || fail "no room for temporary files"
    "$@" >"$scratch/ready" 2>"$scratch/log" &
    application=$!
    # Kept open, so that what it prints later meets a reader.
    exec 3<"$scratch/ready"
    local line
    while IFS= read -r -t 120 -u 3 line; do
        [[ $line =~ ^listening\ on\ 127\.0\.0\.1:([0-9]+)$ ]] || continue
        port=${BASH_REMATCH[1]}
        return
    done
    fail "the application did not start: $(<"$scratch/log")"
}
