#!/bin/sh
# Installs a build into a temporary folder, moves it, and builds a host on it in three ways; then one that contains the
# sources.
#
#   run.sh BUILD COMPILER
set -eu
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
trap 'exit 130' INT TERM
jvm=${KIVO_JVM:-$JAVA_HOME/lib/server/libjvm.so}

DESTDIR=$folder/staged cmake --install "$1" --prefix /opt/first >/dev/null
mv "$folder/staged/opt/first" "$folder/prefix"
prefix=$folder/prefix
jar=$prefix/share/java/kivo-jdbc.jar
version=$(sed -n 's/.*KIVO_VERSION "\(.*\)"/\1/p' "$prefix/include/kivo/kivo_version.h")

fail() {
  echo "not ok: $*"
  exit 1
}

expect() {
  about=$1
  shift
  found=$("$@" "$jvm" "$jar:/usr/share/java/h2.jar")
  [ "$found" = "$version $version 42" ] || fail "$about: $found"
  echo "ok: $about"
}

cmake -S "$here" -B "$folder/cmake" -DCMAKE_CXX_COMPILER="$2" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$folder/cmake" >/dev/null
expect "find_package" "$folder/cmake/host"
[ "$(cat "$folder/cmake/jar")" = "$(realpath "$jar")" ]

library=$(dirname "$(find "$prefix" -name libkivo_java_native_lib.so)")
# shellcheck disable=SC2046  # one word an option
"$2" -std=c++17 "$here/consumer.cpp" $(PKG_CONFIG_PATH=$library/pkgconfig pkg-config --cflags --libs kivo_java_native) \
  "-Wl,-rpath,$library" -o "$folder/with-pkg-config"
expect "pkg-config" "$folder/with-pkg-config"

"$2" -std=c++17 "$here/consumer.cpp" "-I$prefix/include/kivo" "-I$JAVA_HOME/include" "-I$JAVA_HOME/include/linux" \
  "-L$library" -lkivo_java_native_lib -lkivo_system_lib "-Wl,-rpath,$library" -o "$folder/plain"
expect "a plain line" "$folder/plain"

cmake -S "$here" -B "$folder/whole" -DCMAKE_CXX_COMPILER="$2" -DKIVO_SOURCES="$here/../.." >/dev/null
cmake --build "$folder/whole" --parallel >/dev/null
jar=$(cat "$folder/whole/jar")
expect "the sources as a part of the host" "$folder/whole/host"

answer=$("$prefix/bin/kivosql" --jvm "$jvm" query "select 6 * 7 as answer" --format csv | tail -n 1)
[ "$answer" = 42 ] || fail "kivosql: $answer"
echo "ok: kivosql"

gunzip "$prefix/share/man/man1/kivosql.1.gz"
for option in $("$prefix/bin/kivosql" --help | grep -oE '^  (-h,)?--[a-z-]+' | grep -oE -- '--.*'); do
  for document in man/man1/kivosql.1 bash-completion/completions/kivosql zsh/site-functions/_kivosql \
    fish/vendor_completions.d/kivosql.fish; do
    tr -d '\134' <"$prefix/share/$document" | grep -qE -- "(--|-l )${option#--}( |\[|\)|\$)" ||
      fail "$document has no $option"
  done
done
# shellcheck disable=SC2016  # for the other shell
found=$(bash -c '. "$1"; COMP_WORDS=(kivosql --format js); COMP_CWORD=2; _kivosql; echo "${COMPREPLY[*]}"
  COMP_WORDS=(kivosql --timing d); _kivosql; echo "${COMPREPLY[*]}"
  COMP_WORDS=(kivosql load --ba); _kivosql; echo "${COMPREPLY[*]}"' - \
  "$prefix/share/bash-completion/completions/kivosql" | tr '\n' ' ')
[ "$found" = "json jsonl describe doctor --batch " ] || fail "completions: $found"
echo "ok: the man page and the completions"
