#!/bin/sh
# kivosql on terminals, in pipes and with its passwords.
#
#   kivosql_terminal_test.sh KIVOSQL TOOLS      the program, and the folder with the scripts of the throw-away servers
# shellcheck disable=SC2016,SC2086,SC3045  # connections are lists of words
set -eu
# shellcheck source=test/support/kivosql.sh
. "$(dirname "$0")/support/kivosql.sh"

echo "== passwords"
echo "select 'in'; select * from \"$secret\"" | env KIVO_PASSWORD="$secret" "$kivosql" $place run - >out 2>err || true
check "the password from the environment" 1 "$(grep -c '(1 row)' out)"
check "no password in an error of the database's" 1 "$(grep -c 'relation "\*\*\*"' err)"
KIVO_PASSWORD=$secret "$kivosql" $place --through jdbc --verbose query "select * from \"$secret\"" >out 2>err || true
check "nor in its stack trace" "yes 0" "$(grep -q '	at ' err && echo yes) $(grep -c "$secret" err)"
# The VM writes what it has in registers, on stacks and in its log of exceptions to hs_err_pid*.log.
(ulimit -c 0 && exec env KIVO_PASSWORD="$secret" "$kivosql" $place query 'select pg_sleep(999)' >out 2>err) &
await at_work 1 'pg_sleep\(999\)'
check "no password in the process list" "1 0" "$(grep -c kivosql /proc/$!/cmdline) $(
  cat /proc/$!/cmdline /proc/$!/environ | grep -c "$secret")"
kill -SEGV $!
wait $! || true
# Nobody is left to end what the server does for it.
sql "select pg_terminate_backend(pid) from pg_stat_activity where query like '%sleep(999)'" >out
check "no password in the VM's crash file" "1 0" "$(grep -c 'SIGSEGV (' hs_err_pid$!.log) $(grep -c "$secret" hs_err_pid$!.log)"
(umask 077 && printf '%s\r\n' "$secret" >windows)
check "the password from a file with CRLF" 1 "$(csv $place --password-file windows query 'select 1')"

on_terminal 'Password of' "$secret\n" "'$kivosql' $place query 'select 6 * 7 as answer'"
check "the password from a prompt" "1 0" "$(grep -c "│     42 │" screen) $(grep -c "$secret" screen)"

echo "== terminals and pipes"
slow='select count(pg_sleep(3))'
on_terminal '' '' "'$kivosql' $postgres query '$slow' >out"
check "progress on a terminal" yes "$(grep -q 'rows/s' screen && echo yes)"
"$kivosql" $postgres query "$slow" >out 2>err
check "nothing moves without a terminal" "" "$(said err)"
{ "$kivosql" $postgres query 'select x from generate_series(1, 999999) x' --format csv 2>err && echo finished >state; } |
  head -n 1 >out
check "a closed pipe" "x finished " "$(cat out) $(cat state) $(said err)"
rows='select x from system_range(1, 999999)'
for script in "$rows" "$rows; create table later (id int)"; do
  { echo "$script" | "$kivosql" run - --format csv 2>err || echo failed >>err; } | head -n 1 >out
  check "a closed pipe: $script" "$([ "$script" = "$rows" ] || echo failed)" "$(said err)"
done
code=0
"$kivosql" query 'select x from system_range(1, 100000)' --format csv >/dev/full 2>err || code=$?
check "a full disk" "1 1" "$code $(grep -c 'No space left' err)"

echo "== a server that hangs"
server=$(head -n 1 postgres/data/postmaster.pid)
hang="update \"copy (select 1) to program 'kill -STOP $server; sleep 99'\""
for keys in '\003' '\003 \003'; do
  on_terminal 'rows/s' "$keys" "'$kivosql' $postgres $hang; echo code=\$?"
  kill -CONT "$server"
  check "$keys, and the server hangs" "1 $((${#keys} == 4))" "$(grep -c 'code=130' screen) $(grep -c 'had not ended' screen)"
done

report
