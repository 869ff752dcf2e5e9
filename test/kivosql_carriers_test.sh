#!/bin/sh
# kivosql through each of the library's three classes: every command, and how each ends.
#
#   kivosql_carriers_test.sh KIVOSQL TOOLS      the program, and the folder with the scripts of the throw-away servers
# shellcheck disable=SC2016,SC2086  # connections are lists of words
set -eu
# shellcheck source=test/support/kivosql.sh
. "$(dirname "$0")/support/kivosql.sh"

echo "== commands"
sql 'create table seen (id int primary key, note text)'
for carrier in wrapper jdbc bridge; do
  check "tables through $carrier" yes "$(csv $postgres --through $carrier tables | grep -q 'seen' && echo yes)"
  check "columns through $carrier" 2 "$(csv $postgres --through $carrier describe seen | wc -l)"
  check "doctor through $carrier" 1 "$("$kivosql" $postgres --through $carrier doctor | grep -c '✓ connected')"
done

echo "== connections"
errors 3 'for kdb there is no place for the database' --type kdb --host h --port 1 --database d tables
for option in instance database; do
  check "--$option" template1 "$(csv $parts --$option template1 query 'select current_database()')"
done
echo "not-the-$secret" >wrong
chmod 600 wrong
for carrier in wrapper jdbc bridge; do
  errors 3 'password authentication failed' $place --password-file wrong --through $carrier tables
done

echo "== transactions"
cat >own.sql <<'END'
create temp table own (id int);
begin; insert into own values (1); select * from own; savepoint s; rollback to s; select * from own; rollback;
begin; insert into own values (2); commit;
select sum(id) from own;
END
check "a transaction of the script's own" 2 "$(csv $postgres run own.sql | tail -n 1)"
# Reading ends before the rows do, and with it the transaction that they are read in.
sql 'create table kept (id int);
  create function keeps(int) returns int language sql as $$ insert into kept values ($1) returning id $$;
  create function refuses() returns trigger language plpgsql as $$ begin raise $_$refused at the end$_$; end $$;
  create constraint trigger refuses after insert on kept deferrable initially deferred
    for each row when (new.id > 2) execute function refuses()'
for carrier in wrapper jdbc bridge; do
  "$kivosql" $postgres --through $carrier --max-rows 2 query 'select keeps(x) from generate_series(1, 2) x' >out
  { "$kivosql" $postgres --through $carrier --format csv 2>err \
    query "select keeps(x), repeat('text', 2500) from generate_series(1, 256) x" || echo code $? >>err; } | head -n 1 >out
  check "what a query changed, through $carrier" "1 1 2" "$(grep -c 'at the end: .*refused' err) $(grep -c 'code 1' err) $(
    sql 'select count(*) from kept')"
  sql 'delete from kept'
done

echo "== loading"
# The server goes before it has answered to the commit.
sql 'create table frail (id int);
  create function breaks() returns trigger language plpgsql as
    $$ begin perform pg_terminate_backend(pg_backend_pid()); return new; end $$;
  create constraint trigger breaks after insert on frail deferrable initially deferred
    for each row when (new.id > 2) execute function breaks()'
seq 5 >frail.csv
code=0
"$kivosql" $postgres load frail.csv frail --no-header --batch 2 2>err || code=$?
check "a connection that breaks" "1 1 1 2" "$code $(grep -c 'line 3: .*terminating connection' err) $(
  grep -c 'rows 1 to 2 .* are stored, rows 3 to 4 .* may be stored: the connection broke' err) $(said err | wc -l)"

"$kivosql" $postgres load frail.csv frail --no-header --batch 2 --single-transaction 2>err || code=$?
check "a connection that breaks at the commit" "1 1 1" "$code $(grep -c 'at the commit: .*terminating' err) $(
  grep -c 'rows 1 to 5 .* may be stored: the connection broke' err)"

# The server's own reading of CSV is the measure.
sql 'create table typed (id int, truth boolean, day date, at timestamptz, ratio float8,
  amount numeric(9,2), list int[], doc jsonb, fixed char(5), raw bytea, span interval, loose text)'
cat >typed.csv <<'END'
1,t,1999-12-31,2024-02-29 12:00:00+02,1e-300,12345.675,"{1,2}","{""a"": ""ж""}",ab,\x00ff,1 day,' or 1=1
2,,,,,,,,,,,
3,0,infinity,2024-02-29T12:00:00Z,-0.1,-1,{},[],"",,2 mons,""
4,FALSE,0001-01-01,1970-01-01 00:00,NaN,1E2,"{NULL}",1,long,\x41,P1D,\
END
"$kivosql" $postgres load typed.csv typed --no-header >out
csv $postgres query 'select * from typed order by id' >loaded
echo "delete from typed; copy typed from '$work/typed.csv' csv; select * from typed order by id" >copied.sql
check "values of all kinds" "$(csv $postgres run copied.sql)" "$(cat loaded)"
check "rows of all kinds" 4 "$(wc -l <loaded)"

echo "== interrupts"
sql 'create table slow (id int);
  create function sleeps() returns trigger language plpgsql as $$ begin perform pg_sleep(999); return new; end $$;
  create trigger sleeps before insert on slow for each row when (new.id > 1) execute function sleeps()'
seq 2 >slow.csv
yes 'set enable_sort = on;' | head -n 300000 >short.sql
query="query 'select pg_sleep(999)'"
rows="--format csv query 'select pg_sleep(case when n > 999 then 999 else 0 end), n from generate_series(1, 1000) n'"
load="load slow.csv slow --no-header"
run="run short.sql --format csv"
slow='(pg_sleep|insert into slow)'
for command in "wrapper $query" "jdbc $query" "bridge $query" "wrapper $rows" "jdbc $rows" "wrapper $load" \
  "wrapper $run"; do
  on_terminal 'rows/s\|changed' '\003' "'$kivosql' $postgres --through $command >out; echo code=\$?"
  check "Ctrl-C through $command" "1 1" "$(grep -c 'code=130' screen) $(grep -c 'interrupted.$' screen)"
  check "the database knows" yes "$(await at_work 0 "$slow" && echo yes)"
done
# Twice, as shells and service managers send them.
for signal in TERM:143 HUP:129; do
  code=0
  "$kivosql" $postgres $load --batch 1 --single-transaction 2>err &
  await at_work 1 "$slow"
  kill -s "${signal%:*}" $!
  kill -s "${signal%:*}" $!
  wait $! || code=$?
  check "SIG$signal" "${signal#*:} 1 1" "$code $(grep -c 'interrupted$' err) $(grep -c 'no row of slow.csv is stored' err)"
done
# It has said that the rows are stored, and its database closes.
mkfifo reported
"$kivosql" $h2 update 'create table late (id int)' >out
echo 1 >late.csv
"$kivosql" $h2 load late.csv late --no-header >reported &
read -r word <reported
code=0
for _ in $(seq 50); do
  kill -s TERM $! 2>/dev/null || break
  sleep 0.01
done
wait $! || code=$?
check "SIGTERM at the end" "0 1 row stored in late 1" "$code $word $(csv $h2 query 'select count(*) from late')"

report
