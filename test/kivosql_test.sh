#!/bin/sh
# kivosql as its users run it, on H2, PostgreSQL and MariaDB.
#
#   kivosql_test.sh KIVOSQL TOOLS      the program, and the folder with the scripts of the throw-away servers
# shellcheck disable=SC1091,SC2016,SC2086,SC2317,SC3045  # connections are lists of words; the rest it cannot see
set -eu
kivosql=$1
tools=$2
work=$(mktemp -d)
failures=0

finish() {
  "$tools/postgres" stop "$work/postgres"
  "$tools/mariadb" stop "$work/mariadb"
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 1' HUP INT TERM

mkdir "$work/postgres" "$work/mariadb"
chmod 755 "$work"
"$tools/postgres" start "$work/postgres" $$ >"$work/settings"
. "$work/settings"
(umask 077 && echo "$PASSWORD" >"$work/password")
place="--url jdbc:postgresql://$HOST:$PORT/$DATABASE --user $USER"
postgres="$place --password-file $work/password"
parts="--type postgresql --host $HOST --port $PORT --user $USER --password-file $work/password"
"$tools/mariadb" start "$work/mariadb" $$ >"$work/settings"
. "$work/settings"
mariadb="--url jdbc:mariadb://$HOST:$PORT/$DATABASE --user $USER --password-file $work/password"
h2="--url jdbc:h2:$work/h2"
secret=$PASSWORD
cd "$work"

check() { # NAME EXPECTED FOUND
  [ "$2" = "$3" ] && return
  printf 'not ok: %s\n--- expected\n%s\n--- found\n%s\n' "$1" "$2" "$3"
  failures=$((failures + 1))
}

# What a run wrote to standard error, without the Java VM's remark on its environment.
said() { grep -v '^Picked up JAVA_TOOL_OPTIONS' "$1" || true; }

# One row: the exit code, a pattern that the one paragraph of error text matches, and the arguments.
errors() { # CODE PATTERN ARGUMENT...
  wanted=$1
  pattern=$2
  shift 2
  code=0
  "$kivosql" "$@" >out 2>all </dev/null || code=$?
  said all >err
  check "exit code of $*: $(cat err)" "$wanted" "$code"
  grep -qE -- "$pattern" err || check "error text of $*" "$pattern" "$(cat err)"
  check "error texts of $*" 1 "$(grep -c '^kivosql: ' err)"
  ! grep -q "$secret" out err || check "no password in the texts of $*" "" "$(cat out err)"
}

csv() { "$kivosql" "$@" --format csv | tail -n +2; }

echo "== exit codes and error texts"
echo "$secret" >readable
mkfifo pipe
errors 1 'Syntax error.*\[42' query 'selec 1'
printf 'selec 1; selec 2' >bad.sql
errors 1 '^kivosql: bad.sql:1: .*\[42' run bad.sql
printf "select 1;\nselect '\\351'" >latin.sql
errors 1 '^kivosql: latin.sql:2: .*not UTF-8' run latin.sql
errors 2 'SQL is not UTF-8' query "$(tail -n 1 latin.sql)"
printf 'selec 1;\ndelete from t\0 where id = 1' >nul.sql
errors 1 '^kivosql: nul.sql:2: a NUL character; nothing was run' run nul.sql
errors 1 'relation "nope" does not exist.*\[42P01' $postgres describe nope
errors 1 'PSQLException: .*relation "nope"' $postgres --through jdbc query 'select * from nope'
errors 1 'relation "nope"' $postgres --through bridge query 'select * from nope'
export LC_ALL=C
errors 1 'relation "нет"' $postgres --through jdbc query 'select * from "нет"'
unset LC_ALL
errors 1 'division by zero' $postgres --through jdbc query 'select 1 / (x - 200) from generate_series(1, 300) x'
errors 1 'division by zero' $postgres --through bridge query 'select 1 / (x - 600) from generate_series(1, 700) x'
for server in "$postgres" "$postgres --through jdbc" "$h2"; do
  errors 1 '^ {7}\^$' $server query 'select 1
 frm 2'
done
errors 1 'does not say where its columns end' --through bridge query "select $(seq -s, 10001)"
check "as many columns as there may be" "$(seq -s, 10000)" "$(csv --through bridge query "select $(seq -s, 10000)")"
errors 2 'a command is missing; there are query, update'
errors 2 'no command "quer"; did you mean query\?' quer 'select 1'
errors 2 'query takes SQL; "1" is one argument too many' query select 1
errors 2 'no option --password; did you mean --password-file\?' "--password=$secret" tables
errors 2 'no option -p \(' "-p$secret" tables
errors 2 'no option --no-heder; did you mean --no-header\?' load f t --no-heder
errors 2 '--batch is an option of load' --batch 5 load f t
errors 2 '--batch is a whole number from 1 to 2,147,483,647, not "0"' load f t --batch 0
errors 2 '--batch needs a value' load f t --batch
errors 2 '--url is there more than once' --url jdbc:h2:mem:x --url jdbc:h2:mem:y tables
errors 2 'no "jsn"; did you mean json\?' --format jsn tables
check "the help of load" "1 1 1" "$("$kivosql" load --help >out && grep -c 'FILE.* A CSV file' out) $(
  grep -c 'TABLE.* The name of a table' out) $(grep -c -- '--url TEXT' out)"
