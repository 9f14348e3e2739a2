#!/bin/sh
# check-examples.sh PROGRAM ROOT: runs each line of README.md and docs/*.md that calls velmorant, within a code block, as a
# reader would: from the project's folder, page by page, in the order in which they stand. A comment at the line's end says
# "status N" where N is not 0, and "until Ctrl-C" where the command would not end by itself.
program=$1 root=$2
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
export LC_ALL=C HOME="$work/home" PATH="$work/path:$PATH"
unset XDG_DATA_HOME XDG_CACHE_HOME XDG_CONFIG_HOME XDG_STATE_HOME NO_COLOR
mkdir "$work/path"
ln -s "$program" "$work/path/velmorant"

count=0 failed=0
for page in "$root"/README.md "$root"/docs/*.md; do
    grep -q '^    .*velmorant ' "$page" || continue
    rm -rf "$HOME" "$work/project"
    mkdir -p "$HOME/Pictures/Screenshots" "$work/project/bin"
    cp "$root"/Examples/trip-chat/*.png "$HOME/Pictures/Screenshots"
    cp -R "$root/Examples" "$work/project/Examples"
    ln -s "$program" "$work/project/bin/velmorant"
    sed -n -e ':join' -e '/^    .*\\$/{N;s/\\\n *//;bjoin' -e '}' -e 's/^    \(\(.* \)\{0,1\}\(bin\/\)\{0,1\}velmorant .*\)$/\1/p' "$page" >"$work/lines"
    while IFS= read -r line; do
        wanted=0 limit=60
        case $line in
        *'# '*"until Ctrl-C"*) wanted=130 limit=2 ;;
        *'# '*"status "[0-9]*) wanted=${line##*status } wanted=${wanted%%[!0-9]*} ;;
        esac
        (cd "$work/project" && timeout -s INT "$limit" sh -c "$line") </dev/null >"$work/told" 2>&1
        status=$?
        [ "$wanted" = 130 ] && [ "$status" = 124 ] && status=130 # timeout's own word for it
        count=$((count + 1))
        [ "$status" = "$wanted" ] && continue
        failed=$((failed + 1))
        echo "${page##*/}: $line"
        echo "  ended with status $status instead of $wanted"
        sed 's/^/  /' "$work/told"
    done <"$work/lines"
done
echo "$count examples, $failed failed"
[ "$count" -gt 0 ] && [ "$failed" = 0 ]
