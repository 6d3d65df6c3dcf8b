# shellcheck shell=bash
# For sourcing: what the tests of installation and packages share.

# A folder for the test's files, removed when it ends, with everything that it mounted long gone by then.
scratch=$(mktemp -d)
responder_pid=
clean_up() {
    if [[ -n $responder_pid ]]; then kill "$responder_pid" 2>/dev/null || true; fi
    rm -rf --one-file-system "$scratch"
}
trap clean_up EXIT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# run COMMAND...: it has to succeed; what it printed is in $scratch/log.
run() {
    "$@" >"$scratch/log" 2>&1 || fail "$*: $(<"$scratch/log")"
}

# expect EXPECTED ACTUAL WHAT
expect() {
    [[ $2 == "$1" ]] || fail "$3: expected"$'\n'"$1"$'\n'"and got"$'\n'"$2"
}

# start_responder PROGRAM DICTIONARY USERS: sets $server_address to where it listens.
start_responder() {
    local line=
    exec {responder_output}< <(exec "$@" 2>&1)
    responder_pid=$!
    read -r -t 20 -u "$responder_output" line || true
    [[ $line == 'listening on '* ]] || fail "the responder did not start: $line"
    # shellcheck disable=SC2034 # for whoever sources this
    server_address=${line#listening on }
}

# md5_of HEX: the digest of the bytes, in hexadecimal.
md5_of() {
    # shellcheck disable=SC2001 # two characters at a time
    printf '%b' "$(sed 's/../\\x&/g' <<<"$1")" | md5sum | cut -d ' ' -f 1
}

# check_accounting_request COMMAND...: the example, built, makes the datagram that the RFC asks for.
check_accounting_request() {
    # Code 4, Identifier 1, User-Name "bob", Acct-Status-Type Start, Acct-Session-Id "0001", NAS-IP-Address; the
    # Authenticator covers the packet with a zero one, and the secret "testing123" (RFC 2866, section 3).
    local header=0401002b attributes=0105626f622806000000012c06303030310406c0000201 authenticator
    authenticator=$(md5_of "$header$(printf '00%.0s' {1..16})${attributes}74657374696e67313233")
    expect "$header$authenticator$attributes" "$("$@" bob 0001 testing123)" "accounting_request"
}

# write_client_program TREE FOLDER: puts the program of libquarn-radius-client(3) into the folder, and how CMake builds it.
write_client_program() {
    mkdir -p "$2"
    "$1/tests/man/literal_block" "$1/docs/man/libquarn-radius-client.3" '// ask.cc' >"$2/ask.cc"
    cat >"$2/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(ask LANGUAGES CXX)
find_package(quarn-radius 2.0 REQUIRED COMPONENTS client)
add_executable(ask ask.cc)
target_link_libraries(ask PRIVATE quarn::radius_client)
END
}

# check_decode_reply COMMAND...: the example, built, reads a reply and tells whether it is authentic.
check_decode_reply() {
    # The Access-Accept of RFC 2865, section 7.1.
    local reply=0200002686fe220e7624ba2a1005f6bf9b55e0b20606000000010f06000000000e06c0a80103
    local request_authenticator=0f403f9473978057bd83d5cb98f4227a listing status=0 output
    listing='code 2, identifier 0
    Service-Type = Login-User
    Login-Service = Telnet
    Login-IP-Host = 192.168.1.3'
    expect "$listing"$'\nauthentic' "$("$@" $reply $request_authenticator xyzzy5461)" "decode_reply"

    output=$("$@" $reply $request_authenticator another) || status=$?
    expect 1 "$status" "exit status of decode_reply for a reply with another secret"
    expect "$listing"$'\nnot authentic: RadiusPacket: invalid Response Authenticator' "$output" \
        "decode_reply for a reply with another secret"
}
