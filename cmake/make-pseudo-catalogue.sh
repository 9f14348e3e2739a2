#!/bin/sh
# make-pseudo-catalogue.sh ROOT CATALOGUE.mo: a language in which every message is itself in brackets ⟦like this⟧, so that
# whatever is shown without brackets did not pass through `message`.
set -e
mkdir -p "$(dirname "$2")"
template=$(mktemp)
trap 'rm -f "$template"' EXIT
"$1/cmake/extract-messages.sh" "$1" >"$template"
sed -i 's/charset=CHARSET/charset=UTF-8/; s/nplurals=INTEGER; plural=EXPRESSION/nplurals=2; plural=n != 1/' "$template"
msgen --no-wrap "$template" | awk '
    function finish() { if (text == "") return
        if (entries++ > 0) { sub(/"/, "\"⟦", text); if (!sub(/\\n"$/, "⟧\\n\"", text)) sub(/"$/, "⟧\"", text) } # the first entry is the header
        print text; text = "" }
    /^msgstr/ { finish(); text = $0; next }
    /^"/ && text != "" { text = text "\n" $0; next }
    { finish(); print }
    END { finish() }' | msgfmt --output-file="$2" -
