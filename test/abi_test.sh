#!/bin/sh
# The layouts and signatures of the boundary are those of the baseline, which programs were compiled with.
#
#   abi_test.sh LIBRARY            with debugging information, compiled by g++
#   abi_test.sh LIBRARY update     makes the present boundary the baseline
set -eu
here=$(dirname "$0")
baseline=$here/abi/kivo_java_native_lib.abi
set -- "$1" "${2:-compare}" --suppressions "$here/abi/suppressions.ini" --drop-private-types
library=$1
action=$2
shift 2

if [ "$action" = update ]; then
  abidw "$@" --headers-dir "$here/../include" --exported-interfaces-only --no-corpus-path \
    --no-comp-dir-path --no-parameter-names "$library" >"$baseline"
  exit
fi
# What was added leaves programs as they are; the list of exported symbols has it.
abidiff "$@" --headers-dir2 "$here/../include" --no-added-syms "$baseline" "$library"
echo "ok: the boundary is that of $baseline"
