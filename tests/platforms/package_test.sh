#!/bin/sh
# The package as one who installs it gets it, unpacked in an empty folder; and a second package, made in another folder,
# which has to be the same. Needs script/build release, and no changes that no commit has.
set -eu
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0
pass() { echo "ok    $*"; passed=$((passed + 1)); }

package=$(script/package)
git clone --quiet . "$work/elsewhere"
mkdir "$work/elsewhere/build"
cp -R build/npm "$work/elsewhere/build"
cmp "$package" "$work/elsewhere/$("$work/elsewhere/script/package")"
pass "built and packed in two folders, the same bytes"

mkdir "$work/empty"
unzip -q "$package" -d "$work/empty"
unpacked=$work/empty/$(basename "$package" .zip)
(cd "$unpacked" && sha256sum --check --strict --quiet SHA256SUMS)
[ "$(cd "$unpacked" && find . -type f ! -name SHA256SUMS | wc -l)" = "$(wc -l <"$unpacked/SHA256SUMS")" ]
pass "the checksums are those of all files"

for file in INSTALL.md CHANGELOG.md docs/reference/README.md; do [ -s "$unpacked/$file" ]; done
version=$(basename "$package" | cut -d - -f 2)
grep -q "^## \[$version\] - " "$unpacked/CHANGELOG.md"
pass "the documents are there, and the change log knows version $version"

script/check-macos "$unpacked/Vornik.dylib"
pass "the library passes its checks"

linux=build/release/plugin/Vornik.so
what() { strings -a "$1" | grep -F '@(#)' | sort -u; }
[ "$(what "$linux")" = "$(what "$unpacked/Vornik.dylib")" ]
build/release/host/console/vornik-host --plugin "$linux" examples/tour.lua >"$work/tour"
cmp "$work/tour" tests/host/tour_expected.txt
pass "the library for Linux from the same sources is of the same version, and runs the tour"

echo "$passed passed, 0 failed"
