#!/bin/sh
# The library exports exactly its boundary, and finds its companions where its run path says.
#
#   exports_test.sh LIBRARY
set -eu
here=$(dirname "$0")
failed=0

check() {
  if [ "$2" = "$3" ]; then
    echo "ok: $1"
  else
    printf 'not ok: %s\n--- expected\n%s\n--- found\n%s\n' "$1" "$2" "$3"
    failed=1
  fi
}

exported=$(nm -D --defined-only "$1" | awk '{ print $3 }' | LC_ALL=C sort)
check "exported symbols" "$(cat "$here/exports.txt")" "$exported"

dynamic=$(readelf -d "$1")
needed=$(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -E 'kivo|jvm' || true)
check "companions needed by name, and no Java VM" libkivo_system_lib.so "$needed"
# shellcheck disable=SC2016  # the loader's word, not the shell's
check "where companions are looked for" '$ORIGIN/../lib:$ORIGIN/../../lib' \
  "$(echo "$dynamic" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')"
exit $failed