errors 2 'password in --url' --url "jdbc:h2:mem:x;password=$secret" tables
errors 2 'password in --instance' --type postgresql --host h --instance "d?password=$secret" tables
errors 2 'password in --host' --type postgresql --host "u:$secret@h" doctor
errors 2 'begin with jdbc:, here probably jdbc:postgresql://' --url postgres://u@h/d tables
errors 2 'begin with jdbc:, here probably jdbc:sqlite:FILE' --url sqlite:s.db tables
errors 2 'begin with jdbc: \(' --url h2:mem:x tables
errors 2 '--host needs --type' --host h tables
errors 2 '--url already' --url jdbc:h2:mem:x --type h2 tables
errors 2 'postgres is not known .* postgresql, mariadb' --type postgres tables
errors 2 'h2 is not known to --through jdbc' --type h2 --through jdbc tables
errors 2 'mean the same, but their values differ' --type postgresql --instance d --database e tables
for carrier in wrapper jdbc; do
  errors 2 'kdb has no place for --database' --type kdb --database d --through $carrier tables
  for option in instance database; do
    check "--$option through $carrier" template1 \
      "$(csv $parts --$option template1 --through $carrier query 'select current_database()')"
  done
done
errors 2 'no "xml"' --format xml tables
errors 2 'null for CSV cannot' --format csv --null 'a,b' tables
errors 2 'crlf needs --format csv' --crlf tables
errors 2 'at least 16 MB' --heap-mb 15 tables
errors 2 'more than this machine has' --heap-mb 99999999 tables
errors 2 'no /nowhere.jar' --class-path /nowhere.jar tables
for mode in 640 604; do
  chmod $mode readable
  errors 2 'others have access' --user u --password-file readable tables
done
errors 2 'pipe is not a file' --user u --password-file pipe tables
errors 2 'not the name of a table' describe 't; drop table t'
errors 2 'needs --url' --through bridge --type postgresql --host h tables
errors 2 'only reads' --through bridge update 'delete from t'
errors 2 'cannot read /$' run /
errors 2 'cannot read /$' load / t
errors 1 'error reading' run /proc/self/mem
errors 1 '"a␛\[31m b' describe "\"a$(printf '\033[31m\nb')\""
errors 3 'no driver' --url jdbc:nosuch:x tables
errors 3 'does not begin with jdbc:' --through bridge --url postgres://h/d tables
errors 3 'refused' --url jdbc:postgresql://127.0.0.1:1/x tables
errors 3 'Unknown vendor' --through jdbc tables
errors 4 'no Java VM' --jvm /nowhere tables
echo "not-the-$secret" >wrong
chmod 600 wrong
for carrier in wrapper jdbc bridge; do
  errors 3 'password authentication failed' $place --password-file wrong --through $carrier tables
