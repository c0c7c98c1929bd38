#!/bin/bash
# The checks of what ships pass a small library that is right, for every processor, and each of them fails on one that is
# wrong in what it looks for; and a failing download or a missing tool gets a line that says what and how to go on.
# Needs what script/build macos, macos-arm64 and linux-arm64 made and installed.
set -eu
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0 failed=0
report() { # report WANTED FOUND CASE
  if [ "$1" = "$2" ]; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $3, with $2, not $1"; fi
}

version=$(sed -n 's/^project(vornik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
llvm=$(dirname "$(readlink -f "$(command -v llvm-strip)")")
flip() { printf '\377' | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
mkdir "$work/whole" # as a folder of libraries, it keeps the symbols
sed 's/libobjc/libextra/' platforms/macos/libobjc.tbd >"$work/libextra.tbd"

# build PROCESSOR FLAGS CODE: a small library with that in it.
build() {
  local strip=true call='puts("");' include='extern "C" int puts(const char*);' flags target
  case $2 in *"$work/whole"*) strip=false ;; esac
  read -ra flags <<<"$2"
  case $1 in [!l]*) include='extern "C" void NSLog(const void*, ...);' call='NSLog(nullptr);' ;; esac
  cat >"$work/source.cpp" <<END
$include
extern "C" [[gnu::visibility("default")]] const char* REALPluginMain() { $call return "@(#)Vornik $version"; }
$3
END
  case $1 in
    linux-*)
      ! $strip || flags+=(-s)
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
      ! $strip || llvm-strip -x "$file"
      [ "$1" != arm64 ] || cp "$file" "$work/arm64.dylib" ;;
  esac
}

# PROCESSOR | CHECKS that fail, all of them | FLAGS | CODE, or behind ! a command that breaks the library
while IFS='|' read -r processor wanted flags code; do
  case $processor in
    linux-*) check=script/check-linux file=$work/Vornik.so ;;
    *) check=script/check-macos file=$work/Vornik.dylib ;;
  esac
  case $code in
    !*) build "$processor" "${flags//WORK/$work}" "" && (cd "$work" && eval "${code#!}") ;;
    *) build "$processor" "${flags//WORK/$work}" "$code" ;;
  esac
  output=$("$check" "$file" 2>&1) && found="passes " || found=
  found+=$(sed -n 's/^FAIL  \(.*[^ ]\)  *expected:.*/\1/p' <<<"$output" | paste -s -d ';')
  report "$wanted" "$found" "$processor, $flags $code: $output"
done <<'TABLE'
x86_64|passes ||
arm64|passes ||
linux-x86_64|passes ||
linux-aarch64|passes ||
x86_64|kind;least version;version;signature||!"$llvm/llvm-lipo" Vornik.dylib -create arm64.dylib -output both && mv both Vornik.dylib
x86_64|least version;exports;name;version;libraries|-mmacosx-version-min=10.14 -Wl,-exported_symbol,_extra -install_name @rpath/Other.dylib WORK/libextra.tbd|extern "C" void extra() {} extern "C" [[gnu::used]] const char also[] = "@(#)Vornik 0.9.9";
x86_64|initialisers;local symbols;paths|-LWORK/whole|int chance(); [[gnu::used]] static const int start = chance(); int chance() { return *new int; } [[gnu::used]] static const char source[] = "assertion in /home/builder/vornik/plugin/plugin_main.cpp";
x86_64|symbols;thread storage||[[gnu::used]] thread_local int calls = 0;
arm64|least version;symbols|-mmacosx-version-min=12.0 -Wl,-undefined,dynamic_lookup|extern "C" int nowhere(); extern "C" [[gnu::used]] int lost() { return nowhere(); }
arm64|signature||!flip Vornik.dylib 5000
arm64|local symbols;signature|-Wl,-no_adhoc_codesign -LWORK/whole|
linux-x86_64|kind;symbols, debugging||!objcopy --add-gnu-debuglink=source.cpp Vornik.so && flip Vornik.so 16
linux-x86_64|exports;version;libraries;folders of those;GLIBC;GLIBCXX;stack;thread storage;paths|-Wl,--no-as-needed -lutil -Wl,-rpath,folder -Wl,-z,execstack|void _ZSt28__throw_bad_array_new_lengthv() asm("_ZSt28__throw_bad_array_new_lengthv"); extern "C" int arc4random(); extern "C" [[gnu::visibility("default")]] int extra() { _ZSt28__throw_bad_array_new_lengthv(); return arc4random(); } [[gnu::used]] thread_local int calls = 0; extern "C" [[gnu::used]] const char also[] = "@(#)Vornik 0.9.9", source[] = "assertion in /home/builder/vornik/plugin/plugin_main.cpp";
linux-aarch64|GLIBC;CXXABI;alignment;symbols, debugging|-Wl,-z,max-page-size=4096 -LWORK/whole|extern "C" void _ZGTtNKSt13bad_exception4whatEv(); extern "C" int arc4random(); [[gnu::used]] int f() { _ZGTtNKSt13bad_exception4whatEv(); return arc4random(); }
TABLE

# What the C++ library of the oldest system lacks is refused by the compiler.
refusal=$(file=$work/Vornik.dylib && build x86_64 "" '#include <filesystem>
extern "C" [[gnu::used]] bool there(const char* name) { return std::filesystem::exists(name); }' 2>&1) && refusal=taken
report "introduced in macOS 10.15" "$(grep -o -m 1 'introduced in macOS 10.15' <<<"$refusal")" "a newer function: ${refusal:0:300}"

# What a command says where one of its tools does this: TOOL | what it does | COMMAND | what is said
while IFS='|' read -r tool does command wanted; do
  rm -rf "$work/bin"
  mkdir "$work/bin"
  path=$work/bin:$PATH
  case $tool in
    no-tools) for each in dirname sed cat tr sh; do ln -s "$(command -v $each)" "$work/bin"; done; path=$work/bin ;;
    apt-get) printf '#!/bin/sh\nexit 1\n' | install -m 755 /dev/stdin "$work/bin/dpkg-query" ;;
  esac
  printf '#!/bin/sh\n%s\n' "$does" | install -m 755 /dev/stdin "$work/bin/$tool"
  # shellcheck disable=SC2086
  PATH=$path TMPDIR=$work $command >"$work/said" 2>&1 && echo "and passes" >>"$work/said"
  report 1 "$(tail -n 1 "$work/said" | grep -c -- "$wanted")" "$command with $tool, $does: $(cat "$work/said")"
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
report "" "$(ls build/npm | grep vornik-none)" "an archive that was not the one is kept"

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
