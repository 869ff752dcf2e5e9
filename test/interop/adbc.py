"""The ADBC driver in the hands of those who use it: Python's driver manager, pandas, polars and DuckDB, on six databases.

  adbc.py LIBRARY JAVA POSTGRES MARIADB

POSTGRES and MARIADB are files with what tools/postgres and tools/mariadb print.
"""

import datetime
import decimal
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import adbc_driver_manager
import duckdb
import pandas
import polars
import pyarrow
from adbc_driver_manager import dbapi

from databases import OPENS, databases, ignite_cluster, jars
from typed import Typed

ROWS = 3000

TYPES = pyarrow.schema([("id", pyarrow.int64()), ("n", pyarrow.int32()), ("d", pyarrow.float64()),
                        ("amount", pyarrow.decimal128(12, 2)), ("name", pyarrow.string()), ("day_of", pyarrow.date32()),
                        ("moment", pyarrow.timestamp("us")), ("raw", pyarrow.binary())])


def rows(count=ROWS, start=0):
    moment = datetime.datetime(2024, 3, 10, 2, 30)  # a moment that New York does not have
    made = [{"id": x, "n": None if x % 7 == 0 else x % 1000, "d": x / 4, "amount": decimal.Decimal(x * 5) / 4,
             "name": None if x % 5 == 0 else f"n\u00e4me {x} \U0001f600", "day_of": (moment + datetime.timedelta(x)).date(),
             "moment": moment + datetime.timedelta(hours=x, microseconds=x), "raw": b"\x00" + bytes([x % 256])}
            for x in range(start, start + count)]
    return pyarrow.Table.from_pylist(made, TYPES)


class Clients(unittest.TestCase):
    """Once for each database."""

    library = None
    database = None

    def connect(self, **options):
        made = dbapi.connect(driver=self.library, db_kwargs=self.database.options,
                             autocommit=not self.database.has_transactions, **options)
        self.addCleanup(made.close)
        return made

    def setUp(self):
        self.connection = self.connect()
        self.cursor = self.connection.cursor()
        self.addCleanup(self.cursor.close)
        # For decimal numbers whose precision the database does not say.
        self.cursor.adbc_statement.set_options(**{"adbc.jdbc.decimals": "decimal128", "adbc.jdbc.decimal_scale": "2"})

    def quoted(self, name):
        return f"`{name}`" if self.database.name == "MariaDB" else f'"{name}"'

    def create(self, name):
        of = self.database
        columns = ["id bigint primary key", "n int", f"d {of.double}", "amount decimal(12, 2)", f"name {of.text}",
                   "day_of date", f"moment {of.timestamp}", f"raw {of.binary}"]
        quoted = ", ".join(self.quoted(column.split()[0]) + column[column.index(" "):] for column in columns)
        table = self.quoted(name)
        self.cursor.execute(f"drop table if exists {table}")
        self.cursor.execute(f"create table {table} ({quoted})")
        return table

    def stored(self, table):
        return self.tuples(self.cursor.execute(f"select * from {table} order by 1").fetch_arrow_table())

    @staticmethod
    def tuples(table):
        return [tuple(row.values()) for row in table.to_pylist()]

    def test_rows_come_back_as_they_were_ingested(self):
        table = self.create("typed")
        expected = rows()
        reader = expected.to_reader(max_chunksize=700)
        self.assertEqual(self.cursor.adbc_ingest("typed", reader, mode="append"), ROWS)
        self.assertEqual(self.stored(table), self.tuples(expected))

    def test_dbapi_binds_parameters(self):
        table = self.create("bound")
        few = self.tuples(rows(20))
        self.cursor.executemany(f"insert into {table} values (?, ?, ?, ?, ?, ?, ?, ?)", few)
        self.assertIn(self.cursor.rowcount, (20, -1))
        name, n, moment, key = map(self.quoted, ("name", "n", "moment", "id"))
        self.cursor.execute(f"select {name}, {n}, {moment} from {table} where {key} = ?", (11,))
        self.assertEqual([column[0] for column in self.cursor.description], ["name", "n", "moment"])
        self.assertEqual(self.cursor.fetchall(), [(few[11][4], few[11][1], few[11][6])])
        self.cursor.execute(f"select count(*) from {table} where {key} >= ? and {key} < ?", (5, 15))
        self.assertEqual(self.cursor.fetchone(), (10,))

    def test_objects_and_schema_name_the_columns(self):
        self.create("described")
        self.finish()
        found = self.connection.adbc_get_objects(depth="all").read_all().to_pylist()
        columns = [column["column_name"] for catalog in found for schema in catalog["catalog_db_schemas"]
                   for table in schema["db_schema_tables"] if table["table_name"] == "described"
                   for column in table["table_columns"]]
        self.assertEqual(columns, TYPES.names)
        self.assertEqual(self.connection.adbc_get_table_schema("described").names, TYPES.names)
        self.assertEqual(len(self.connection.adbc_get_info()), 7)

    def finish(self):
        if self.database.has_transactions:
            self.connection.commit()

    def test_a_missing_table_is_an_error_with_its_sqlstate(self):
        with self.assertRaises(adbc_driver_manager.Error) as caught:
            self.cursor.execute("select * from no_such_table").fetchall()
        if self.database.missing_table:
            self.assertIn(caught.exception.sqlstate, self.database.missing_table)

    def test_pandas_and_polars_and_duckdb_read_queries(self):
        table = self.create("read_by_others")
        expected = rows(200)
        self.cursor.adbc_ingest("read_by_others", expected, mode="append")
        self.finish()
        query = f"select * from {table} order by 1"
        frame = pandas.read_sql(query, self.connection)
        self.assertEqual(frame["name"].isna().sum(), 40)
        self.assertEqual(int(frame["id"].sum()), sum(range(200)))
        frame = polars.read_database(query, self.connection)
        self.assertEqual(frame["moment"].to_list(), expected["moment"].to_pylist())
        reader = self.cursor.execute(query).fetch_record_batch()
        total = duckdb.connect().execute("select count(*), sum(id), sum(amount) from reader").fetchone()
        self.assertEqual(total, (200, sum(range(200)), sum(expected["amount"].to_pylist())))


