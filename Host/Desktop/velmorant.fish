# Completion for fish.
set -l commands stitch explain cache import items groups show render save delete restore trash ignore unignore \
    combine separate albums export permission capture-note watch status
function __velmorant_ids
    velmorant $argv 2>/dev/null | string split -f 1 ' '
end
complete -c velmorant -n "not __fish_seen_subcommand_from $commands" -a "$commands"
complete -c velmorant -l library -r -d 'the folder of the photo library'
complete -c velmorant -l help -d 'what a command does'
complete -c velmorant -f -n '__fish_seen_subcommand_from show render save ignore separate' -a '(__velmorant_ids groups)'
complete -c velmorant -f -n '__fish_seen_subcommand_from delete combine export' -a '(__velmorant_ids items)'
complete -c velmorant -f -n '__fish_seen_subcommand_from restore' -a '(__velmorant_ids trash)'
complete -c velmorant -f -n '__fish_seen_subcommand_from permission' -a 'grant limit deny ask'
complete -c velmorant -f -n '__fish_seen_subcommand_from trash' -a empty
complete -c velmorant -f -n '__fish_seen_subcommand_from cache' -a clear
