// How the program says it is called, word for word.
#pragma once

namespace quarn::test {

inline constexpr char usage_text[] =
    R"(Usage: authprobe [OPTIONS] radius-server[:port] secret
        --username <name>        User-Name attribute value. Omitted = not sent.
        --password <pass>        password for the -t auth type. Omitted = no
                                 password credential is sent, and -t is
                                 ignored (for methods that need no password,
                                 such as MAC auth by Calling-Station-Id).
        -d <dictionary>          RADIUS dictionary.yaml file.
                                 Default: /opt/quarn/share/quarn/radius/dictionary.yaml
        -t <type>                authentication type: pap, chap, mschap or
                                 mschapv2. Default: pap. Requires --password;
                                 ignored when none is given.
        --nas-port <number>      NAS-Port attribute value. Omitted = not sent.
        --nas-ip-address <ip>    NAS-IP-Address attribute value.
                                 Default: the source address.
        --source-ip <ip>         source IPv4 to send from (must be a local
                                 address). Default: chosen by the kernel route.
        --framed-protocol <val>  Framed-Protocol attribute, by name (e.g. PPP,
                                 SLIP) or number. Omitted = not sent.
        --calling-station-id <id>
                                 Calling-Station-Id attribute value. Omitted =
                                 not sent.
        --no-message-auth        do not send a Message-Authenticator in the
                                 request (Blast-RADIUS hardened servers may drop
                                 the request).
        --timeout <seconds>      seconds to wait for a reply per attempt.
                                 Default: 5.
        --retry <count>          number of send attempts before giving up.
                                 Default: 3.
)";

}  // namespace quarn::test
