"""Reads a table of PostgreSQL into Python, with this library and with the packages that Python programs use instead.

Each way runs in a process of its own, since a process holds one Java VM, and reads into an Arrow table or, cell by
cell, into a pandas frame. The ways that read cell by cell get fewer rows; all times are per million.

  from_python.py library=libkivo_interop.so jvm= classpath= host= port= database= user= password=
"""

import ctypes
import os
import statistics
import subprocess
import sys
from time import perf_counter

ROUNDS = 5
ROWS, FEW_ROWS = 1_000_000, 100_000
COLUMNS = """cast(n as int) as id, cast(n as bigint) * 1000003 as big, cast(n * 1.25 as double precision) as ratio,
 cast(n * 0.01 as numeric(12, 2)) as price, cast('code' || mod(n, 1000) as varchar(12)) as code,
 cast('sixty characters of text that ends with a number: ' || (1000000000 + n) as varchar(60)) as note,
 cast('2000-01-01' as date) + cast(mod(n, 9000) as int) as dayon,
 cast('2000-01-01 00:00:00' as timestamp) + n * interval '61' second as happened"""


def uri(at):
    return "postgresql://{user}:{password}@{host}:{port}/{database}".format(**at)


def jdbc_url(at):
    return "jdbc:postgresql://{host}:{port}/{database}".format(**at)


def kivo(at):
    import pyarrow

    library = ctypes.CDLL(at["library"])
    library.interop_start.restype = library.interop_stream.restype = ctypes.c_char_p
    library.interop_connect.restype = ctypes.c_void_p
    require(library.interop_start(at["jvm"].encode(), at["classpath"].encode()))
    account = (at["user"].encode(), at["password"].encode())
    connection = ctypes.c_void_p(library.interop_connect(jdbc_url(at).encode(), *account))

    def read(sql):
        stream = (ctypes.c_void_p * 5)()
        require(library.interop_stream(connection, sql.encode(), 65536, stream))
        return pyarrow.RecordBatchReader._import_from_c(ctypes.addressof(stream)).read_all().num_rows

    return read


def adbc(at):
    from adbc_driver_postgresql import dbapi

    connection = dbapi.connect(uri(at))

    def read(sql):
        with connection.cursor() as cursor:
            cursor.execute(sql)
            return cursor.fetch_arrow_table().num_rows

    return read


def connectorx(at):
    import connectorx as package

    return lambda sql: package.read_sql(uri(at), sql, return_type="arrow").num_rows


def jaydebeapi(at):
    import jaydebeapi as package
    import pandas

    connection = package.connect("org.postgresql.Driver", jdbc_url(at), [at["user"], at["password"]],
                                 at["classpath"].split(":"))

    def read(sql):
        with connection.cursor() as cursor:
            cursor.execute(sql)
            return len(pandas.DataFrame(cursor.fetchall()))

    return read


def jpype(at):
    import jpype as package
    import pandas

    package.startJVM(at["jvm"], classpath=at["classpath"].split(":"))
    connection = package.java.sql.DriverManager.getConnection(jdbc_url(at), at["user"], at["password"])
    connection.setAutoCommit(False)

    def read(sql):
        statement = connection.createStatement()
        statement.setFetchSize(1024)
        rows = statement.executeQuery(sql)
        cells = []
        while rows.next():
            cells.append((rows.getInt(1), rows.getLong(2), rows.getDouble(3), str(rows.getBigDecimal(4)),
                          str(rows.getString(5)), str(rows.getString(6)), str(rows.getDate(7)),
                          str(rows.getTimestamp(8))))
        statement.close()
        return len(pandas.DataFrame(cells))

    return read


WAYS = {"kivo": (kivo, "an Arrow stream of jdbcWrapper", ROWS),
        "adbc": (adbc, "ADBC's PostgreSQL driver", ROWS),
        "connectorx": (connectorx, "connectorx", ROWS),
        "jpype": (jpype, "JPype and pandas, cell by cell", FEW_ROWS),
        "jaydebeapi": (jaydebeapi, "jaydebeapi and pandas", FEW_ROWS)}


def require(error):
    if error is not None:
        sys.exit(error.decode())


def measure(way, at):
    """Prints the median seconds per million rows, of all and of this process's processor time, after a warm-up."""
    make, _, rows = WAYS[way]
    read = make(at)
    walls, processor = [], []
    for _ in range(ROUNDS + 1):
        start, before = perf_counter(), os.times()
        count = read(f"select * from rows_1m where id <= {rows}")
        after = os.times()
        if count != rows:
            sys.exit(f"{way} read {count} rows, not {rows}")
        walls.append((perf_counter() - start) * 1e6 / rows)
        processor.append((after.user + after.system - before.user - before.system) * 1e6 / rows)
    print(statistics.median(walls[1:]), statistics.median(processor[1:]))


def compare(arguments):
    at = dict(word.split("=", 1) for word in arguments)
    environment = {**os.environ, "PGPASSWORD": at["password"]}
    sql = f"create table rows_1m as select {COLUMNS} from generate_series(1, {ROWS}) as numbers(n); analyze rows_1m"
    subprocess.run(["psql", "-q", "-h", at["host"], "-p", at["port"], "-U", at["user"], "-c", sql, at["database"]],
                   check=True, env=environment)
    first = None
    print("seconds per million rows          wall  processor  / this library")
    for way, (_, about, _) in WAYS.items():
        answer = subprocess.run([sys.executable, "-B", __file__, "way=" + way, *arguments], check=True,
                                stdout=subprocess.PIPE, text=True).stdout
        wall, processor = map(float, answer.split()[-2:])
        first = first or (wall, processor)
        print(f"{about:32} {wall:6.2f} {processor:10.2f}  {wall / first[0]:6.2f} ({processor / first[1]:.2f})",
              flush=True)


if __name__ == "__main__":
    if len(sys.argv) > 1 and sys.argv[1].startswith("way="):
        measure(sys.argv[1][len("way="):], dict(word.split("=", 1) for word in sys.argv[2:]))
    else:
        compare(sys.argv[1:])