class Transactions(Clients):
    def test_rollback_undoes_and_commit_keeps(self):
        table = self.create("kept")
        self.connection.commit()
        self.cursor.adbc_ingest("kept", rows(3), mode="append")
        self.connection.rollback()
        self.assertEqual(self.stored(table), [])
        self.cursor.execute(f"insert into {table} ({self.quoted('id')}) values (1)")
        self.connection.commit()
        self.connection.rollback()
        self.assertEqual(len(self.stored(table)), 1)

    def test_a_missing_table_leaves_the_transaction_as_it_is(self):
        table = self.create("still_open")
        with self.assertRaises(adbc_driver_manager.Error):
            self.connection.adbc_get_table_schema("no_such_table")
        self.assertEqual(self.stored(table), [])

    def test_ingestion_has_four_modes(self):
        table = self.quoted("modes")
        self.cursor.execute(f"drop table if exists {table}")
        steps = [("append", None), ("create", 5), ("create", None), ("append", 10), ("replace", 5),
                 ("create_append", 10)]
        for mode, count in steps:
            self.connection.commit()
            if count is None:
                with self.assertRaises(adbc_driver_manager.Error):
                    self.cursor.adbc_ingest("modes", rows(5), mode=mode)
                self.connection.rollback()
            else:
                self.cursor.adbc_ingest("modes", rows(5), mode=mode)
                self.assertEqual(len(self.stored(table)), count, mode)
        self.assertEqual(self.stored(table)[::2], self.tuples(rows(5)))

    def test_a_temporary_table_is_the_connections_own(self):
        self.cursor.adbc_ingest("passing", rows(4), mode="create", temporary=True)
        self.assertEqual(len(self.stored(self.quoted("passing"))), 4)
        other = self.connect()
        with other.cursor() as cursor, self.assertRaises(adbc_driver_manager.Error):
            cursor.execute(f"select * from {self.quoted('passing')}").fetchall()

    def test_a_table_that_was_replaced_is_read_as_it_is_now(self):
        for step in range(8):
            expected = rows(3).select(["id", "n" if step % 2 else "name"])
            self.cursor.adbc_ingest("replaced", expected, mode="replace")
            self.assertEqual(self.stored(self.quoted("replaced")), self.tuples(expected))

    def test_pandas_and_polars_write_tables(self):
        frame = pandas.DataFrame({"id": [1, 2], "name": ["x", None]})
        self.assertEqual(frame.to_sql("from_pandas", self.connection, if_exists="replace", index=False), 2)
        frame = polars.DataFrame({"id": [1, 2, 3], "name": ["x", None, "z"]}, {"id": int, "name": polars.Categorical})
        self.assertEqual(frame.write_database("from_polars", self.connection, engine="adbc",
                                              if_table_exists="replace"), 3)
        self.connection.commit()
        for name, count in (("from_pandas", 2), ("from_polars", 3)):
            self.assertEqual([row[0] for row in self.stored(self.quoted(name))], list(range(1, count + 1)))


