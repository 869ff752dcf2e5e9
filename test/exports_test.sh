#!/bin/sh
# The libraries export exactly their boundaries, and find their companions where their run paths say.
#
#   exports_test.sh LIBRARY ADBC_DRIVER
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

# check_library LIBRARY SYMBOLS COMPANIONS RUN_PATH
check_library() {
  name=$(basename "$1")
  check "$name: exported symbols" "$2" "$(nm -D --defined-only "$1" | awk '{ print $3 }' | LC_ALL=C sort)"
  dynamic=$(readelf -d "$1")
  needed=$(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -E 'kivo|jvm' || true)
  check "$name: companions needed by name, and no Java VM" "$3" "$needed"
  check "$name: where companions are looked for" "$4" "$(echo "$dynamic" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')"
}

# shellcheck disable=SC2016  # the loader's word, not the shell's
check_library "$1" "$(cat "$here/exports.txt")" libkivo_system_lib.so '$ORIGIN/../lib:$ORIGIN/../../lib'
check_library "$2" "AdbcDriverInit
AdbcDriverJdbcInit" "" ""
exit $failed
