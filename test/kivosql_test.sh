#!/bin/sh
# kivosql as its users run it: what it says, and what it makes of scripts.
#
#   kivosql_test.sh KIVOSQL TOOLS      the program, and the folder with the scripts of the throw-away servers
# shellcheck disable=SC2016,SC2086  # connections are lists of words
set -eu
# shellcheck source=test/support/kivosql.sh
. "$(dirname "$0")/support/kivosql.sh"

echo "== exit codes and error texts"
echo "$secret" >readable
mkfifo pipe
errors 1 'Syntax error.*\[42' query 'selec 1'
printf 'selec 1; selec 2' >bad.sql
errors 1 '^kivosql: bad.sql:1: .*\[42' run bad.sql
printf "select 1;\nselect '\\351'" >latin.sql
errors 1 '^kivosql: latin.sql:2: .*not UTF-8' run latin.sql
errors 2 'SQL: not UTF-8' query "$(tail -n 1 latin.sql)"
printf 'selec 1;\ndelete from t\0 where id = 1' >nul.sql
errors 1 '^kivosql: nul.sql:2: a NUL character; nothing was run' run nul.sql
errors 1 'relation "nope" does not exist.*\[42P01' $postgres describe nope
errors 1 'relation "nope"' $postgres --through bridge query 'select * from nope'
export LC_ALL=C
errors 1 'PSQLException: .*relation "нет"' $postgres --through jdbc query 'select * from "нет"'
unset LC_ALL
errors 1 'division by zero' $postgres --through jdbc query 'select 1 / (x - 200) from generate_series(1, 300) x'
errors 1 'division by zero' $postgres --through bridge query 'select 1 / (x - 600) from generate_series(1, 700) x'
for server in "$postgres" "$postgres --through jdbc"; do
  errors 1 '^ {7}\^$' $server query 'select 1
 frm 2'
done
errors 1 'does not say where its columns end' --through bridge query "select $(seq -s, 10001)"
check "as many columns as there may be" "$(seq -s, 10000)" "$(csv --through bridge query "select $(seq -s, 10000)")"
errors 2 'subcommand is required'
errors 2 'unexpected argument "quer"' quer 'select 1'
errors 2 'unexpected option --password \(' "--password=$secret" tables
errors 2 'unexpected option --password \(' query 'select 1' --password "$secret"
errors 2 'unexpected option -p \(' "-p$secret" tables
errors 2 '--batch must be at least 1' load f t --batch 0
errors 2 '--max-rows must not be negative' --max-rows -1 tables
errors 2 'jsn not in .*json' --format jsn tables
check "the help of load" "1 1 1" "$("$kivosql" load --help >out && grep -c 'FILE.* A CSV file' out) $(
  grep -c 'TABLE.* The name of an existing table' out) $(grep -c -- '--url TEXT' out)"
errors 2 '--url: a password' --url "jdbc:h2:mem:x;password=$secret" tables
errors 2 '--instance: a password' --type postgresql --host h --instance "d?password=$secret" tables
errors 2 '--host: a password' --type postgresql --host "u:$secret@h" doctor
errors 2 'must begin with jdbc:, as in jdbc:postgresql://' --url postgres://u@h/d tables
errors 2 '--host requires --type' --host h tables
errors 2 'excludes --' --url jdbc:h2:mem:x --type h2 tables
errors 2 'postgres not in .*postgresql' --type postgres tables
errors 2 'null for CSV cannot' --format csv --null 'a,b' tables
errors 2 'crlf needs --format csv' --crlf tables
errors 2 'at least 16 MB' --heap-mb 15 tables
errors 2 'more than this machine has' --heap-mb 99999999 tables
errors 2 'has /nowhere.jar, which does not exist' --class-path /nowhere.jar tables
for mode in 640 604; do
  chmod $mode readable
  errors 2 'others have access' --user u --password-file readable tables
