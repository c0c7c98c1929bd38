#!/bin/sh
# What the commands in script/ say when they are asked or misused, and what script/site leaves alone.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
fail() { echo "FAIL  $*" >&2; exit 1; }

# refused TEXT COMMAND...: ends with an error that says so, without an effect here.
refused() {
  wanted=$1
  shift
  if "$@" >out 2>err; then fail "$* is taken"; fi
  grep -qF -- "$wanted" err || fail "$* says: $(cat err)"
  rm out err
}

for command in "$root"/script/*; do
  [ -x "$command" ] || continue
  "$command" --help >help || fail "$command --help"
  grep -q "script/${command##*/}" help || fail "$command --help says: $(cat help)"
  refused "script/${command##*/}: " "$command" --nonsense
done
refused "which preset?" "$root/script/build"
refused "there is no preset nonsense" "$root/script/test" nonsense

# The directory is named from here, and is another one's.
mkdir full
echo kept >full/.file
refused "$work/full is not empty, and not of an earlier run" "$root/script/site" full
refused "full/.file is no directory" "$root/script/site" full/.file
[ "$(cat full/.file)" = kept ] || fail "script/site has changed full"
echo "the scripts answer, and leave alone what is not theirs"
