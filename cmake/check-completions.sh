#!/bin/sh
# check-completions.sh PROGRAM FOLDER: every command of the program is known to the completions of every shell.
commands=$(LC_ALL=C "$1" --help-all | sed -n '/^Subcommands:/,$s/^\([a-z][a-z-]*\)$/\1/p')
[ -n "$commands" ] || exit 2
status=0
for file in "$2/velmorant.bash" "$2/_velmorant" "$2/velmorant.fish"; do
    for command in $commands; do
        grep -qw -e "$command" "$file" || { echo "$file does not know $command"; status=1; }
    done
done
exit $status
