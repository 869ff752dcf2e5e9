#!/bin/sh
# Runs fuzzers: test/fuzz/run.sh BUILD SECONDS [NAME...]
#
# Each of the names (all that have seeds, without one) runs for SECONDS, as many at a time as there are processors, on
# the seeds and on what earlier runs found worth keeping in BUILD/corpus. Inputs that break something are left in
# BUILD/findings, and the script fails.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
seconds=$2
shift 2
[ $# != 0 ] || set -- "$here"/seeds/*.txt

# A seed a line, with \0NNN (octal) and \n for what a line cannot hold.
write_seeds() {
  number=0
  while IFS= read -r line; do
    number=$((number + 1))
    printf '%b' "$line" >"$2/$number"
  done <"$1"
}

fuzz() {
  name=$1
  mkdir -p "$build/corpus/$name" "$build/seeds/$name" "$build/findings"
  write_seeds "$here/seeds/$name.txt" "$build/seeds/$name"
  log=$build/$name.log
  outcome="no finding"
  "$build/bin/$name" -max_total_time="$seconds" -max_len=1024 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$build/findings/$name-" "$build/corpus/$name" "$build/seeds/$name" >"$log" 2>&1 ||
    outcome="A FINDING, see $log"
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  echo "$name: ${executions:-?} executions in ${seconds} s, $outcome"
  [ "$outcome" = "no finding" ]
}

if [ "${KIVO_ONE_FUZZER:-}" = yes ]; then
  fuzz "$1"
else
  for name in "$@"; do basename "$name" .txt; done |
    KIVO_ONE_FUZZER=yes xargs -P "$(nproc)" -n 1 "$here/run.sh" "$build" "$seconds"
fi
