#!/bin/sh
# script/check-macos passes a small library that is right, and fails one that is wrong in each of the ways that it
# looks for. Needs what script/build macos made.
set -eu
cd "$(dirname "$0")/../.."
sysroot=$PWD/build/macos-sysroot
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

version=$(sed -n 's/^project(vornik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
cat >"$work/right.cpp" <<END
extern "C" void NSLog(const void*, ...);
extern "C" const char* REALPluginMain() {
  NSLog(nullptr);
  return "@(#)Vornik $version";
}
END

# build NAME [FLAGS...]: a library of right.cpp and the C++ on the standard input, without local symbols.
linker="-fuse-ld=lld --ld-path=$(command -v ld64.lld-16) -mlinker-version=650"
target="-stdlib=libc++ --target=x86_64-apple-macos -mmacosx-version-min=10.13 -isysroot $sysroot"
build() {
  library=$work/$1
  shift
  { cat "$work/right.cpp"; cat; } >"$work/source.cpp"
  clang++ $target -std=c++20 -nostdinc++ -isystem "$sysroot/usr/include/c++/v1" -O1 -fPIC -c "$work/source.cpp" -o "$work/object.o"
  clang++ $target $linker -dynamiclib -Wl,-exported_symbol,_REALPluginMain \
    -install_name @rpath/Vornik.dylib -framework Foundation -framework CoreFoundation -lobjc -lc++ \
    "$work/object.o" "$@" -o "$library"
  [ "$library" = "$work/unstripped" ] || llvm-strip -x "$library"
}

passed=0
failed=0
report() { # report TRUTH COMPLAINT
  if "$1"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $2"; fi
}

# expect_failure CHECK LIBRARY
expect_failure() {
  result=true
  output=$(script/check-macos "$work/$2" 2>&1) && result=false
  echo "$output" | grep -q "^FAIL  $1  *expected:" || result=false
  report $result "$2: $output"
}

build right </dev/null
result=true
output=$(script/check-macos "$work/right") || result=false
report $result "right: $output"

result=true
script/check-macos README.md 2>/dev/null && result=false
report $result "a text: passes"

clang++ --target=arm64-apple-macos11 -stdlib=libc++ -O1 -c "$work/right.cpp" -o "$work/object.o"
clang++ --target=arm64-apple-macos11 $linker -dynamiclib -nostdlib -Wl,-undefined,dynamic_lookup "$work/object.o" \
  -isysroot "$sysroot" -lSystem -o "$work/other-processor"
expect_failure kind other-processor
"$(dirname "$(readlink -f "$(command -v llvm-strip)")")/llvm-lipo" -create "$work/right" "$work/other-processor" -output "$work/universal"
expect_failure kind universal

build newer-system -mmacosx-version-min=10.14 </dev/null
expect_failure "least version" newer-system

build extra-export -Wl,-exported_symbol,_extra <<'END'
extern "C" void extra() {}
END
expect_failure exports extra-export

build placed -install_name /opt/lib/Vornik.dylib </dev/null
expect_failure name placed

build unversioned <<'END'
extern "C" [[gnu::used]] const char also[] = "@(#)Vornik 0.9.9";
END
expect_failure version unversioned

sed 's/libobjc/libextra/' platforms/macos/libobjc.tbd >"$work/libextra.tbd"
build extra-library "$work/libextra.tbd" </dev/null
expect_failure libraries extra-library

build new-symbol <<'END'
extern "C" int getppid();
extern "C" [[gnu::used]] int parent() { return getppid(); }
END
expect_failure symbols new-symbol

build symbol-of-no-library -Wl,-undefined,dynamic_lookup <<'END'
extern "C" int nowhere();
extern "C" [[gnu::used]] int lost() { return nowhere(); }
END
expect_failure symbols symbol-of-no-library

build initialiser <<'END'
extern "C" char* getenv(const char*);
[[gnu::used]] static const char* const home = getenv("HOME");
END
expect_failure initialisers initialiser

build thread-storage <<'END'
[[gnu::used]] thread_local int calls = 0;
END
expect_failure "thread storage" thread-storage

build unstripped <<'END'
[[gnu::used]] static int counter = 1;
END
expect_failure "local symbols" unstripped

build with-path <<'END'
[[gnu::used]] static const char source[] = "assertion in /home/builder/vornik/plugin/plugin_main.cpp";
END
expect_failure paths with-path

# What the C++ library of the oldest system lacks is refused by the compiler.
result=true
build filesystem <<'END' 2>"$work/refusal" && result=false
#include <filesystem>
extern "C" [[gnu::used]] bool there(const char* name) { return std::filesystem::exists(name); }
END
grep -q 'introduced in macOS 10.15' "$work/refusal" || result=false
report $result "a newer function is taken: $(head -n 3 "$work/refusal")"

# An archive that is not the chosen one is not kept.
mkdir "$work/bin"
printf '#!/bin/sh\necho other >other.tgz\n' >"$work/bin/npm"
chmod +x "$work/bin/npm"
result=true
PATH=$work/bin:$PATH platforms/npm-archive vornik-no-such-package@0.0.0 0123 2>"$work/refusal" && result=false
grep -q 'its SHA-512 differs' "$work/refusal" || result=false
[ ! -e build/npm/vornik-no-such-package-0.0.0.tgz ] || result=false
report $result "a wrong archive is taken: $(cat "$work/refusal")"

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
