#!/bin/sh
# Floors include only from themselves and from below: Host > Velmorant > Orbelquist > Platform; the helper Codecs stands
# beside them, on Platform alone. The one door to the matcher is Velmorant/Alignment. All floors share one include root,
# so linking alone would not catch a step upwards.
cd "${1:?the source folder}" || exit 2

forbidden() { # forbidden FOLDER PATTERN [EXCEPT]
    [ -d "$1" ] || { echo "no folder $1"; exit 2; }
    grep -rnE "#include [\"<]($2)/" "$1" --include='*.hpp' --include='*.cpp' | grep -v "^${3:-^\$}"
}

found=$(
    forbidden Platform 'Orbelquist|Velmorant|Host|Codecs'
    forbidden Codecs 'Orbelquist|Velmorant|Host'
    forbidden Orbelquist 'Velmorant|Host|Codecs'
    forbidden Velmorant 'Host|Codecs'
    forbidden Velmorant 'Orbelquist' 'Velmorant/Alignment/'
)
[ -z "$found" ] && exit 0
echo "These includes step upwards:"
echo "$found"
exit 1
