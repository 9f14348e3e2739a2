#!/bin/bash
# test-install.sh BUILD SOURCE: installs what was built, moves it elsewhere, and builds on it as strangers do.
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export XDG_CACHE_HOME=$work/cache

fail() { echo "install: $1" >&2; exit 1; }
expect() { # expect TEXT COMMAND…
    local text=$1 out
    shift
    out=$("$@" 2>&1) || fail "$* failed: $out"
    [[ $out == *"$text"* ]] || fail "$* says $out, not $text"
}

cmake --install "$build" --prefix "$work/first" >log || { cat log; exit 1; }
mv first prefix
prefix=$work/prefix
library=$(dirname "$(find "$prefix" -name libvelmorant.so)")
include=$prefix/include/velmorant
export PKG_CONFIG_PATH=$library/pkgconfig

# Nothing names the place where it was built or installed first, and no public header includes one that is not there.
! grep -rlE "$work/first|$build|$source" "$library/cmake" "$library/pkgconfig" "$include" || fail "these name a former place"
(cd "$include" && grep -rhoE '#include "[^"]+"' . | cut -d'"' -f2 | sort -u) | while read -r header; do
    [ -e "$include/$header" ] || fail "$header is included, but not installed"
done

# The shared library shows names of public files alone.
nm -DC --defined-only "$library/libvelmorant.so" | cut -d' ' -f3- | grep -vE '^VELMORANT_' >shown
grep -q '^velmorant_run_new@@VELMORANT_0$' shown || fail "the C interface is not there"
! grep -vE '^(velmorant_|((vtable|typeinfo|typeinfo name) for )?(velmorant|orbelquist|platform)::|std::hash<(velmorant|platform)::)' shown ||
    fail "these names are no public ones"
! grep -E '^(.* for )?(platform::(ci|png|jpeg|webp|exif|system)::|platform::(pre|unpre)multiply|orbelquist::(match|read))' shown | grep -v '::~' ||
    fail "these names are internal"

stranger() { # stranger KIND
    cmake -S "$source/Tests/Install/Stranger" -B "$1" -G Ninja -DKIND="$1" -DCMAKE_PREFIX_PATH="$prefix" &&
        cmake --build "$1"
}
embedded() {
    cmake -S "$source/Examples/EmbeddedHost" -B embedded -G Ninja -DCMAKE_PREFIX_PATH="$prefix" && cmake --build embedded
}
by_pkg_config() {
    # shellcheck disable=SC2046
    cc -std=c99 -Wall -Wextra -Werror -pedantic "$source/Tests/Install/Stranger/main.c" $(pkg-config --cflags --libs velmorant) -o pc-shared &&
        c++ -std=c++23 "$source/Tests/Install/Stranger/main.cpp" $(pkg-config --cflags --libs velmorant-static) -o pc-static
}
for job in "stranger shared" "stranger static" embedded by_pkg_config; do
    $job >"log-${job// /-}" 2>&1 || echo "$job" >>failed &
done
wait
[ ! -e failed ] || { cat log-*; fail "not built: $(cat failed)"; }

shots=("$source"/Examples/trip-chat/*.png)
for kind in shared static; do
    expect "Size:Size<Int>(width: 390, height: 844, scale: 1)" $kind/stranger
    expect ": 390 x 2714" $kind/stranger-c "${shots[@]}"
done
! ldd static/stranger | grep -q libvelmorant || fail "the static stranger needs the shared library"
LD_LIBRARY_PATH=$library expect ": 390 x 2714" ./pc-shared "${shots[@]}"
expect "Size:Size<Int>(width: 390, height: 844, scale: 1)" ./pc-static
mkdir out
expect "run-1.png: 5 screenshots, 390 x 2714" embedded/embedded-host "$source/Examples/trip-chat" out

# What the program brings along.
for command in $("$prefix/bin/velmorant" --help-all | sed -n '/^Subcommands:/,$s/^\([a-z][a-z-]*\)$/\1/p'); do
    page=$prefix/share/man/man1/velmorant-$command.1.gz
    for option in $("$prefix/bin/velmorant" "$command" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -o -- '--.*'); do
        zcat "$page" | grep -qF -- "${option//-/\\-}" || fail "velmorant-$command(1) does not know $option"
    done
done
for page in "$prefix"/share/man/man1/*.gz; do
    if command -v man >/dev/null; then
        warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
        [ -z "$warnings" ] || fail "$page: $warnings"
    fi
done
if command -v desktop-file-validate >/dev/null; then
    expect "" desktop-file-validate "$prefix/share/applications/velmorant.desktop"
fi
if command -v systemd-analyze >/dev/null; then
    sed "s|/usr/bin/velmorant|$prefix/bin/velmorant|" "$prefix/lib/systemd/user/velmorant-watch.service" >velmorant-watch.service
    expect "" env XDG_RUNTIME_DIR="$work" systemd-analyze --user verify "$work/velmorant-watch.service"
fi
