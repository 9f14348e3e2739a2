#!/bin/sh
# install-packages.sh [PACKAGE…]: installs those of packages.txt, and the ones named, that this machine lacks; says so on
# standard error only.
set -eu
packages="$(grep -v '^#' "$(dirname "$0")/packages.txt") $*"

missing=
for package in $packages; do
    [ -f "/var/lib/dpkg/info/$package.list" ] || ls "/var/lib/dpkg/info/$package":*.list >/dev/null 2>&1 ||
        missing="$missing $package"
done
[ -n "$missing" ] || exit 0

refuse() {
    echo "velmorant: $1; install these packages first:$missing" >&2
    exit 69
}
command -v apt-get >/dev/null || refuse "this is no Debian system"
as_root=
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || refuse "neither root nor sudo is to be had"
    as_root=sudo
fi

echo "velmorant: installing$missing" >&2
install() {
    # shellcheck disable=SC2086 # words on purpose
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing >&2
}
$as_root apt-get update -q >&2 && install || refuse "the packages could not be installed"
