#!/bin/bash
# The checks of what ships pass a small library that is right, for every processor, and fail one that is wrong in each of
# the ways that they look for; and a failing download or a missing tool gets a line that says what and how to go on.
# Needs what script/build macos, macos-arm64 and linux-arm64 made and installed.
set -eu
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0 failed=0
report() { # report TRUTH COMPLAINT
  if "$1"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $2"; fi
}

version=$(sed -n 's/^project(vornik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
llvm=$(dirname "$(readlink -f "$(command -v llvm-strip)")")
flip() { printf '\377' | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
mkdir "$work/whole" # as a folder of libraries, it keeps the symbols
sed 's/libobjc/libextra/' platforms/macos/libobjc.tbd >"$work/libextra.tbd"

# build PROCESSOR FLAGS: a small library with the C++ on the standard input.
build() {
  local keep=false call include flags target
  case $2 in *"$work/whole"*) keep=true ;; esac
  read -ra flags <<<"$2"
  case $1 in
    linux-*) include='extern "C" int puts(const char*);' call='puts("");' ;;
    *) include='extern "C" void NSLog(const void*, ...);' call='NSLog(nullptr);' ;;
  esac
  {
    echo "$include"
    echo "extern \"C\" [[gnu::visibility(\"default\")]] const char* REALPluginMain() { $call return \"@(#)Vornik $version\"; }"
    cat
  } >"$work/source.cpp"
  case $1 in
    linux-*)
      $keep || flags+=(-s)
      "${1#linux-}-linux-gnu-g++" -std=c++20 -O1 -fPIC -fvisibility=hidden -shared "$work/source.cpp" \
        -Wl,--no-as-needed -lstdc++ -lgcc_s -Wl,--as-needed "${flags[@]}" -o "$file" ;;
    *)
      target="-stdlib=libc++ --target=$1-apple-macos -isysroot $PWD/build/macos-sysroot-$1"
      case $1 in arm64) target+=" -mmacosx-version-min=11.0" ;; *) target+=" -mmacosx-version-min=10.13" ;; esac
      clang++ $target -std=c++20 -nostdinc++ -isystem "$PWD/build/macos-sysroot-$1/usr/include/c++/v1" -O1 -fPIC \
        -c "$work/source.cpp" -o "$work/object.o" || return
      clang++ $target -fuse-ld=lld --ld-path="$(command -v ld64.lld-16)" -mlinker-version=650 -dynamiclib \
        -Wl,-exported_symbol,_REALPluginMain -install_name @rpath/Vornik.dylib -framework Foundation \
        -framework CoreFoundation -lobjc -lc++ "$work/object.o" "${flags[@]}" -o "$file"
      $keep || llvm-strip -x "$file"
      [ "$1" != arm64 ] || cp "$file" "$work/arm64.dylib" ;;
  esac
}

# PROCESSOR | CHECK that fails, or none | FLAGS | CODE, or behind ! a command that breaks the library
while IFS='|' read -r processor wanted flags code; do
  case $processor in
    linux-*) check=script/check-linux file=$work/Vornik.so ;;
    *) check=script/check-macos file=$work/Vornik.dylib ;;
  esac
  rm -f "$file"
  case $code in
    !*) build "$processor" "${flags//WORK/$work}" </dev/null && (cd "$work" && eval "${code#!}") ;;
    *) build "$processor" "${flags//WORK/$work}" <<<"$code" ;;
  esac
  result=true
  if output=$("$check" "$file" 2>&1); then
    [ -z "$wanted" ] || result=false
  else
    [ -n "$wanted" ] && grep -q "^FAIL  $wanted  *expected:" <<<"$output" || result=false
  fi
  report $result "$processor, ${wanted:-nothing} wrong, $flags $code: $output"
