#!/bin/sh
# Debian packages in a root file system that has nothing else: installed, used, removed. Then the README's own commands,
# word for word, with the minutes that a newcomer waits for the first rows. As root.
#
#   bare_debian.sh PACKAGES PYTHON_PACKAGES
set -eu
packages=$(cd "$1" && pwd)
python_packages=$2
tree=$(cd "$(dirname "$0")/.." && pwd)
root=$(mktemp -d)
debian=http://deb.debian.org/debian

finish() {
  ! mountpoint -q "$root/proc" || umount "$root/proc"
  ! mountpoint -q "$root/dev" || umount "$root/dev"
  rm -rf --one-file-system "$root"
}
trap finish EXIT
trap 'exit 130' INT TERM

inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive "$@"; }

# What a fence of a page holds: the first one that has a line with these words.
fence() { # WORDS PAGE
  awk -v words="$1" '/^```/ { if (inside && found) { printf "%s", text; exit }
      inside = !inside; found = 0; text = ""; next }
    inside { text = text $0 "\n"; if (index($0, words)) found = 1 }' "$tree/$2"
}

# Runs the commands of a session, and prints them and what they print.
session() { # BEFORE
  sed -n 's/^\$ //p' "$root/session" | while read -r command; do
    echo "\$ $command"
    inside LC_ALL=C.UTF-8 sh -c "cd /tree && $1 $command" 2>&1 </dev/null
  done
}

expect() {
  [ "$2" = "$3" ] || {
    printf 'not ok: %s\n--- expected\n%s\n--- found\n%s\n' "$1" "$2" "$3"
    exit 1
  }
  echo "ok: $1"
}

debootstrap --variant=minbase bookworm "$root" $debian >/dev/null
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mkdir -p "$root/debs" "$root/tree" "$root/usr/share/man/man1"
cp "$packages"/*.deb "$root/debs"
inside sh -c 'apt-get -qq update && apt-get -qq install -y --no-install-recommends /debs/*.deb libh2-java \
    python3' >"$root/install" 2>&1 ||
  { tail -n 30 "$root/install"; exit 1; }
expect "kivosql, installed" "ANSWER
42" "$(inside kivosql query 'select 6 * 7 as answer' --format csv)"

# A driver manager finds the ADBC driver by the word jdbc.
mkdir "$root/python"
for package in adbc_driver_manager pyarrow typing_extensions.py; do cp -r "$python_packages/$package" "$root/python"; done
expect "the ADBC driver, installed" "[(42,)]" "$(inside PYTHONPATH=/python python3 -c '
from adbc_driver_manager import dbapi
with dbapi.connect("jdbc:h2:mem:bare", db_kwargs={"adbc.jdbc.driver_path": "/usr/share/java/h2.jar"}) as connection:
    with connection.cursor() as cursor:
        print(cursor.execute("select 6 * 7").fetchall())')"

# What the README's session prints is compared.
fence 'run examples/planets.sql' README.md >"$root/session"
git -C "$tree" archive HEAD | tar -x -C "$root/tree"
expect "the README's session with kivosql" "$(cat "$root/session")" "$(session '')"

names=$(for package in "$packages"/*.deb; do dpkg-deb -f "$package" Package; done)
# shellcheck disable=SC2086  # one word a package
inside dpkg --purge $names >/dev/null
expect "nothing is left after removal" "" "$(inside find / -xdev -path /tree -prune -o -path /debs -prune -o \
  -path /python -prune -o \
  '(' -name '*kivo*' -o -name '*adbc*' ')' -print)"
inside sh -c 'apt-get -qq autoremove --purge -y libh2-java python3 >/dev/null 2>&1'

start=$(date +%s)
fence './run demo ' README.md | sed -n '/demo/p' >"$root/tree/commands"
inside sh -c 'cd /tree && . ./commands' >"$root/demo" 2>&1 </dev/null || { tail -n 30 "$root/demo"; exit 1; }
grep -q '^(.* rows)' "$root/demo" || { tail -n 30 "$root/demo"; exit 1; }
echo "ok: $(sed 's/ *#.*//' "$root/tree/commands"), from nothing: minutes to the first rows: $((($(date +%s) - start + 30) / 60))"

fence 'cmake --preset release' README.md >"$root/tree/commands"
fence 'jdbcWrapper database;' README.md >"$root/tree/host.cpp"
# shellcheck disable=SC2016  # backticks of the README
tr '\n' ' ' <"$tree/README.md" | sed 's/.*Build it with `\([^`]*\)`.*/\1/' >"$root/tree/compile"
inside JAVA_HOME=/usr/lib/jvm/java-17-openjdk-amd64 sh -ec 'cd /tree && . ./commands && . ./compile' >"$root/build" 2>&1 ||
  { tail -n 30 "$root/build"; exit 1; }
expect "the README's host" "1	one
2	(null)" "$(inside sh -c 'cd /tree && ./a.out')"

fence 'export PATH' docs/first-query.md >"$root/tree/commands"
fence 'kivosql query' docs/first-query.md >"$root/session"
expect "the guide's first query" "$(cat "$root/session")" "$(session '. ./commands >/dev/null 2>&1 &&')"

# With the compiler that is there now, a program on the development package.
# shellcheck disable=SC2016  # for the shell inside
inside sh -ec 'apt-get -qq install -y --no-install-recommends /debs/*.deb pkgconf
  cmake -G Ninja -S /tree/test/consumer -B /tree/consumer
  cmake --build /tree/consumer
  g++ -std=c++17 /tree/test/consumer/consumer.cpp $(pkg-config --cflags --libs kivo_java_native) -o /tree/by-pkg-config
' >"$root/consumer" 2>&1 || { tail -n 30 "$root/consumer"; exit 1; }
jvm=/usr/lib/jvm/java-17-openjdk-amd64/lib/server/libjvm.so
version=$(sed -n 's/.*KIVO_VERSION "\(.*\)"/\1/p' "$tree/include/kivo_version.h")
for program in consumer/host by-pkg-config; do
  expect "the development package, $program" "$version $version 42" \
    "$(inside "/tree/$program" $jvm /usr/share/java/kivo-jdbc.jar:/usr/share/java/h2.jar)"
done
