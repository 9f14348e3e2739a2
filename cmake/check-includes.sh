#!/bin/sh
# Floors include only from themselves and from below: Host > Velmorant > Orbelquist > Platform. The bindings stand beside
# the host, the helper Codecs on Platform alone. The one door to the matcher is Velmorant/Alignment. All floors share one
# include root, so linking alone would not catch a step upwards.
cd "${1:?the source folder}" || exit 2

forbidden() { # forbidden FOLDER PATTERN [EXCEPT]
    [ -d "$1" ] || { echo "no folder $1"; exit 2; }
    grep -rnE "#include [\"<]($2)/" "$1" --include='*.hpp' --include='*.cpp' | grep -v "^${3:-^\$}"
}

found=$(
    forbidden Platform 'Orbelquist|Velmorant|Host|Bindings|Codecs'
    forbidden Codecs 'Orbelquist|Velmorant|Host|Bindings'
    forbidden Orbelquist 'Velmorant|Host|Bindings|Codecs'
    forbidden Velmorant 'Host|Bindings|Codecs'
    forbidden Host 'Bindings|Codecs'
    forbidden Bindings 'Host|Codecs'
    forbidden Velmorant 'Orbelquist' 'Velmorant/Alignment/'
)
[ -z "$found" ] && exit 0
echo "These includes step upwards:"
echo "$found"
exit 1
