#!/bin/sh
# check-translations.sh ROOT: every catalogue has a translation of every message, with the same holes.
root=$1
work=$(mktemp -d) || exit 2
trap 'rm -rf "$work"' EXIT
"$root/cmake/extract-messages.sh" "$root" >"$work/velmorant.pot" || exit 2
status=0
for catalogue in "$root"/Host/po/*.po; do
    msgfmt --check --output-file=/dev/null "$catalogue" || status=1
    msgcmp "$catalogue" "$work/velmorant.pot" || { echo "$catalogue: bin/update-translations adds what is missing"; status=1; }
    # As many "{}" (or "{1}", "{2}" …) in each translation as in its message; msgexec hands over one message at a time.
    msgattrib --translated --no-obsolete "$catalogue" | msgexec --input=- sh -c '
        holes() { grep -o "{[1-9]*}" | wc -l; }
        [ "$(printf %s "$MSGEXEC_MSGID" | holes)" = "$(cat | holes)" ] ||
            { echo "other holes in the translation of: $MSGEXEC_MSGID"; exit 1; }' || status=1
done
exit $status
