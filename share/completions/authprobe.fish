# fish completion for authprobe: in a folder of $fish_complete_path.

set -q __authprobe_default_dictionary
or set -g __authprobe_default_dictionary /opt/quarn/share/quarn/radius/dictionary.yaml

# A dictionary that is not there or cannot be read has no names.
function __authprobe_framed_protocols
    set -l dictionary $__authprobe_default_dictionary
    set -l words (commandline -opc)
    for i in (seq 2 (count $words))
        switch $words[$i]
            case -d
                set -q words[(math $i + 1)]
                and set dictionary $words[(math $i + 1)]
            case '-d*'
                set dictionary (string sub -s 3 -- $words[$i])
        end
    end
    set dictionary (string replace -r '^~/' "$HOME/" -- $dictionary)
    test -f "$dictionary"
    or return
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
    ' $dictionary 2>/dev/null
end

# Files for the word at the cursor, as fish completes them: folders and dictionaries.
function __authprobe_dictionaries
    complete -C "'' "(commandline -ct) | string replace -r '\t.*' '' | string match -r '.*(?:/|\.ya?ml)$'
end

# The operands are a host and a secret, not files.
complete -c authprobe -f
complete -c authprobe -n 'test (count (commandline -opc)) -gt 0' -a '(__fish_print_hostnames)'
complete -c authprobe -s d -x -a '(__authprobe_dictionaries)' -d 'RADIUS dictionary file'
complete -c authprobe -s t -x -a 'pap chap mschap mschapv2' -d 'Authentication type'
complete -c authprobe -l username -x -d User-Name
complete -c authprobe -l password -x -d 'Password for the authentication type'
complete -c authprobe -l nas-port -x -d NAS-Port
complete -c authprobe -l nas-ip-address -x -d NAS-IP-Address
complete -c authprobe -l source-ip -x -d 'Local address to send from'
complete -c authprobe -l framed-protocol -x -a '(__authprobe_framed_protocols)' -d Framed-Protocol
complete -c authprobe -l calling-station-id -x -d Calling-Station-Id
complete -c authprobe -l no-message-auth -d 'Send no Message-Authenticator'
complete -c authprobe -l timeout -x -d 'Seconds to wait for a reply, per attempt'
complete -c authprobe -l retry -x -d 'How often to send'
