# What the commands in this folder share; each sources it first. --help prints the comment that a command begins with,
# and wrong prints it behind a complaint, and ends with 2.
usage=$(sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0")
wrong() {
  printf '%s: %s\n\n%s\n' "script/${0##*/}" "$*" "$usage" >&2
  exit 2
}
case ${1:-} in
  -h | --help)
    printf '%s\n' "$usage"
    exit 0 ;;
esac
