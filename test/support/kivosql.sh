# What the tests of kivosql share. They are started with the program, and with the folder of the throw-away servers'
# scripts.
# shellcheck shell=sh disable=SC1091,SC2034,SC2086  # connections are lists of words; tests use what is set here
set -eu
kivosql=$1
tools=$2
work=$(mktemp -d)
patience=${KIVO_PATIENCE:-1}
checks=0
failures=0

finish() {
  for server in postgres mariadb; do
    [ ! -d "$work/$server" ] || "$tools/$server" stop "$work/$server"
  done
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 1' HUP INT TERM

# Starts a server; HOST, PORT, DATABASE, USER and PASSWORD then say where it is.
start() { # SERVER
  mkdir "$work/$1"
  "$tools/$1" start "$work/$1" $$ >"$work/settings"
  . "$work/settings"
}

chmod 755 "$work"
start postgres
secret=$PASSWORD
postgres_port=$PORT
(umask 077 && echo "$secret" >"$work/password")
place="--url jdbc:postgresql://$HOST:$PORT/$DATABASE --user $USER"
postgres="$place --password-file $work/password"
parts="--type postgresql --host $HOST --port $PORT --user $USER --password-file $work/password"
h2="--url jdbc:h2:$work/h2"
cd "$work"

check() { # NAME EXPECTED FOUND
  checks=$((checks + 1))
  [ "$2" = "$3" ] && return
  printf 'not ok: %s\n--- expected\n%s\n--- found\n%s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}

# The end of each test.
report() {
  echo "$checks checks, $failures not as expected"
  exit "$((failures > 0))"
}

# What a run wrote to standard error, without the Java VM's remark on its environment.
said() { grep -v '^Picked up JAVA_TOOL_OPTIONS' "$1" || true; }

# One row: the exit code, a pattern that the one paragraph of error text matches, and the arguments.
errors() { # CODE PATTERN ARGUMENT...
  wanted=$1
  pattern=$2
  shift 2
  code=0
  "$kivosql" "$@" >out 2>all </dev/null || code=$?
  said all >err
  check "exit code of $*: $(cat err)" "$wanted" "$code"
  grep -qE -- "$pattern" err || check "error text of $*" "$pattern" "$(cat err)"
  check "error texts of $*" 1 "$(grep -c '^kivosql: ' err)"
  ! grep -q "$secret" out err || check "no password in the texts of $*" "" "$(cat out err)"
}

csv() { "$kivosql" "$@" --format csv | tail -n +2; }

# Runs SQL on PostgreSQL without kivosql, which would start a Java VM for it.
sql() { psql -qAtX -v ON_ERROR_STOP=1 -h "$work/postgres" -p "$postgres_port" -U kivo kivo -c "$1"; }

# Waits until a command succeeds; the deadline is for what never will.
await() { # COMMAND...
  for _ in $(seq $((1200 * patience))); do
    "$@" && return
    sleep 0.1
  done
  echo "waited in vain for: $*" >&2
  return 1
}

# Whether this many statements like a pattern are at work in PostgreSQL.
at_work() { # NUMBER PATTERN
  [ "$1" = "$(sql "select count(*) from pg_stat_activity
    where state = 'active' and query similar to '%$2%' and pid <> pg_backend_pid()")" ]
}

# Runs a shell command on a terminal, and types, word by word, once the terminal shows what is awaited. Ctrl-C reaches
# the shell too, and some shells would end with it.
on_terminal() { # AWAITED TYPED COMMAND
  rm -f keys
  mkfifo keys
  : >screen
  {
    await grep -q "$1" screen
    for word in $2; do
      printf '%b' "$word"
      sleep 1
    done
  } >keys &
  script -qefc "trap : INT; $3" screen <keys >/dev/null || true
  wait $! || true
}