class Cancelling(Transactions):
    def test_a_query_is_cancelled_from_another_thread(self):
        cursor = self.connection.cursor()
        self.addCleanup(cursor.close)
        done = threading.Event()

        def cancel():
            while not done.wait(0.2):
                cursor.adbc_cancel()

        canceller = threading.Thread(target=cancel)
        canceller.start()
        started = time.monotonic()
        try:
            with self.assertRaises(adbc_driver_manager.Error) as caught:
                cursor.execute(self.database.endless).fetchall()
        finally:
            done.set()
            canceller.join()
        self.assertLess(time.monotonic() - started, 60)
        self.assertEqual(caught.exception.status_code, adbc_driver_manager.AdbcStatusCode.CANCELLED)


class Returning:
    """Where an insert can return rows."""

    def test_rows_of_an_insert_are_limited_and_end_with_the_transaction(self):
        table = self.create("returned")
        self.connection.commit()
        self.cursor.adbc_statement.set_options(**{"adbc.jdbc.max_rows": "2", "adbc.jdbc.batch_rows": "1"})
        key = self.quoted("id")
        insert = f"insert into {table} ({key}) values ({{}}), ({{}}), ({{}}) returning {key}"
        self.assertEqual(self.cursor.execute(insert.format(1, 2, 3)).fetchall(), [(1,), (2,)])
        reader = self.cursor.execute(insert.format(4, 5, 6)).fetch_record_batch()
        self.assertEqual(reader.read_next_batch().num_rows, 1)
        self.connection.commit()
        with self.assertRaises((adbc_driver_manager.Error, pyarrow.ArrowException, OSError)):
            reader.read_all()
        self.cursor.adbc_statement.set_options(**{"adbc.jdbc.max_rows": "0"})
        self.assertEqual(len(self.stored(table)), 6)


# Begins a script with what connects to a database.
CONNECT = """
import datetime, sys
from adbc_driver_manager import dbapi
def connect(uri, jar):
    return dbapi.connect(driver=sys.argv[1], db_kwargs={"uri": uri, "adbc.jdbc.driver_path": jar}, autocommit=True)
"""


