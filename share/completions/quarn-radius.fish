# fish completion for quarn-radius: in a folder of $fish_complete_path.

# Files for the word at the cursor, as fish completes them: folders and dictionaries.
function __quarn_radius_dictionaries
    complete -C "'' "(commandline -ct) | string replace -r '\t.*' '' | string match -r '.*(?:/|\.ya?ml)$'
end

set -l commands check show import
complete -c quarn-radius -f
complete -c quarn-radius -s h -l help -d 'Print a help text'
complete -c quarn-radius -n __fish_use_subcommand -l version -d 'Print the version'
complete -c quarn-radius -n __fish_use_subcommand -a dictionary -d 'Check, search and import dictionaries'
set -l command "__fish_seen_subcommand_from dictionary; and not __fish_seen_subcommand_from $commands"
complete -c quarn-radius -n $command -a check -d 'Print every problem of a dictionary'
complete -c quarn-radius -n $command -a show -d 'Print attributes of a dictionary'
complete -c quarn-radius -n $command -a import -d 'Turn a text dictionary into dictionary files'
complete -c quarn-radius -n "__fish_seen_subcommand_from $commands" -l json -d 'Print a JSON object a line'
complete -c quarn-radius -n '__fish_seen_subcommand_from check' -a '(__quarn_radius_dictionaries)'
complete -c quarn-radius -n '__fish_seen_subcommand_from show' -s d -x -a '(__quarn_radius_dictionaries)' -d Dictionary
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -F
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -s o -x -a '(__fish_complete_directories)' -d 'Folder to write to'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l vendor -x -d 'Import this vendor only'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l schema -r -F -d 'JSON Schema of the files'
complete -c quarn-radius -n '__fish_seen_subcommand_from import' -l force -d 'Replace files that no import wrote, too'
