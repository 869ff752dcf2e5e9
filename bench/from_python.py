"""Reads and writes a table of PostgreSQL from Python: the ADBC driver of this project beside what programs use instead.

  from_python.py library=libadbc_driver_jdbc.so jvm= classpath= driver= host= port= database= user= password=

driver is PostgreSQL's JDBC driver. JPype starts the Java VM, which the ADBC driver then uses.
"""

import resource
import statistics
import subprocess
import sys
from time import perf_counter, process_time

import adbc_driver_manager.dbapi
import adbc_driver_postgresql.dbapi
import connectorx
import jaydebeapi
import jpype
import pyarrow

from workloads import EIGHT

ROUNDS = 5
ROWS = 1_000_000
SLOW_ROWS = 100_000  # of ways that read cell by cell


def uri(at):
    return "postgresql://{user}:{password}@{host}:{port}/{database}".format(**at)


def jdbc_uri(at):
    return "jdbc:postgresql://{host}:{port}/{database}".format(**at)


def connect(at):
    options = {"uri": jdbc_uri(at), "username": at["user"], "password": at["password"],
               "adbc.jdbc.driver_path": at["driver"]}
    return adbc_driver_manager.dbapi.connect(driver=at["library"], db_kwargs=options, autocommit=True)


def by_adbc(connection):
    def read(sql):
        with connection.cursor() as cursor:
            return cursor.execute(sql).fetch_arrow_table().num_rows

    return read


def by_jaydebeapi(at):
    connection = jaydebeapi.connect("org.postgresql.Driver", jdbc_uri(at), [at["user"], at["password"]])

    def read(sql):
        with connection.cursor() as cursor:
            cursor.execute(sql)
            return len(cursor.fetchall())

    return read


def by_jpype(at):
    connection = jpype.java.sql.DriverManager.getConnection(jdbc_uri(at), at["user"], at["password"])

    def read(sql):
        cells = connection.createStatement().executeQuery(sql)
        getters = [cells.getInt, cells.getLong, cells.getDouble, cells.getBigDecimal, cells.getString, cells.getString,
                   cells.getDate, cells.getTimestamp]
        table = []
        while cells.next():
            table.append([getter(column) for column, getter in enumerate(getters, 1)])
        return len(table)

    return read


def measure(act):
    """The median seconds, of the clock and of this process's processor time, after a warm-up."""
    walls, processor = [], []
    for _ in range(ROUNDS + 1):
        start, before = perf_counter(), process_time()
        act()
        walls.append(perf_counter() - start)
        processor.append(process_time() - before)
    return statistics.median(walls[1:]), statistics.median(processor[1:])


def table(heading, ways):
    print(f"\n{heading:32}   wall  processor  / this driver")
    first = None
    for about, (act, rows) in ways.items():
        wall, processor = (seconds * ROWS / rows for seconds in measure(act))
        first = first or (wall, processor)
        print(f"{about:32} {wall:6.2f} {processor:10.2f}  {wall / first[0]:6.2f} ({processor / first[1]:.2f})",
              flush=True)


def reading(read, rows):
    def act():
        count = read(f"select * from rows_1m limit {rows}")
        if count != rows:
            sys.exit(f"{count} rows were read, not {rows}")

    return act, rows


def writing(at, connection):
    number = range(ROWS)
    rows = pyarrow.table({"id": pyarrow.array(number, pyarrow.int32()),
                          "note": [f"note number {each}" for each in number], "half": [each * 0.5 for each in number]})
    java = jpype.JClass("bench.PureJava")(jdbc_uri(at) + "?reWriteBatchedInserts=true", at["user"], at["password"], 0,
                                          False)
    with connection.cursor() as cursor:
        cursor.execute("create table written (id int, note varchar(40), half double precision)")

    def ingest():
        with connection.cursor() as cursor:
            cursor.execute("truncate written")
            cursor.adbc_ingest("written", rows, mode="append")

    def batch():
        with connection.cursor() as cursor:
            cursor.execute("truncate written")
        java.writePrepared("written", ROWS)

    return {"adbc_ingest": (ingest, ROWS), "pure Java's best batch": (batch, ROWS)}


def peak_megabytes(connection, times):
    """Memory of this process at its peak, after reading the rows so often, batch by batch."""
    with connection.cursor() as cursor:
        cursor.execute(f"select t.* from rows_1m t, generate_series(1, {times})")
        count = sum(batch.num_rows for batch in cursor.fetch_record_batch())
    if count != times * ROWS:
        sys.exit(f"{count} rows were read")
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def compare(at):
    sql = f"create table rows_1m as select {EIGHT} from generate_series(1, {ROWS}) as numbers(n); analyze rows_1m"
    subprocess.run(["psql", "-q", "-c", sql, uri(at)], check=True)
    jpype.startJVM(at["jvm"], "-Xmx768m", classpath=[at["classpath"], at["driver"]])
    connection = connect(at)
    first, more = peak_megabytes(connection, 1), peak_megabytes(connection, 4)
    print(f"peak memory in MB, of a million rows: {first:.0f}, of four million: {more:.0f}")
    postgresql = adbc_driver_postgresql.dbapi.connect(uri(at))
    table("seconds to read a million rows", {
        "this ADBC driver": reading(by_adbc(connection), ROWS),
        "ADBC's PostgreSQL driver": reading(by_adbc(postgresql), ROWS),
        "connectorx": reading(lambda sql: connectorx.read_sql(uri(at), sql, return_type="arrow").num_rows, ROWS),
        "JPype, cell by cell": reading(by_jpype(at), SLOW_ROWS),
        "jaydebeapi": reading(by_jaydebeapi(at), SLOW_ROWS)})
    postgresql.close()
    table("seconds to write a million rows", writing(at, connection))
    connection.close()


if __name__ == "__main__":
    compare(dict(word.split("=", 1) for word in sys.argv[1:]))
