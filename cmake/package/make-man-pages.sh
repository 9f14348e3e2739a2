#!/bin/sh
# make-man-pages.sh PROGRAM VERSION FOLDER: velmorant(1) from the program's --help, and a page for each command from
# that command's.
set -eu
program=$1 version=$2 folder=$3
here=$(dirname "$0")
rm -rf "$folder"
mkdir -p "$folder"

page() { # page NAME [VARIABLE=VALUE]: from standard input
    awk -f "$here/man-page.awk" -v name="$1" -v version="$version" -v "${2:-others=}" | cat -s | gzip -9n >"$folder/$1.1.gz"
}

commands=$("$program" --help-all | sed -n '/^Subcommands:/,$s/^\([a-z][a-z-]*\)$/\1/p')
[ -n "$commands" ]
others=
for command in $commands; do
    "$program" "$command" --help | page "velmorant-$command"
    others="$others${others:+, }.BR velmorant\\-$command (1)"
done
"$program" --help | page velmorant "others=$(echo "$others" | sed 's/, /,\\n/g; s/\\-/\\\\-/g')"
