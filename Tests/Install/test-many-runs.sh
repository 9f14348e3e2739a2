#!/bin/bash
# test-many-runs.sh PROGRAM SOURCE: of four runs one is killed, one refused and one incomplete; the next call does the killed
# one alone.
set -euo pipefail
program=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
printf 'chat\t%s\nreceipt\t%s\nunrelated\t%s\n' "$source"/Examples/{trip-chat,receipt,unrelated} >runs.tsv
printf 'mixed\t%s\t%s\t%s\n' "$source"/Examples/{trip-chat/*10111[25],unrelated/*201500}.png >>runs.tsv

cat >once-killed <<END
#!/bin/sh
case "\$*" in *receipt*) [ -e killed ] || { touch killed; kill -9 \$\$; } ;; esac
echo >>calls
exec "$program" "\$@"
END
chmod +x once-killed
export VELMORANT=$work/once-killed

runs() { "$source/bin/many-runs" "$@"; }
fails() { ! "$@"; }
fails runs one runs.tsv results 1 2 3 4 2>err
grep -q "receipt: status -9" err
[ "$(runs left runs.tsv results)" = 2 ]
fails runs summary runs.tsv results >summary
grep -q "^missing: receipt$" summary

runs one runs.tsv results 1 2 3 4
[ "$(wc -l <calls)" = 4 ]
runs summary runs.tsv results >summary
diff - <(head -1 summary | cut -d, -f1,2) <<<"4 runs: 3 joined, $((2714 + 1251 + $(grep -o '"height": [0-9]*' "$source/Examples/receipt/truth.json" | cut -d' ' -f2))) rows"
grep -q "^refused: unrelated$" summary
grep -q "^incomplete: mixed$" summary
grep -q "^missing: none$" summary
[ "$(ls results)" = "$(printf '%s\n' chat.json chat.png mixed.json mixed.png receipt.json receipt.png unrelated.json)" ]
