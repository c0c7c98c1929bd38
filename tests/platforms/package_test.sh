#!/bin/sh
# The package as one who installs it gets it, unpacked in an empty folder: tests/platforms/package_test.sh [twice]
# With twice, a second one made in another folder, which has to be the same: that needs no changes without a commit.
# Needs script/build release.
set -eu
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0
pass() { echo "ok    $*"; passed=$((passed + 1)); }

script/package
version=$(sed -n 's/^project(vornik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
package=dist/vornik-$version.zip
if [ "${1:-}" = twice ]; then
  git clone --quiet . "$work/elsewhere"
  mkdir "$work/elsewhere/build"
  cp -R build/npm "$work/elsewhere/build"
  "$work/elsewhere/script/package" >/dev/null
  cmp "$package" "$work/elsewhere/$package"
  cmp dist/Vornik.xojo_plugin "$work/elsewhere/dist/Vornik.xojo_plugin"
  pass "built and packed in two folders, the same bytes"
fi

unzip -q "$package" -d "$work"
unpacked=$work/vornik-$version
(cd "$unpacked" && sha256sum --check --strict --quiet SHA256SUMS)
[ "$(find "$unpacked" -type f ! -name SHA256SUMS | wc -l)" = "$(wc -l <"$unpacked/SHA256SUMS")" ]
grep -q "^## \[$version\] - " "$unpacked/CHANGELOG.txt"
pass "the checksums are those of all files, and the change log knows version $version"

unzip -q "$unpacked/Vornik.xojo_plugin" -d "$work/plugin"
(cd "$work/plugin" && find . -type f | sed 's|/[^/]*$||' | LC_ALL=C sort -u) >"$work/folders"
diff - "$work/folders" <<'END'
./Vornik/Build Resources/Linux arm64
./Vornik/Build Resources/Linux x86-64
./Vornik/Build Resources/Mac arm64
./Vornik/Build Resources/Mac x86-64
./Vornik/IDE Resources/Help
END
libraries="$work/plugin/Vornik/Build Resources"
cmp "$libraries/Mac x86-64/Vornik.dylib" build/macos/plugin/Vornik.dylib
cmp "$libraries/Mac arm64/Vornik.dylib" build/macos-arm64/plugin/Vornik.dylib
cmp "$libraries/Linux arm64/Vornik.so" build/linux-arm64/plugin/Vornik.so
cmp "$libraries/Linux x86-64/Vornik.so" build/release/plugin/Vornik.so
pass "a library for each system and processor; the tests run $(sha256sum <build/release/plugin/Vornik.so | cut -c 1-64)"

diff -r "$unpacked/pages" "$work/plugin/Vornik/IDE Resources/Help"
[ -f "$unpacked/pages/index.html" ]
for page in "$unpacked"/pages/*.html; do
  grep -q "<title>.*Vornik $version" "$page" || { echo "$page does not say of which version it is" >&2; exit 1; }
done
pass "the help is flat, and every page says its version"

# Nothing that needs the sources, and no page or example that is not there.
mkdir "$work/texts"
for page in "$unpacked"/pages/*.html; do sed 's/<[^>]*>//g' "$page" >"$work/texts/${page##*/}"; done
if grep -nE 'script/|vornik-host|Lua|[a-z]\.md' "$work"/texts/*.html "$unpacked"/*.txt "$unpacked"/examples/*; then exit 1; fi
grep -ohE 'pages/[a-z-]+\.html' "$unpacked"/*.txt | sort -u | while read -r page; do [ -f "$unpacked/$page" ]; done
pass "nothing is for somebody else"

for example in "$unpacked"/examples/*.txt; do
  { echo '```xojo'; cat "$example"; echo '```'; } >"$work/$(basename "$example").md"
done
build/release/host/console/vornik-host tests/documents/check.lua docs/tools "$work"/*.txt.md
pass "the examples are right by what the classes declare"

echo "$passed passed, 0 failed"