done
check "stack traces only when asked for" yes \
  "$("$kivosql" $postgres --through jdbc --verbose query 'select * from nope' 2>&1 | grep -q '	at ' && echo yes)"
code=0
"$kivosql" --type oracle --host h --port 1 --instance x doctor >out || code=$?
check "doctor without the driver" "3 1" "$code $(grep -c "fix: put the driver's jar on the class path" out)"
head -c 100000 /usr/share/java/h2.jar >half.jar
code=0
"$kivosql" --url jdbc:postgres://h/d --class-path half.jar:/usr/share/java/h2.jar doctor >out || code=$?
check "doctor with half a jar and a wrong word" "3 1 1 1" "$code $(grep -c '✗ .*half.jar is not a jar' out) $(
  grep -c '✗ entry' out) $(grep -c 'fix: --url with jdbc:postgresql: instead' out)"
check "the doctor's, too" yes \
  "$("$kivosql" --url jdbc:postgresql://127.0.0.1:1/x --through jdbc --verbose doctor | grep -q '	at ' && echo yes)"

mkdir -p other/com/ulvanejdbc
echo junk | tee other/libjvm.so >other/com/ulvanejdbc/jdbcUtilities.class
check "variables from the outside" 42 "$(CLASSPATH=$work/other LD_LIBRARY_PATH=$work/other KIVO_JVM=/nowhere \
  "$kivosql" query 'select 42' --format csv | tail -n 1)"
for command in 'run -' 'query -' 'load - information_schema.users'; do
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
cat >own.sql <<'END'
create temp table own (id int);
begin; insert into own values (1); select * from own; savepoint s; rollback to s; select * from own; rollback;
begin; insert into own values (2); commit;
select sum(id) from own;
END
for carrier in wrapper jdbc; do
  check "a transaction of the script's own through $carrier" 2 "$(csv $postgres --through $carrier run own.sql | tail -n 1)"
done
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
check "timing" 1 "$("$kivosql" query 'select 1' --timing 2>&1 >out | grep -c '^1 row in .* per second')"

echo "== loading"
"$kivosql" $postgres update 'create table big (id int primary key, name text, amount numeric(12,3), raw bytea)' >out
csv $postgres query "select x, case x % 7 when 0 then null when 1 then '' else 'it''s \\ \"' || x || '\" ж🎉' || chr(10) end,
  x * 1.125, decode(md5(x::text), 'hex') from generate_series(1, 100000) x" >rows
{ echo id,name,amount,raw && cat rows; } >big.csv
"$kivosql" $h2 update 'create table big (id int primary key, name varchar(99), amount numeric(12,3), raw varbinary(99))' >out
for server in "$postgres" "$h2"; do
  check "load" "100,000 rows stored in big" "$("$kivosql" $server load big.csv big --batch 30000)"
  check "counts" "100000,5000050000,5625056250.000" "$(csv $server query 'select count(*), sum(id), sum(amount) from big')"
  check "checksums" "$(md5sum <rows)" "$(csv $server query 'select * from big order by id' | md5sum)"
done
{ echo ID && seq 2499 && echo 1 && seq 2501 4000; } >clash.csv
for server in "$postgres --through wrapper" "$postgres --through jdbc" "$mariadb" "$h2" "--url jdbc:sqlite:clash.db"; do
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
printf 'id,name\n\n""\n' >quoted.csv
check "a quoted nothing is a value" 1 "$("$kivosql" $h2 load quoted.csv big 2>&1 | grep -c 'line 3 has 1 value for 2 columns')"
"$kivosql" $h2 update 'create table gaps (name varchar(9))' >out
printf 'NA\n"NA"\n""\n' >gaps.csv
"$kivosql" $h2 load gaps.csv gaps --no-header --null NA >out
check "a quoted text is never NULL" "$(cat gaps.csv)" "$(csv $h2 query 'select * from gaps' --null NA)"

