#!/bin/sh
# The DataSources of the compatibility jar: with a driver that takes their URLs, and without one.
#
#   compat_test.sh PROBE CLASS_PATH DRIVER
set -eu

# expect WORD CLASS_PATH TEXT: the text is what JdbcUtils or Java says.
expect() {
  said=$("$probe" "$KIVO_JVM" "$2" "$1" 1 2>&1)
  case $said in
    *"$3"*) echo "ok: $1: $3" ;;
    *)
      printf 'not ok: %s: expected "%s", found\n%s\n' "$1" "$3" "$said"
      exit 1
      ;;
  esac
}

probe=$1
for word in kdb netezza; do expect "$word" "$2:$3" "JdbcUtils: connected"; done
expect kdb "$2" "the driver of kdb+ is not on the class path: none takes jdbc:q:127.0.0.1:1"
expect netezza "$2" "the driver of Netezza is not on the class path: none takes jdbc:netezza://127.0.0.1:1/shop"
expect teradata "$2" "the driver of Teradata is not on the class path: no com.teradata.jdbc.TeraDataSource"
