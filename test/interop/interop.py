"""Arrow streams in the hands of those who use them, pyarrow, DuckDB and polars: columns of every type.

  interop.py LIBRARY NAME=VALUE...

LIBRARY is the ADBC driver. The values are those that tools/postgres prints.
"""

import datetime
import decimal
import sys
import unittest

import duckdb
import polars
from adbc_driver_manager import dbapi

ROWS = 50000

# {numbers} gives the column x, {bytes} is a value of two bytes.
QUERY = """
select cast(x as bigint) as id,
  case when mod(x, 7) = 0 then null else cast(mod(x, 1000) as int) end as n,
  cast(x as double precision) / 4 as d,
  cast(x * 1.25 as decimal(12, 2)) as amount,
  case when mod(x, 5) = 0 then null else 'n\u00e4me ' || x end as name,
  mod(x, 2) = 0 as flag,
  cast(date '2000-01-01' + mod(x, 9999) * interval '1' day as date) as day_of,
  cast(time '12:34:56' as time(0)) as time_of,
  timestamp '2024-02-29 12:34:56.789' + x * interval '1' second as moment,
  cast(timestamp with time zone '2024-02-29 12:34:56+00:00' as timestamp with time zone) as zoned,
  {bytes} as raw,
  case when mod(x, 3) = 0 then null else array[cast(x as int), null] end as many
from {numbers}
"""

ARROW_TYPES = {
    "id": "int64", "n": "int32", "d": "double", "amount": "decimal128(12, 2)", "name": "string", "flag": "bool",
    "day_of": "date32[day]", "time_of": "time64[us]", "moment": "timestamp[us]", "zoned": "timestamp[us, tz=UTC]",
    "raw": "binary", "many": "list<item: int32>",
}
DUCKDB_TYPES = ["BIGINT", "INTEGER", "DOUBLE", "DECIMAL(12,2)", "VARCHAR", "BOOLEAN", "DATE", "TIME", "TIMESTAMP",
                "TIMESTAMP WITH TIME ZONE", "BLOB", "INTEGER[]"]
POLARS_TYPES = [polars.Int64, polars.Int32, polars.Float64, polars.Decimal(12, 2), polars.String, polars.Boolean,
                polars.Date, polars.Time, polars.Datetime("us"), polars.Datetime("us", "UTC"), polars.Binary,
                polars.List(polars.Int32)]


class Database:
    def __init__(self, library, numbers, raw, uri, jar, **account):
        self.query = QUERY.format(numbers=numbers, bytes=raw)
        self.connection = dbapi.connect(driver=library, autocommit=True, db_kwargs={
            "uri": uri, "adbc.jdbc.driver_path": "/usr/share/java/" + jar, **account})

    def cursor(self, sql=None, max_rows=1000):
        cursor = self.connection.cursor(adbc_stmt_kwargs={"adbc.jdbc.batch_rows": str(max_rows)})
        cursor.execute(sql or self.query)
        return cursor


class Consumers(unittest.TestCase):
    """Once for each database."""

    database = None

    def read(self, *arguments, **options):
        """@return a cursor with rows to read"""
        cursor = self.database.cursor(*arguments, **options)
        self.addCleanup(cursor.close)
        return cursor

    def test_pyarrow_imports_the_stream(self):
        table = self.read().fetch_record_batch().read_all()
        table.validate(full=True)
        self.assertEqual(table.num_rows, ROWS)
        self.assertEqual({field.name.lower(): str(field.type) for field in table.schema}, ARROW_TYPES)
        self.assertIn(table.schema.field(0).metadata[b"KIVO:type_name"].lower(), (b"bigint", b"int8"))

    def test_duckdb_queries_the_stream(self):
        duck = duckdb.connect(config={"threads": 4})
        rows = self.read(max_rows=100).fetch_arrow()
        found = duck.execute("select count(*), sum(id), count(name), sum(amount), count(many) from rows").fetchone()
        total = ROWS * (ROWS + 1) // 2
        self.assertEqual(found, (ROWS, total, ROWS - ROWS // 5, decimal.Decimal(total) * 5 / 4, ROWS - ROWS // 3))
        rows = self.read().fetch_arrow()
        described = duck.execute("describe select * from rows").fetchall()
        self.assertEqual([row[1] for row in described], DUCKDB_TYPES)

    def test_polars_takes_the_stream(self):
        frame = polars.DataFrame(self.read().fetch_arrow())
        self.assertEqual(frame.dtypes, POLARS_TYPES)
        self.assertEqual(frame.to_arrow().to_pylist(), self.read().fetch_arrow_table().to_pylist())

    def test_values_are_those_of_the_database(self):
        row = self.read(self.database.query + " order by x").fetch_record_batch().read_next_batch().to_pylist()[0]
        moment = datetime.datetime(2024, 2, 29, 12, 34, 56)
        self.assertEqual(list(row.values()), [
            1, 1, 0.25, decimal.Decimal("1.25"), "n\u00e4me 1", False, datetime.date(2000, 1, 2), moment.time(),
            moment + datetime.timedelta(seconds=1.789), moment.replace(tzinfo=datetime.timezone.utc), b"\x00\xff",
            [1, None]])

    def test_a_failure_has_its_sqlstate(self):
        reader = self.read(self.database.query.replace("/ 4", "/ (4000 - x)")).fetch_record_batch()
        with self.assertRaisesRegex(Exception, "22012"):
            reader.read_all()


def main():
    library, *server = sys.argv[1:]
    value = dict(line.split("=", 1) for line in server)

    class OnH2(Consumers):
        database = Database(library, f"system_range(1, {ROWS})", "x'00ff'", "jdbc:h2:mem:interop", "h2.jar")

    class OnPostgreSQL(Consumers):
        database = Database(library, f"generate_series(1, {ROWS}) as numbers(x)", "'\\x00ff'::bytea",
                            "jdbc:postgresql://{HOST}:{PORT}/{DATABASE}".format(**value), "postgresql.jar",
                            username=value["USER"], password=value["PASSWORD"])

    load = unittest.defaultTestLoader.loadTestsFromTestCase
    tests = unittest.TestSuite([load(OnH2), load(OnPostgreSQL)])
    sys.exit(not unittest.TextTestRunner(verbosity=2).run(tests).wasSuccessful())


if __name__ == "__main__":
    main()
