# shellcheck shell=bash
# bash completion for quarn-radius. The package bash-completion loads this file by the name of the command; without
# that package, source it.

# The values of an option of `send`; fails for an option that has none to offer.
_quarn_radius_send_value() {
    local profiles=${XDG_CONFIG_HOME:-$HOME/.config}/quarn-radius/send file
    case $1 in
        --code) mapfile -t COMPREPLY < <(compgen -W 'access accounting coa disconnect status' -- "$2") ;;
        --method) mapfile -t COMPREPLY < <(compgen -W 'pap chap mschap mschapv2' -- "$2") ;;
        --require-message-authenticator) mapfile -t COMPREPLY < <(compgen -W 'yes warn no' -- "$2") ;;
        --expect) mapfile -t COMPREPLY < <(compgen -W 'accept reject challenge ack nak' -- "$2") ;;
        --interface) mapfile -t COMPREPLY < <(compgen -W "$(ls /sys/class/net 2>/dev/null)" -- "$2") ;;
        --secret-env | --password-env) mapfile -t COMPREPLY < <(compgen -e -- "$2") ;;
        -f | --file | --secret-file | --password-file | -d | --dictionary)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$2")
            ;;
        --profile)
            for file in "$profiles/$2"*.yaml; do
                [[ ! -f $file ]] || COMPREPLY+=("$(basename "$file" .yaml)")
            done
            ;;
        --server) mapfile -t COMPREPLY < <(compgen -A hostname -- "$2") ;;
        --secret | --username | --password | --mac | --answer | --source | --session-id) ;;
        --timeout | --tries | --grace | --parallel) ;;
        *) return 1 ;;
    esac
}

_quarn_radius() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word i
    # The words of the command itself, the options left out.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case "$command $word" in
            ' dictionary') command=dictionary ;;
            ' send')
                command=send
                break
                ;;
            'dictionary check' | 'dictionary list' | 'dictionary show' | 'dictionary import')
                command=$word
                break
                ;;
        esac
    done
    COMPREPLY=()
    local words=--help
    case $command in
        '') words+=' --version dictionary send' ;;
        dictionary) words+=' check list show import' ;;
        check) words+=' --json' ;;
        list | show) words+=' --json -d' ;;
        import) words+=' --force --json --vendor --schema -o' ;;
        send)
            words+=' --server -4 -6 --ipv4 --ipv6 --source --interface --code -f --file --session-id --bare -d'
            words+=' --dictionary --secret-file --secret-env --secret --username --password-file --password-env'
            words+=' --password --method --mac --answer --timeout --tries --grace --wait --parallel'
            words+=' --require-message-authenticator --diagnose --expect --dry-run --json --quiet --verbose'
            words+=' --show-secrets --profile'
            ;;
    esac
    if [[ $command == send ]] && _quarn_radius_send_value "$previous" "$current"; then
        return
    fi
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
    if [[ $current == -* || $command == '' || $command == dictionary || $command == send ]]; then
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
