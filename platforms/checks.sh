# What the checks of the libraries that ship share: each sets root and file, and sources it.
version=$(sed -n 's/^project(vornik VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
failures=0

# check NAME EXPECTED FOUND: equal texts, of any number of lines.
check() {
  if [ "$2" = "$3" ]; then
    printf 'ok    %-18s %s\n' "$1" "$(echo "$3" | paste -s -d ' ')"
  else
    failures=$((failures + 1))
    printf 'FAIL  %-18s expected: %s\n%-25sfound: %s\n' "$1" "$(echo "${2:-none}" | paste -s -d ' ')" "" \
      "$(echo "${3:-none}" | paste -s -d ' ')"
  fi
}

# Whatever looks like a path in a list of texts.
paths_among() { grep -oE '(/[[:alnum:]._+-]{2,}){2,}' | sort -u | head -n 5; }

conclude() {
  [ "$failures" = 0 ] || { echo "script/${0##*/}: $file fails $failures checks" >&2; exit 1; }
}
