#!/bin/sh
# extract-messages.sh ROOT: the template of all messages for people in Host/, on standard output.
cd "$1" || exit
find Host -name '*.cpp' | LC_ALL=C sort |
    xgettext --files-from=- --language=C++ --from-code=UTF-8 --keyword --keyword=message:1 --keyword=message:1,2 \
        --keyword=translatable:1 --flag=message:1:no-c-format --flag=message:2:no-c-format --sort-by-file --add-location=file --no-wrap --package-name=velmorant --output=- |
    sed '/^#, no-c-format$/d'
