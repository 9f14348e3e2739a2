#!/bin/sh
# build.sh TARGET: brings build/release up to date; all it says goes to standard error. One at a time: others wait.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd -P)
cd "$root"

cmake/install-packages.sh
mkdir -p build/release
exec 9>build/release/.lock
flock 9

log=build/release/build.log
touch build/release/.begun # sources that change from now on count as newer
quietly() {
    "$@" >"$log" 2>&1 && return
    cat "$log" >&2
    echo "velmorant: the build failed; see above" >&2
    exit 70
}
[ -t 2 ] && echo "velmorant: building …" >&2
[ -f build/release/build.ninja ] || quietly cmake --preset release
quietly cmake --build --preset release --target "$1"
mv build/release/.begun "build/release/.built-$1"
