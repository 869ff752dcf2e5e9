#!/bin/sh
# Loading files, and running scripts as one transaction, on H2, PostgreSQL, MariaDB and SQLite.
#
#   kivosql_load_test.sh KIVOSQL TOOLS      the program, and the folder with the scripts of the throw-away servers
# shellcheck disable=SC2016,SC2086  # connections are lists of words
set -eu
# shellcheck source=test/support/kivosql.sh
. "$(dirname "$0")/support/kivosql.sh"

start mariadb
mariadb="--url jdbc:mariadb://$HOST:$PORT/$DATABASE --user $USER --password-file $work/password"

echo "== loading"
sql 'create table big (id int primary key, name text, amount numeric(12,3), raw bytea)'
"$kivosql" $h2 run - >out <<'END'
create table big (id int primary key, name varchar(99), amount numeric(12,3), raw varbinary(99));
create table gaps (name varchar(9));
create table notes (id int, note json, span interval day)
END
csv $postgres query "select x, case x % 7 when 0 then null when 1 then '' else 'it''s \\ \"' || x || '\" ж🎉' || chr(10) end,
  x * 1.125, decode(md5(x::text), 'hex') from generate_series(1, 100000) x" >rows
{ echo id,name,amount,raw && cat rows; } >big.csv
# PostgreSQL takes rows in statements of 128, and here one of each batch is left over.
for server in "$postgres" "$h2"; do
  check "load" "100,000 rows stored in big" "$("$kivosql" $server load big.csv big --batch 12801)"
  check "counts" "100000,5000050000,5625056250.000" "$(csv $server query 'select count(*), sum(id), sum(amount) from big')"
  check "checksums" "$(md5sum <rows)" "$(csv $server query 'select * from big order by id' | md5sum)"
done
{ echo ID && seq 2499 && echo 1 && seq 2501 4000; } >clash.csv
for server in "$postgres" "$mariadb" "$h2" "--url jdbc:sqlite:clash.db"; do
  "$kivosql" $server update 'create table clash (id int not null primary key)' >out
  code=0
  "$kivosql" $server load clash.csv clash --batch 1000 2>err || code=$?
  check "a load that fails: $(cat err)" "1 1 1" "$code $(grep -c 'clash.csv, row 2,500, line 2501: ' err) $(
    grep -c 'only rows 1 to 2,000 of clash.csv are stored' err)"
  check "what it stored" 2000 "$(echo 'select count(*) from clash; drop table clash' | csv $server run - 2>err)"
done
"$kivosql" $mariadb update 'create table lasting (id int primary key) engine = myisam' >out
"$kivosql" $mariadb load clash.csv lasting --batch 1000 2>err || code=$?
check "a table without transactions: $(cat err)" 1 "$(
  grep -c 'rows 1 to 2,000 .* are stored, rows 2,001 to 3,000 .* may be stored: the table has no transactions' err)"

{ echo ID && seq 2499; } >unlike.csv
echo 'insert into whole values (1); select * from whole; insert into whole values (1)' >again.sql
echo 'delete from whole; insert into whole values (7)' >once.sql
for server in "$postgres" "$mariadb" "$h2"; do
  "$kivosql" $server update 'create table whole (id int not null primary key)' >out
  for command in 'load clash.csv whole --batch 1000' 'run again.sql'; do
    code=0
    "$kivosql" $server $command --single-transaction >out 2>err || code=$?
    check "nothing after $command: $(cat err)" "1 1 0" "$code $(grep -c '^kivosql: no.* of .* is stored$' err) $(
      csv $server query 'select count(*) from whole')"
  done
  check "all of a file" "2,499 rows stored in whole" \
    "$("$kivosql" $server load unlike.csv whole --batch 1000 --single-transaction)"
  "$kivosql" $server run once.sql --single-transaction >out
  check "all of a script" 7 "$(csv $server query 'select * from whole')"
done
# What the database cannot undo, and what it cannot even try.
echo 'create table whole_more (id int); insert into whole values (7)' >commits.sql
echo 'delete from lasting; selec' >lasts.sql
for row in 'run commits.sql:some of .* may be stored: .*ended the transaction early' \
  'run lasts.sql:some of .* may be stored: .*tables without transactions' \
  'load clash.csv lasting:no row of .* is stored'; do
  code=0
  "$kivosql" $mariadb ${row%%:*} --single-transaction >out 2>err || code=$?
  check "${row%%:*}: $(cat err)" "1 1" "$code $(grep -c "${row#*:}" err)"
done
printf 'id,name\n\n""\n' >quoted.csv
check "a quoted nothing is a value" 1 "$("$kivosql" $h2 load quoted.csv big 2>&1 | grep -c 'line 3 has 1 value for 2 columns')"
printf 'NA\n"NA"\n""\n' >gaps.csv
"$kivosql" $h2 load gaps.csv gaps --no-header --null NA >out
check "a quoted text is never NULL" "$(cat gaps.csv)" "$(csv $h2 query 'select * from gaps' --null NA)"

# H2 acknowledges a commit before it is written, and the file may not grow further.
full="--url jdbc:h2:$work/full"
"$kivosql" $full update "create table big (id int primary key, t varchar(999) default repeat('text', 50))" >out
{ echo id && seq 20000; } >ids.csv
code=0
(ulimit -f 3000 && exec "$kivosql" $full load ids.csv big --batch 100 2>err) || code=$?
reported=$(sed -n 's/.* rows 1 to \([0-9,]*\) of ids.csv are stored, .* may be stored: they may not be on disk$/\1/p' err)
found=$(csv $full query 'select count(*) from big')
reported=$(echo "$reported" | tr -d ,)
check "a full disk under H2: $found rows, and $(cat err)" "1 yes" "$code $(
  [ "$found" -ge "$reported" ] && [ "$found" -le $((reported + 100)) ] && echo yes)"

sql 'create table spans (span interval day, price money)'
echo 5,12.5 | "$kivosql" $postgres load - spans --no-header >out
check "values that parameters would change" '5 days,$12.50' "$(csv $postgres query 'select * from spans')"

printf '%s\n' '1,"{""a"":""it'\''s ж""}",1' 2,, >notes.csv
"$kivosql" $h2 load notes.csv notes --no-header >out
check "JSON stays JSON" "$(sed "s/,1\$/,INTERVAL '1' DAY/" notes.csv)" "$(csv $h2 query 'select * from notes order by id')"

echo "== values that would like to be SQL"
cat >evil.csv <<'END'
id,name
1,"\'); drop table v; -- "
2,"\"
3,"'); drop table v; -- "
END
for server in "$postgres" "$h2" "$mariadb"; do
  "$kivosql" $server update 'create table v (id int primary key, name varchar(99))' >out
  "$kivosql" $server load evil.csv v >out
  check "stored as they are" "$(tail -n +2 evil.csv | tr -d '"')" "$(
    echo 'select * from v order by id; drop table v' | csv $server run - 2>err)"
done

echo "== memory"
"$kivosql" $postgres --heap-mb 64 query "select x, repeat('text', 25) from generate_series(1, 1000000) x" --format csv >out &
peak=0
while size=$(sed -n 's/^VmHWM:[^0-9]*\([0-9]*\) kB/\1/p' "/proc/$!/status" 2>/dev/null) && [ -n "$size" ]; do
  peak=$size
  sleep 0.1
done
wait $!
check "rows" 1000001 "$(wc -l <out)"
check "a million rows in constant memory, at most 150 MB" yes "$([ "$peak" -lt 150000 ] && echo yes || echo "$peak kB")"

report
