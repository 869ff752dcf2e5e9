# What the throw-away servers share; sourced by tools/postgres and tools/mariadb, which set server_user.
# shellcheck shell=sh disable=SC2034,SC2154

password=kivo-test-password
# What every deadline is multiplied by; for machines that are slow.
patience=${KIVO_PATIENCE:-1}

fail() {
  echo "$0: $1" >&2
  exit 1
}

# Above the ports that systems commonly hand out to servers; a busy one is tried no further.
random_port() { echo $((20000 + $(od -An -N2 -tu2 /dev/urandom) % 12000)); }

# The servers refuse to run as root.
as_server() {
  if [ "$(id -u)" = 0 ]; then runuser -u "$server_user" -- "$@"; else "$@"; fi
}

# Takes an empty folder over.
prepare() {
  [ -z "$(ls -A "$dir")" ] || fail "$dir is not empty"
  [ "$(id -u)" != 0 ] || chown "$server_user" "$dir"
  as_server test -w "$dir" || fail "the user $server_user cannot get to $dir; choose a TMPDIR that all users may enter"
}

announce() {
  printf 'HOST=127.0.0.1\nPORT=%s\nDATABASE=kivo\nUSER=kivo\nPASSWORD=%s\n' "$1" "$password"
}

# An owner that crashes or is killed cannot stop its server itself.
stop_after() {
  while [ -d "$dir" ] && kill -0 "$1"; do sleep 1; done
  [ ! -d "$dir" ] || stop
}

# Runs the command given by name for the folder given.
main() {
  usage="usage: $0 start DIR [OWNER] | stop DIR"
  [ $# = 2 ] || [ $# = 3 ] || fail "$usage"
  [ -d "$2" ] || fail "there is no folder $2"
  dir=$(cd "$2" && pwd)
  case $1 in
    start)
      start
      # A subshell of its own: a function would keep the caller's output open, which the caller reads to its end.
      if [ $# = 3 ]; then (stop_after "$3") </dev/null >/dev/null 2>&1 & fi
      ;;
    stop) stop ;;
    *) fail "$usage" ;;
  esac
}