done
errors 2 'pipe is not a file' --user u --password-file pipe tables
errors 2 'not the name of a table' describe 't; drop table t'
errors 2 'needs --url' --through jdbc --type postgresql --host h tables
errors 2 'through bridge only reads' --through bridge update 'delete from t'
errors 2 'through jdbc only reads' --through jdbc run f
errors 2 'excludes --keep-going' run f --single-transaction --keep-going
echo 'select 1; begin' >begins.sql
errors 1 'no transactions of its own; nothing was run' run begins.sql --single-transaction
errors 2 'cannot read /$' run /
errors 1 'error reading' run /proc/self/mem
errors 1 '"a␛\[31m b' describe "\"a$(printf '\033[31m\nb')\""
errors 3 'no driver' --url jdbc:nosuch:x tables
errors 3 'does not begin with jdbc:' --through bridge --url postgres://h/d tables
errors 3 'refused' --url jdbc:postgresql://127.0.0.1:1/x tables
errors 3 'Unknown vendor' --through jdbc tables
errors 4 'no Java VM' --jvm /nowhere tables
echo "not-the-$secret" >wrong
chmod 600 wrong
check "stack traces with --verbose" yes \
  "$("$kivosql" $postgres --through jdbc --verbose query 'select * from nope' 2>&1 | grep -q '	at ' && echo yes)"
code=0
"$kivosql" --type oracle --host h --port 1 --instance x doctor >out || code=$?
check "doctor without the driver" "3 1" "$code $(grep -c "fix: put the driver's jar on the class path" out)"
head -c 100000 /usr/share/java/h2.jar >half.jar
code=0
"$kivosql" --url jdbc:postgres://h/d --class-path half.jar:/usr/share/java/h2.jar doctor >out || code=$?
check "doctor with half a jar and a wrong word" "3 1 2 1" "$code $(grep -c '✗ .*half.jar is missing, or neither a folder nor a complete jar' out) $(
  grep -c '✗' out) $(grep -c 'fix: .* check the word after jdbc:' out)"
check "stack traces of doctor" yes \
  "$("$kivosql" --url jdbc:postgresql://127.0.0.1:1/x --through jdbc --verbose doctor | grep -q '	at ' && echo yes)"

mkdir -p other/com/ulvanejdbc
echo junk | tee other/libjvm.so >other/com/ulvanejdbc/jdbcUtilities.class
check "variables from the outside" 42 "$(CLASSPATH=$work/other LD_LIBRARY_PATH=$work/other KIVO_JVM=/nowhere \
  "$kivosql" query 'select 42' --format csv | tail -n 1)"
for command in 'query -' 'load - information_schema.users'; do
  check "a folder on standard input of $command" 1 "$("$kivosql" $command 2>&1 >out </ | grep -c 'cannot read standard')"
done

echo "== scripts, and text through the database"
cat >script.sql <<'END'
create table t (id int primary key, name varchar(20000)); -- it's a comment;
insert into t values (1, 'a;b'), (2, ''), (3, null), (4, '日本 🎉');
insert into t values (1, 'again');
select id, name from t order by id;
END
rows=$(printf '1,a;b\n2,""\n3,\n4,日本 🎉')
errors 1 '^kivosql: script.sql:3: Unique' run script.sql --keep-going
check "the rest runs" "$rows" "$(csv run script.sql --keep-going 2>err | tail -n 4)"
check "nothing after a failure" "" "$(csv run script.sql 2>err)"
printf '\357\273\277select 1' >marked.sql
check "a byte order mark" 1 "$(csv run marked.sql)"
echo "select ';';" >one.sql
check "a query on standard input" ';' "$(csv query - <one.sql)"
check "two queries on standard input" 1 "$(echo 'select 1; selec 2' | "$kivosql" query - 2>&1 | grep -c 'must hold one statement')"
echo "select 1 as a; create table u (id int); select 2 as b where 1 = 0; select 1 / (x - 2) as c from system_range(1, 3);
  select 3 as d" >several.sql
check "a table a result" "$(printf 'A\n1\n\nB\n\nC\n-1\n\nD\n3')" \
  "$("$kivosql" run several.sql --keep-going --format csv 2>err)"
check "one JSON document" '[[{"A":1}],[],[{"C":-1}],[{"D":3}]]' \
  "$("$kivosql" run several.sql --keep-going --format json 2>err | tr -d '\n')"
check "a JSON document that is cut off" '[[{"A":1}],[],[{"C":-1}' "$("$kivosql" run several.sql --format json 2>err | tr -d '\n')"
check "a call that gives rows, then a shutdown" 42 "$(echo 'call 42; shutdown' | csv run - 2>err)$(grep kivosql: err)"
check "counts on SQLite" "0 rows changed 3 rows changed 0 rows changed" "$(echo 'create table t (a int);
  insert into t values (1), (2), (3); create table u (a int)' | "$kivosql" --url jdbc:sqlite::memory: run - | xargs)"
check "timing" 1 "$("$kivosql" query 'select 1' --timing 2>&1 >out | grep -c '^1 row in .* per second')"

report