# The server goes before it has answered to the commit.
"$kivosql" $postgres update 'create table frail (id int)' >out
"$kivosql" $postgres update 'create function breaks() returns trigger language plpgsql as
  $$ begin perform pg_terminate_backend(pg_backend_pid()); return new; end $$' >out
"$kivosql" $postgres update 'create constraint trigger breaks after insert on frail deferrable initially deferred
  for each row when (new.id > 2) execute function breaks()' >out
seq 5 >frail.csv
for carrier in wrapper jdbc; do
  code=0
  "$kivosql" $postgres --through $carrier load frail.csv frail --no-header --batch 2 2>err || code=$?
  check "a connection that breaks, through $carrier" "1 1 1 2" "$code $(grep -c 'line 3: .*terminating connection' err) $(
    grep -c 'rows 1 to 2 .* are stored, rows 3 to 4 .* may be stored: the connection broke' err) $(said err | wc -l)"
done

# H2 acknowledges a commit before it is written, and the file may not grow further.
full="--url jdbc:h2:$work/full"
"$kivosql" $full update "create table big (id int primary key, t varchar(999) default repeat('text', 50))" >out
{ echo id && seq 20000; } >ids.csv
code=0
(ulimit -f 3000 && exec "$kivosql" $full load ids.csv big --batch 100 2>err) || code=$?
told=$(sed -n 's/.* rows 1 to \([0-9,]*\) of ids.csv are stored, .* may be stored: they may not be on disk$/\1/p' err)
found=$(csv $full query 'select count(*) from big')
told=$(echo "$told" | tr -d ,)
check "a full disk under H2: $found rows, and $(cat err)" "1 yes" "$code $(
  [ "$found" -ge "$told" ] && [ "$found" -le $((told + 100)) ] && echo yes)"

# Prepared statements and statements with literals must come to the same.
"$kivosql" $postgres update 'create table typed (id int, truth boolean, day date, at timestamptz, ratio float8,
  amount numeric(9,2), list int[], doc jsonb, fixed char(5), raw bytea, span interval, loose text)' >out
cat >typed.csv <<'END'
1,t,1999-12-31,2024-02-29 12:00:00+02,1e-300,12345.675,"{1,2}","{""a"": ""ж""}",ab,00ff,1 day,' or 1=1
2,,,,,,,,,,,
3,0,infinity,2024-02-29T12:00:00Z,-0.1,-1,{},[],"",,2 mons,""
4,FALSE,0001-01-01,1970-01-01 00:00,NaN,1E2,"{NULL}",1,long,\x41,P1D,\
END
for carrier in wrapper jdbc; do
  "$kivosql" $postgres --through $carrier update 'delete from typed' >out
  "$kivosql" $postgres --through $carrier load typed.csv typed --no-header >out
  csv $postgres query 'select * from typed order by id' >typed.$carrier
done
check "values of all kinds" "4 $(md5sum <typed.jdbc)" "$(wc -l <typed.wrapper) $(md5sum <typed.wrapper)"
"$kivosql" $postgres update 'create table spans (span interval day, price money)' >out
echo 5,12.5 | "$kivosql" $postgres load - spans --no-header >out
check "values that parameters would change" '5 days,$12.50' "$(csv $postgres query 'select * from spans')"

"$kivosql" $h2 update 'create table notes (id int, note json, span interval day)' >out
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
for server in "$postgres" "$postgres --through jdbc" "$h2" "$mariadb"; do
  "$kivosql" $server update 'create table v (id int primary key, name varchar(99))' >out
  "$kivosql" $server load evil.csv v >out
  check "stored as they are" "$(tail -n +2 evil.csv | tr -d '"')" "$(csv $server query 'select * from v order by id')"
  "$kivosql" $server update 'drop table v' >out
