"""The databases that adbc.py reaches, with what differs between them."""

import contextlib
import hashlib
import os
import pathlib
import random
import subprocess
import tempfile
import urllib.request

# That typed.py reads.
ROWS = 50000

HERE = pathlib.Path(__file__).parent
MAVEN = "https://repo1.maven.org/maven2/"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "kivo" / "jars"
DEBIAN = "/usr/share/java/"

# What Ignite's classes reach into.
OPENED = """java.base/java.io java.base/java.lang java.base/java.lang.invoke java.base/java.lang.reflect
  java.base/java.math java.base/java.net java.base/java.nio java.base/java.text java.base/java.time java.base/java.util
  java.base/java.util.concurrent java.base/java.util.concurrent.atomic java.base/java.util.concurrent.locks
  java.base/jdk.internal.access java.base/jdk.internal.misc java.base/sun.nio.ch
  java.base/sun.reflect.generics.reflectiveObjects java.base/sun.util.calendar java.management/com.sun.jmx.mbeanserver
  java.management/sun.management java.sql/java.sql jdk.management/com.sun.management.internal""".split()
OPENS = [f"--add-opens={package}=ALL-UNNAMED" for package in OPENED]


def jars(table=HERE / "jars.txt"):
    """The downloaded jars by name; those that are missing are downloaded."""
    found = {}
    for line in table.read_text().splitlines():
        if line.startswith("#"):
            continue
        place, digest, *name = line.split()
        path = CACHE / place.rsplit("/", 1)[1]
        if not path.exists():
            download(MAVEN + place, path)
        if hashlib.sha256(path.read_bytes()).hexdigest() != digest:
            raise RuntimeError(f"{path} is not the jar that jars.txt names")
        found[name[0] if name else path.name.rsplit("-", 1)[0]] = str(path)
    return found


def download(url, path):
    path.parent.mkdir(parents=True, exist_ok=True)
    part = path.with_suffix(f".{os.getpid()}")
    with urllib.request.urlopen(url, timeout=120) as answer:
        part.write_bytes(answer.read())
    part.rename(path)


@contextlib.contextmanager
def ignite_cluster(java, found):
    """Two nodes. They end with this process, however it ends. @return the port for clients"""
    classes = ":".join(found[name] for name in ("ignite-core", "ignite-indexing", "cache-api", "annotations", "h2"))
    port = random.randrange(20000, 30000)
    with tempfile.TemporaryDirectory() as folder:
        nodes = [subprocess.Popen([java, *OPENS, "-Xmx512m", "-cp", classes, HERE / "IgniteNode.java", str(number),
                                   str(port), folder], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, text=True) for number in range(2)]
        try:
            for node in nodes:
                lines = []
                while not lines or lines[-1] != "READY\n":
                    lines.append(node.stdout.readline())
                    if not lines[-1]:
                        raise RuntimeError("a node of Ignite did not start:\n" + "".join(lines))
            yield port + 4
        finally:
            for node in nodes:
                node.stdin.close()
                node.wait()


class Database:
    """How one database is reached, and what it calls things."""

    def __init__(self, name, uri, driver, user=None, password=None, **differing):
        self.name = name
        self.options = {"uri": uri, "adbc.jdbc.driver_path": driver}
        if user:
            self.options.update(username=user, password=password)
        self.binary = differing.get("binary", "varbinary(20)")
        self.timestamp = differing.get("timestamp", "timestamp")
        self.double = differing.get("double", "double precision")
        self.text = differing.get("text", "varchar(100)")
        # Runs until it is cancelled; None where the driver cannot cancel a query.
        self.endless = differing.get("endless")
        self.has_transactions = differing.get("has_transactions", True)
        # From an insert.
        self.returns_rows = differing.get("returns_rows", False)
        # How it writes what typed.py reads; None where it lacks some type.
        self.typed = differing.get("typed")
        # The SQLStates of a missing table; None where the driver has none.
        self.missing_table = differing.get("missing_table")


def databases(found, postgres, mariadb, ignite_port):
    """@param postgres and mariadb what tools/postgres and tools/mariadb print"""
    pairs = "select count(*) from {0} a, {0} b, {0} c, {0} d"
    return [
        Database("H2", "jdbc:h2:mem:interop", DEBIAN + "h2.jar", missing_table=("42S02", "42S04"), binary="varbinary(20)",
                 endless=pairs.format("system_range(1, 100000)"),
                 typed={"numbers": f"system_range(1, {ROWS})", "bytes": "x'00ff'"}),
        Database("PostgreSQL", "jdbc:postgresql://{HOST}:{PORT}/{DATABASE}".format(**postgres),
                 DEBIAN + "postgresql.jar", postgres["USER"], postgres["PASSWORD"], binary="bytea",
                 missing_table=("42P01",), endless="select pg_sleep(600)", returns_rows=True,
                 typed={"numbers": f"generate_series(1, {ROWS}) as numbers(x)", "bytes": "'\\x00ff'::bytea"}),
        Database("MariaDB", "mariadb://{HOST}:{PORT}/{DATABASE}".format(**mariadb),
                 DEBIAN + "mariadb-java-client.jar", mariadb["USER"], mariadb["PASSWORD"], timestamp="datetime(6)",
                 double="double", missing_table=("42S02",), endless="select sleep(600)", returns_rows=True),
        Database("SQLite", "jdbc:sqlite::memory:", DEBIAN + "sqlite-jdbc.jar", binary="blob", returns_rows=True,
                 missing_table=("42S02",), endless=pairs.format("(with recursive n(x) as (select 1 union all "
                                                             "select x + 1 from n where x < 100000) select x from n)")),
        Database("DuckDB", "jdbc:duckdb:", found["duckdb_jdbc"], binary="blob", returns_rows=True,
                 missing_table=("42S02",), endless=pairs.format("range(100000)")),
        Database("Ignite", f"jdbc:ignite:thin://127.0.0.1:{ignite_port}",
                 found["ignite-core"] + ":" + found["cache-api"], double="double", binary="binary(20)",
                 missing_table=("42000",), has_transactions=False),
    ]
