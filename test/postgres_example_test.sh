#!/bin/sh
# The PostgreSQL example as its readers run it.
#
#   postgres_example_test.sh EXAMPLE TOOLS      the program, and the folder with the script of the throw-away server
set -eu
work=$(mktemp -d)
trap '"$2/postgres" stop "$work/postgres"; rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM
chmod 755 "$work"
mkdir "$work/postgres"
"$2/postgres" start "$work/postgres" $$ >"$work/settings"
# shellcheck disable=SC1091  # written just now
. "$work/settings"
PGPASSWORD=$PASSWORD "$1" "$HOST" "$PORT" "$DATABASE" "$USER" | tee "$work/out"
grep -q Saturn "$work/out"