done <<'TABLE'
x86_64|||
arm64|||
linux-x86_64|||
linux-aarch64|||
x86_64|kind||!"$llvm/llvm-lipo" -create Vornik.dylib arm64.dylib -output both && mv both Vornik.dylib
x86_64|least version|-mmacosx-version-min=10.14|
arm64|least version|-mmacosx-version-min=12.0|
x86_64|exports|-Wl,-exported_symbol,_extra|extern "C" void extra() {}
x86_64|name|-install_name /opt/lib/Vornik.dylib|
x86_64|version||extern "C" [[gnu::used]] const char also[] = "@(#)Vornik 0.9.9";
x86_64|libraries|WORK/libextra.tbd|
x86_64|symbols||extern "C" int getppid(); extern "C" [[gnu::used]] int parent() { return getppid(); }
arm64|symbols|-Wl,-undefined,dynamic_lookup|extern "C" int nowhere(); extern "C" [[gnu::used]] int lost() { return nowhere(); }
x86_64|initialisers||extern "C" char* getenv(const char*); [[gnu::used]] static const char* const home = getenv("HOME");
x86_64|thread storage||[[gnu::used]] thread_local int calls = 0;
x86_64|local symbols|-LWORK/whole|[[gnu::used]] static int counter = 1;
x86_64|paths||[[gnu::used]] static const char source[] = "assertion in /home/builder/vornik/plugin/plugin_main.cpp";
arm64|signature||!flip Vornik.dylib 5000
arm64|signature|-Wl,-no_adhoc_codesign -LWORK/whole|
linux-x86_64|kind||!flip Vornik.so 16
linux-x86_64|exports||extern "C" [[gnu::visibility("default")]] void extra() {}
linux-x86_64|version||extern "C" [[gnu::used]] const char also[] = "@(#)Vornik 0.9.9";
linux-x86_64|libraries|-Wl,--no-as-needed -lutil|
linux-x86_64|folders of those|-Wl,-rpath,/opt/lib|
linux-x86_64|GLIBC||extern "C" int arc4random(); extern "C" [[gnu::used]] int chance() { return arc4random(); }
linux-aarch64|GLIBC||extern "C" int arc4random(); extern "C" [[gnu::used]] int chance() { return arc4random(); }
linux-x86_64|GLIBCXX||void _ZSt28__throw_bad_array_new_lengthv() asm("_ZSt28__throw_bad_array_new_lengthv"); [[gnu::used]] void f() { _ZSt28__throw_bad_array_new_lengthv(); }
linux-aarch64|CXXABI||extern "C" void _ZGTtNKSt13bad_exception4whatEv(); [[gnu::used]] void f() { _ZGTtNKSt13bad_exception4whatEv(); }
linux-aarch64|alignment|-Wl,-z,max-page-size=4096|
linux-x86_64|stack|-Wl,-z,execstack|
linux-x86_64|thread storage||[[gnu::used]] thread_local int calls = 0;
linux-x86_64|symbols, debugging||!objcopy --add-gnu-debuglink=source.cpp Vornik.so
linux-aarch64|symbols, debugging|-LWORK/whole|
linux-x86_64|paths||[[gnu::used]] static const char source[] = "assertion in /home/builder/vornik/plugin/plugin_main.cpp";
TABLE

# What the C++ library of the oldest system lacks is refused by the compiler.
file=$work/Vornik.dylib result=true
build x86_64 "" <<'END' 2>"$work/refusal" && result=false
#include <filesystem>
extern "C" [[gnu::used]] bool there(const char* name) { return std::filesystem::exists(name); }
END
grep -q 'introduced in macOS 10.15' "$work/refusal" || result=false
report $result "a newer function is taken: $(head -n 3 "$work/refusal")"

# What a command says where one of its tools does this: TOOL | what it does | COMMAND | what is said
while IFS='|' read -r tool does command wanted; do
  rm -rf "$work/bin"
  mkdir "$work/bin"
  case $tool in
    no-tools) for each in dirname sed cat tr sh; do ln -s "$(command -v $each)" "$work/bin"; done; path=$work/bin ;;
    *) printf '#!/bin/sh\n%s\n' "$does" >"$work/bin/$tool"; chmod +x "$work/bin/$tool"; path=$work/bin:$PATH ;;
  esac
  [ "$tool" != apt-get ] || printf '#!/bin/sh\nexit 1\n' | install -m 755 /dev/stdin "$work/bin/dpkg-query"
  result=true
  # shellcheck disable=SC2086
  PATH=$path TMPDIR=$work $command >"$work/said" 2>&1 && result=false
  [ "$(tail -n 1 "$work/said" | grep -c -- "$wanted")" = 1 ] || result=false
  [ ! -e build/npm/vornik-none-0.0.0.tgz ] || result=false
  report $result "$command with $tool, $does: $(cat "$work/said")"
done <<'TABLE'
npm|echo other >other.tgz|platforms/npm-archive vornik-none@0.0.0 0123 1|fetch it anew
npm|echo "npm ERR! network is down" >&2; exit 1|platforms/npm-archive vornik-none@0.0.0 0123 1|cannot fetch vornik-none@0.0.0: network is down; .*run the same again
apt-get|echo "E: Unable to fetch some archives" >&2; exit 100|script/setup site|script/setup: Unable to fetch some archives; .* run the same again
no-tools||script/check-linux README.md|no readelf; script/setup
no-tools||script/check-macos README.md|no llvm-objdump; .*script/setup macos
no-tools||platforms/npm-archive vornik-none@0.0.0 0123 1|there is no npm; script/setup macos
true||script/check-linux README.md|is not an ELF file
true||script/check-macos README.md|is not a Mach-O file
TABLE

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
