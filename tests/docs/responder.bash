# shellcheck shell=bash
# For sourcing: a RADIUS server on loopback for the length of a script, and a folder for its files.

scratch=$(mktemp -d)
responder_pid=
clean_up() {
    if [[ -n $responder_pid ]]; then kill "$responder_pid" 2>/dev/null || true; fi
    rm -rf "$scratch"
}
trap clean_up EXIT

# start_responder PROGRAM DICTIONARY USERS: sets $server_address to where it listens.
start_responder() {
    local line=
    exec {responder_output}< <(exec "$@" 2>&1)
    responder_pid=$!
    read -r -t 20 -u "$responder_output" line || true
    if [[ $line != 'listening on '* ]]; then
        echo "the responder did not start: $line" >&2
        exit 1
    fi
    # shellcheck disable=SC2034 # for whoever sources this
    server_address=${line#listening on }
}