class Processes(unittest.TestCase):
    """What takes a process of its own."""

    library = None
    found = None

    def run_python(self, script, *arguments, interrupt=False, **environment):
        child = subprocess.Popen([sys.executable, "-B", "-c", script, self.library, *arguments],
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment or None)
        if interrupt:
            self.assertEqual(child.stdout.readline(), "running\n")
            time.sleep(1)
            child.send_signal(signal.SIGINT)
        output, errors = child.communicate(timeout=120)
        self.assertEqual(child.returncode, 0, errors)
        return output

    def test_ctrl_c_ends_the_query_and_not_the_process(self):
        output = self.run_python(CONNECT + """
with connect("jdbc:h2:mem:x", "/usr/share/java/h2.jar") as connection:
    cursor = connection.cursor()
    print("running", flush=True)
    try:
        cursor.execute("select count(*) from system_range(1, 100000) a, system_range(1, 100000) b, "
                       "system_range(1, 100000) c").fetchall()
    except dbapi.OperationalError as cancelled:
        print(cancelled.sqlstate)
        print(cursor.execute("select 'still here'").fetchone()[0])
    cursor.close()
""", interrupt=True)
        self.assertEqual(output, "57014\nstill here\n")

    def test_two_versions_of_a_driver_live_side_by_side(self):
        output = self.run_python(CONNECT + """
open_ones = [connect("jdbc:h2:mem:same", jar) for jar in sys.argv[2:]]
for connection in open_ones:
    with connection.cursor() as cursor:
        print(cursor.execute("select h2version()").fetchone()[0])
    connection.close()
""", "/usr/share/java/h2.jar", self.found["h2"])
        self.assertEqual(output, "2.1.214\n1.4.197\n")

    def test_a_java_vm_of_another_package_is_used_as_it_is(self):
        output = self.run_python(CONNECT + """
import jpype
jpype.startJVM("-Duser.timezone=America/New_York")
debian = "/usr/share/java/"
for uri, jar in (("jdbc:h2:mem:x", debian + "h2.jar"), ("jdbc:hsqldb:mem:x", debian + "hsqldb.jar"),
                 ("jdbc:derby:memory:x;create=true", debian + "derby.jar"), ("jdbc:duckdb:", sys.argv[2])):
    connection = connect(uri, jar)
    with connection.cursor() as cursor:
        cursor.execute("create table t (d date, t time, m timestamp)")
        gap = datetime.datetime(2024, 3, 10, 2, 30)
        cursor.executemany("insert into t values (?, ?, ?)", [(gap.date(), gap.time(), gap)])
        print(cursor.execute("select * from t").fetchone() == (gap.date(), gap.time(), gap))
    connection.close()
print(jpype.JClass("java.lang.System").getProperty("user.timezone"))
""", self.found["duckdb_jdbc"])
        self.assertEqual(output, "True\nTrue\nTrue\nTrue\nAmerica/New_York\n")

    def test_the_page_does_what_it_says(self):
        page = (pathlib.Path(__file__).parents[2] / "docs" / "adbc.md").read_text()
        blocks = {kind: re.findall(f"^```{kind}\n(.*?)^```", page, re.S | re.M) for kind in ("python", "toml")}
        drivers = pathlib.Path(self.library).parents[1] / "share" / "adbc" / "drivers"
        with tempfile.TemporaryDirectory() as profiles:
            (pathlib.Path(profiles) / "shop.toml").write_text("".join(blocks["toml"]))
            self.run_python("\n".join(blocks["python"]), ADBC_DRIVER_PATH=str(drivers), ADBC_PROFILE_PATH=profiles,
                            SHOP_PASSWORD="", PATH=os.environ["PATH"])


def values(path):
    return dict(line.split("=", 1) for line in pathlib.Path(path).read_text().splitlines())


def main():
    library, java, postgres, mariadb = sys.argv[1:]
    Clients.library = Processes.library = library
    Processes.found = found = jars()
    # The first database object starts the Java VM.
    with ignite_cluster(java, found) as port:
        tests = unittest.TestSuite()
        load = unittest.defaultTestLoader.loadTestsFromTestCase
        for database in databases(found, values(postgres), values(mariadb), port):
            database.options["adbc.jdbc.jvm_options"] = " ".join(OPENS)
            kind = (Cancelling if database.endless else Transactions) if database.has_transactions else Clients
            mixed = [mixin for mixin, has in ((Returning, database.returns_rows), (Typed, database.typed)) if has]
            tests.addTest(load(type("On" + database.name, (*mixed, kind), {"database": database})))
        tests.addTest(load(Processes))
        worked = unittest.TextTestRunner(verbosity=2).run(tests).wasSuccessful()
    sys.exit(not worked)


if __name__ == "__main__":
    main()