done

echo "== passwords"
slow="select count(pg_sleep(1.5))"
env KIVO_PASSWORD="$secret" "$kivosql" $place query "$slow" >out &
sleep 1
check "no password in the process list" 0 "$(cat /proc/$!/cmdline /proc/$!/environ | grep -c "$secret")"
wait $!
check "the password from the environment" 1 "$(grep -c '(1 row)' out)"
env KIVO_PASSWORD="$secret" "$kivosql" $place query "select * from \"$secret\"" >out 2>err || true
check "no password in an error of the database's" 1 "$(grep -c 'relation "\*\*\*"' err)"
# The VM writes what it has in registers, on stacks and in its log of exceptions to hs_err_pid*.log.
(ulimit -c 0 && exec env KIVO_PASSWORD="$secret" "$kivosql" $place query 'select pg_sleep(98)' >out 2>err) &
for _ in $(seq 600); do
  find /proc/$!/fd -lname 'socket:*' 2>/dev/null | grep -q . && break
  sleep 0.1
done
sleep 1
kill -SEGV $!
wait $! || true
# Nobody is left to end what the server does for it.
"$kivosql" $postgres query "select pg_terminate_backend(pid) from pg_stat_activity where query like '%sleep(98)'" >out
check "no password in the VM's crash file" "1 0" "$(grep -c 'SIGSEGV (' hs_err_pid$!.log) $(grep -c "$secret" hs_err_pid$!.log)"
(umask 077 && printf '%s\r\n' "$secret" >windows)
check "the password from a file with CRLF" 1 "$(csv $place --password-file windows query 'select 1')"

# Runs a shell command on a terminal, and types, word by word, once the terminal shows what is awaited. Ctrl-C reaches
# the shell too, and some shells would end with it.
on_terminal() { # AWAITED TYPED COMMAND
  rm -f keys
  mkfifo keys
  : >screen
  {
    for _ in $(seq 200); do
      grep -q "$1" screen && break
      sleep 0.1
    done
    for word in $2; do
      printf '%b' "$word"
      sleep 1
    done
  } >keys &
  script -qefc "trap : INT; $3" screen <keys >/dev/null || true
  wait $!
}
on_terminal 'Password of' "$secret\n" "'$kivosql' $place query 'select 6 * 7 as answer'"
check "the password from a prompt" "1 0" "$(grep -c "│     42 │" screen) $(grep -c "$secret" screen)"

echo "== terminals and pipes"
on_terminal '' '' "'$kivosql' $postgres query '$slow' >out"
check "progress on a terminal" yes "$(grep -q 'rows/s' screen && echo yes)"
"$kivosql" $postgres update 'create table paced (id int check (pg_sleep(0.05) is not null))' >out
seq 11 60 >paced.csv
on_terminal '' '' "'$kivosql' $postgres load paced.csv paced --batch 1 --no-header"
check "share and time left on a terminal" yes "$(grep -qE ' [1-9][0-9] %  [0-9.]+ s left' screen && echo yes)"
on_terminal '' '' "'$kivosql' $h2 query 'select 1'"
check "colours on a terminal" yes "$(grep -q "$(printf '\033\\[1m')" screen && echo yes)"
on_terminal '' '' "NO_COLOR=1 '$kivosql' $h2 query 'select 1'"
check "no colours when not wanted" 0 "$(grep -c "$(printf '\033\\[1m')" screen)"
"$kivosql" $postgres query "$slow" >out 2>err
check "nothing moves without a terminal" "" "$(said err)"
{ "$kivosql" $postgres query 'select x from generate_series(1, 999999) x' --format csv 2>err && echo finished >state; } |
  head -n 1 >out
check "a closed pipe" "x finished " "$(cat out) $(cat state) $(said err)"
rows='select x from system_range(1, 999999)'
for script in "$rows" "$rows; create table behind (id int)"; do
  { echo "$script" | "$kivosql" run - --format csv 2>err || echo failed >>err; } | head -n 1 >out
  check "a closed pipe: $script" "$([ "$script" = "$rows" ] || echo failed)" "$(said err)"
