# shellcheck shell=bash
# bash completion for quarn-radius. The package bash-completion loads this file by the name of the command; without
# that package, source it.

_quarn_radius() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word i
    # The words of the command itself, the options left out.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case "$command $word" in
            ' dictionary') command=dictionary ;;
            'dictionary check' | 'dictionary show' | 'dictionary import')
                command=$word
                break
                ;;
        esac
    done
    COMPREPLY=()
    local words=--help
    case $command in
        '') words+=' --version dictionary' ;;
        dictionary) words+=' check show import' ;;
        check) words+=' --json' ;;
        show) words+=' --json -d' ;;
        import) words+=' --force --json --vendor --schema -o' ;;
    esac
    compopt -o filenames 2>/dev/null
    case $previous in
        -o)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            return
            ;;
        --schema)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        --vendor)
            return
            ;;
    esac
    if [[ $current == -* || $command == '' || $command == dictionary ]]; then
        compopt +o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    elif [[ $command == import ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    elif [[ $command == check || $previous == -d ]]; then
        mapfile -t COMPREPLY < <(
            compgen -d -- "$current"
            compgen -f -X '!*.y*ml' -- "$current"
        )
    fi
}
complete -F _quarn_radius quarn-radius
