# shellcheck shell=bash
# bash completion for authprobe. The package bash-completion loads this file by the name of the command; without
# that package, source it.

_authprobe_default_dictionary=/opt/quarn/share/quarn/radius/dictionary.yaml

# A dictionary that is not there or cannot be read has no names.
_authprobe_framed_protocols() {
    [[ -f $1 ]] || return
    awk '
    # The names of the values of Framed-Protocol, by awk.
    function content(file, line, text) {
        while ((getline line < file) > 0) {
            sub(/^[ \t]*#.*/, "", line)
            text = text line "\n"
        }
        close(file)
        return text
    }
    # What stands under a key: between its braces, or indented deeper than it.
    function under(text, key, found, depth, i, n, c, indent, lines) {
        if (!match(tolower(text), "(^|[\n{,])[ \t]*[\"\047]?" key "[\"\047]?[ \t]*:")) return ""
        found = substr(text, RSTART, RLENGTH)
        text = substr(text, RSTART + RLENGTH)
        if (match(text, /^[ \t\n]*[{]/)) {
            for (i = RLENGTH; i <= length(text); i++) {
                c = substr(text, i, 1)
                if (c == "{") depth++
                if (c == "}" && --depth == 0) break
            }
            return substr(text, RLENGTH + 1, i - RLENGTH - 1)
        }
        sub(/^[\n{,]/, "", found)
        match(found, /^[ \t]*/)
        indent = RLENGTH
        n = split(text, lines, "\n")
        text = lines[1]
        for (i = 2; i <= n; i++) {
            match(lines[i], /^[ \t]*/)
            if (RLENGTH <= indent && lines[i] ~ /[^ \t]/ && lines[i] !~ /^[ \t]*- /) break
            text = text "\n" lines[i]
        }
        return text
    }
    # Of several definitions the last holds: the own one, else that of the last file included.
    function find(file, text, folder, n, i, items, values) {
        if (seen[file]++) return 0
        text = content(file)
        values = under(under(text, "framed-protocol"), "values")
        if (values != "") {
            n = split(values, items, /[,\n]/)
            for (i = 1; i <= n; i++)
                if (match(items[i], /:[ \t]*["\047]?[0-9]/)) {
                    items[i] = substr(items[i], 1, RSTART - 1)
                    gsub(/^[ \t"\047]+|[ \t"\047]+$/, "", items[i])
                    print items[i]
                }
            return 1
        }
        if (match(file, /.*\//)) folder = substr(file, 1, RLENGTH)
        n = split(under(text, "includes"), items, /[][,\n]/)
        for (i = n; i > 0; i--) {
            sub(/[ \t]#.*/, "", items[i])
            gsub(/^[ \t]*(- +)?["\047]?|["\047]?[ \t]*$/, "", items[i])
            if (items[i] != "" && find(items[i] ~ /^\// ? items[i] : folder items[i])) return 1
        }
        return 0
    }
    BEGIN { find(ARGV[1]) }
    ' "$1" 2>/dev/null
}

_authprobe() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # bash takes "--option=value" apart at the "=".
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()

    case $previous in
        -t)
            mapfile -t COMPREPLY < <(compgen -W 'pap chap mschap mschapv2' -- "$current")
            return
            ;;
        -d)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(
                compgen -d -- "$current"
                compgen -f -X '!*.y*ml' -- "$current"
            )
            return
            ;;
        --framed-protocol)
            local dictionary=$_authprobe_default_dictionary i
            for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do
                case ${COMP_WORDS[i]} in
                    -d) dictionary=${COMP_WORDS[i + 1]} ;;
                    -d?*) dictionary=${COMP_WORDS[i]#-d} ;;
                esac
            done
            dictionary=${dictionary/#\~\//$HOME/}
            # In any case, as authprobe takes them.
            local name
            while IFS= read -r name; do
                if [[ ${name,,} == "${current,,}"* ]]; then COMPREPLY+=("$name"); fi
            done < <(_authprobe_framed_protocols "$dictionary")
            return
            ;;
        --source-ip | --nas-ip-address)
            mapfile -t COMPREPLY < <(compgen -W "$(hostname -I 2>/dev/null)" -- "$current")
            return
            ;;
        --username | --password | --nas-port | --calling-station-id | --timeout | --retry)
            return
            ;;
    esac
    case $current in
        -*)
            mapfile -t COMPREPLY < <(compgen -W '-d -t --username --password --nas-port --nas-ip-address --source-ip
                --framed-protocol --calling-station-id --no-message-auth --timeout --retry' -- "$current")
            ;;
        *)
            mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
            ;;
    esac
}
complete -F _authprobe authprobe