done
# Reading ends before the rows do, and with it the transaction that they are read in.
"$kivosql" $postgres run - >out <<'END'
create table kept (id int);
create function keeps(int) returns int language sql as 'insert into kept values ($1) returning id';
create function refuses() returns trigger language plpgsql as $$ begin raise 'refused at the end'; end $$;
create constraint trigger refuses after insert on kept deferrable initially deferred
  for each row when (new.id > 2) execute function refuses()
END
for carrier in wrapper jdbc bridge; do
  "$kivosql" $postgres --through $carrier --max-rows 2 query 'select keeps(x) from generate_series(1, 2) x' >out
  { "$kivosql" $postgres --through $carrier --format csv 2>err \
    query "select keeps(x), repeat('text', 2500) from generate_series(1, 256) x" || echo code $? >>err; } | head -n 1 >out
  check "what a query changed, through $carrier" "1 1 2" "$(grep -c 'at the end: .*refused' err) $(grep -c 'code 1' err) $(
    csv $postgres query 'select count(*) from kept')"
  "$kivosql" $postgres update 'delete from kept' >out
done
code=0
"$kivosql" $h2 query 'select * from big' --format csv >/dev/full 2>err || code=$?
check "a full disk" "1 1" "$code $(grep -c 'No space left' err)"

echo "== interrupts"
"$kivosql" $postgres update 'create table slow (id int)' >out
"$kivosql" $postgres update 'create function sleeps() returns trigger language plpgsql as
  $$ begin perform pg_sleep(99); return new; end $$' >out
"$kivosql" $postgres update 'create trigger sleeps before insert on slow for each row execute function sleeps()' >out
echo 1 >slow.csv
yes 'set enable_sort = on;' | head -n 300000 >short.sql
query="query 'select pg_sleep(99)'"
rows="--format csv query 'select pg_sleep(case when n > 999 then 99 else 0 end), n from generate_series(1, 1000) n'"
load="load slow.csv slow --no-header"
run="run short.sql --format csv"
active() {
  csv $postgres query "select count(*) from pg_stat_activity
    where state = 'active' and query similar to '%(pg_sleep|insert into slow)%' and pid <> pg_backend_pid()"
}
for command in "wrapper $query" "jdbc $query" "bridge $query" "wrapper $rows" "jdbc $rows" "wrapper $load" "jdbc $load" \
  "wrapper $run" "jdbc $run"; do
  on_terminal 'rows/s\|changed' '\003' "'$kivosql' $postgres --through $command >out; echo code=\$?"
  check "Ctrl-C through $command" "1 1" "$(grep -c 'code=130' screen) $(grep -c 'interrupted.$' screen)"
  check "the database knows" 0 "$(active)"
done
# Twice, as shells and service managers send them.
for signal in TERM:143 HUP:129; do
  code=0
  "$kivosql" $postgres $load 2>err &
  until [ "$(active)" = 1 ]; do sleep 0.1; done
  kill -s "${signal%:*}" $!
  kill -s "${signal%:*}" $!
  wait $! || code=$?
  check "SIG$signal" "${signal#*:} 1 1" "$code $(grep -c 'interrupted$' err) $(grep -c 'no row of slow.csv is stored' err)"
done

server=$(head -n 1 postgres/data/postmaster.pid)
hang="update \"copy (select 1) to program 'kill -STOP $server; sleep 20'\""
for keys in '\003' '\003 \003'; do
  on_terminal 'rows/s' "$keys" "'$kivosql' $postgres $hang; echo code=\$?"
  kill -CONT "$server"
  check "$keys, and the server hangs" "1 $((${#keys} == 4))" "$(grep -c 'code=130' screen) $(grep -c 'had not ended' screen)"
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

echo "$failures not as expected"
exit "$((failures > 0))"
