# Completion of valdrin's arguments for bash.
# shellcheck shell=bash

_valdrin() {
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' word
    COMPREPLY=()
    # "--library=PATH" is three words to the shell.
    if [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    elif [[ $current == "=" ]]; then
        current=''
    fi
    case $previous in
    -l | --library)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -p | --port | -t | --timeout)
        return
        ;;
    esac
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
        run | exec | eval | env | info)
            command=$word
            break
            ;;
        esac
    done
    if [[ $current == -* ]]; then
        local options='--library --help --version'
        case $command in
        run) options+=' --port --timeout' ;;
        exec | eval) options+=' --port --timeout --check' ;;
        env) options+=' --page --json' ;;
        info) options+=' --json' ;;
        *) options+=' --port --timeout --check --page --json' ;;
        esac
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W 'run exec eval env info' -- "$current")
    elif [[ $command == env ]]; then
        # The ~ of the program's path is not expanded yet.
        mapfile -t COMPREPLY < <(
            compgen -W "$("${COMP_WORDS[0]/#"~/"/"$HOME/"}" env 2>/dev/null |
                sed '1d;s/ .*//')" -- "$current")
    fi
}

complete -F _valdrin valdrin
