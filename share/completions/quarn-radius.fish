# fish completion for quarn-radius: in a folder of $fish_complete_path.

# Files for the word at the cursor, as fish completes them: folders and dictionaries.
function __quarn_radius_dictionaries
    complete -C "'' "(commandline -ct) | string replace -r '\t.*' '' | string match -r '.*(?:/|\.ya?ml)$'
end

# The names of the profiles of `send`.
function __quarn_radius_profiles
    set -l config $HOME/.config
    set -q XDG_CONFIG_HOME; and set config $XDG_CONFIG_HOME
    for file in $config/quarn-radius/send/*.yaml
        basename $file .yaml
    end
end

set -l commands check list show import
complete -c quarn-radius -f
complete -c quarn-radius -s h -l help -d 'Print a help text'
complete -c quarn-radius -n __fish_use_subcommand -l version -d 'Print the version'
complete -c quarn-radius -n __fish_use_subcommand -a dictionary -d 'Check, search and import dictionaries'
complete -c quarn-radius -n __fish_use_subcommand -a send -d 'Send requests to a server'
set -l command "__fish_seen_subcommand_from dictionary; and not __fish_seen_subcommand_from $commands"
complete -c quarn-radius -n $command -a check -d 'Print every problem of a dictionary'
complete -c quarn-radius -n $command -a list -d 'List the vendors of a dictionary'
complete -c quarn-radius -n $command -a show -d 'Print attributes of a dictionary'
complete -c quarn-radius -n $command -a import -d 'Turn a text dictionary into dictionary files'
complete -c quarn-radius -n "__fish_seen_subcommand_from $commands" -l json -d 'Print a JSON object a line'
complete -c quarn-radius -n '__fish_seen_subcommand_from check' -a '(__quarn_radius_dictionaries)'
complete -c quarn-radius -n '__fish_seen_subcommand_from list show' -s d -x -a '(__quarn_radius_dictionaries)' -d Dictionary
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -F
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -s o -x -a '(__fish_complete_directories)' -d 'Folder to write to'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l vendor -x -d 'Import this vendor only'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l schema -r -F -d 'JSON Schema of the files'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l force -d 'Replace files that no import wrote, too'
set -l send '__fish_seen_subcommand_from send'
complete -c quarn-radius -n $send -s 4 -l ipv4 -d 'Use IPv4 addresses only'
complete -c quarn-radius -n $send -s 6 -l ipv6 -d 'Use IPv6 addresses only'
complete -c quarn-radius -n $send -s f -l file -r -F -d 'Read requests from a file'
complete -c quarn-radius -n $send -s d -l dictionary -x -a '(__quarn_radius_dictionaries)' -d Dictionary
complete -c quarn-radius -n $send -l server -x -a '(__fish_print_hostnames)' -d 'Ask this server'
complete -c quarn-radius -n $send -l source -x -d 'Send from this address'
complete -c quarn-radius -n $send -l interface -x -a '(__fish_print_interfaces)' -d 'Send through this interface'
complete -c quarn-radius -n $send -l code -x -a 'access accounting coa disconnect status' -d 'Code of the request'
complete -c quarn-radius -n $send -l session-id -x -d 'Take up this accounting session'
complete -c quarn-radius -n $send -l secret-file -r -F -d 'Read the shared secret from a file'
complete -c quarn-radius -n $send -l secret-env -x -a '(set -n)' -d 'Take the secret from the environment'
complete -c quarn-radius -n $send -l secret -x -d 'The shared secret'
complete -c quarn-radius -n $send -l username -x -d 'User-Name'
complete -c quarn-radius -n $send -l password-file -r -F -d 'Read the password from a file'
complete -c quarn-radius -n $send -l password-env -x -a '(set -n)' -d 'Take the password from the environment'
complete -c quarn-radius -n $send -l password -x -d 'The password'
complete -c quarn-radius -n $send -l method -x -a 'pap chap mschap mschapv2' -d 'Kind of credential'
complete -c quarn-radius -n $send -l mac -x -d 'MAC authentication'
complete -c quarn-radius -n $send -l answer -x -d 'Answer the next challenge'
complete -c quarn-radius -n $send -l timeout -x -d 'Seconds that each try waits'
complete -c quarn-radius -n $send -l tries -x -d 'How often to send'
complete -c quarn-radius -n $send -l grace -x -d 'Milliseconds after a bad packet'
complete -c quarn-radius -n $send -l parallel -x -d 'Requests under way at once'
complete -c quarn-radius -n $send -l require-message-authenticator -x -a 'yes warn no' -d 'What to do about replies signed with MD5 alone'
complete -c quarn-radius -n $send -l expect -x -a 'accept reject challenge ack nak' -d 'What the reply has to be or to have'
complete -c quarn-radius -n $send -l profile -x -a '(__quarn_radius_profiles)' -d 'Read this profile first'
complete -c quarn-radius -n $send -l bare -d 'Add nothing that a NAS would add'
complete -c quarn-radius -n $send -l wait -d 'Wait for the whole time, as a NAS does'
complete -c quarn-radius -n $send -l diagnose -d 'After silence, look for the cause'
complete -c quarn-radius -n $send -l dry-run -d 'Show the request and send nothing'
complete -c quarn-radius -n $send -l json -d 'Print a JSON object a line'
complete -c quarn-radius -n $send -l quiet -d 'Print the verdict alone'
complete -c quarn-radius -n $send -l verbose -d 'Show the bytes, too'
complete -c quarn-radius -n $send -l show-secrets -d 'Show hidden values in clear'
