"""Reads a table of PostgreSQL into an Arrow table, with this library and with the packages that Python programs use.

  from_python.py library=libkivo_interop.so jvm= classpath= host= port= database= user= password=
"""

import ctypes
import statistics
import subprocess
import sys
from time import perf_counter, process_time

import connectorx
import pyarrow
from adbc_driver_postgresql import dbapi

from workloads import EIGHT

ROUNDS = 5
ROWS = 1_000_000


def uri(at):
    return "postgresql://{user}:{password}@{host}:{port}/{database}".format(**at)


def kivo(at):
    library = ctypes.CDLL(at["library"])
    library.interop_start.restype = library.interop_stream.restype = ctypes.c_char_p
    library.interop_connect.restype = ctypes.c_void_p
    require(library.interop_start(at["jvm"].encode(), at["classpath"].encode()))
    url = "jdbc:postgresql://{host}:{port}/{database}".format(**at)
    account = (at["user"].encode(), at["password"].encode())
    connection = ctypes.c_void_p(library.interop_connect(url.encode(), *account))

    def read(sql):
        stream = (ctypes.c_void_p * 5)()
        require(library.interop_stream(connection, sql.encode(), 65536, stream))
        return pyarrow.RecordBatchReader._import_from_c(ctypes.addressof(stream)).read_all()

    return read


def adbc(at):
    connection = dbapi.connect(uri(at))

    def read(sql):
        with connection.cursor() as cursor:
            cursor.execute(sql)
            return cursor.fetch_arrow_table()

    return read


def require(error):
    if error is not None:
        sys.exit(error.decode())


def measure(read):
    """The median seconds, of the clock and of this process's processor time, after a warm-up."""
    walls, processor = [], []
    for _ in range(ROUNDS + 1):
        start, before = perf_counter(), process_time()
        count = read("select * from rows_1m").num_rows
        if count != ROWS:
            sys.exit(f"{count} rows were read, not {ROWS}")
        walls.append(perf_counter() - start)
        processor.append(process_time() - before)
    return statistics.median(walls[1:]), statistics.median(processor[1:])


def compare(at):
    sql = f"create table rows_1m as select {EIGHT} from generate_series(1, {ROWS}) as numbers(n); analyze rows_1m"
    subprocess.run(["psql", "-q", "-c", sql, uri(at)], check=True)
    ways = {"an Arrow stream of jdbcWrapper": kivo(at), "ADBC's PostgreSQL driver": adbc(at),
            "connectorx": lambda sql: connectorx.read_sql(uri(at), sql, return_type="arrow")}
    first = None
    print("seconds per million rows          wall  processor  / this library")
    for about, read in ways.items():
        wall, processor = measure(read)
        first = first or (wall, processor)
        print(f"{about:32} {wall:6.2f} {processor:10.2f}  {wall / first[0]:6.2f} ({processor / first[1]:.2f})",
              flush=True)


if __name__ == "__main__":
    compare(dict(word.split("=", 1) for word in sys.argv[1:]))
