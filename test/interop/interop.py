"""Arrow streams of the library in the hands of those who use them: pyarrow, DuckDB and polars.

  interop.py LIBRARY JVM CLASSPATH NAME=VALUE...

The values are those that tools/postgres prints.

What each of them makes of a query's rows is compared with what the database itself says.
"""

import ctypes
import datetime
import decimal
import sys
import unittest

import duckdb
import polars
import pyarrow
import pyarrow.compute

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

SUMMARY = """
select count(*), sum(id), count(n), sum(n), sum(d), sum(amount), count(name), count(distinct name),
  sum(case when flag then 1 else 0 end), min(day_of), max(day_of), min(moment), max(moment), count(many)
from {source}
"""

FORMS = [int, int, int, int, float, decimal.Decimal, int, int, int, datetime.date.fromisoformat,
         datetime.date.fromisoformat, datetime.datetime.fromisoformat, datetime.datetime.fromisoformat, int]

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


def formed(values):
    return [form(str(value)) for form, value in zip(FORMS, values, strict=True)]


class CStream(ctypes.Structure):
    _fields_ = [(name, ctypes.c_void_p) for name in
                ("get_schema", "get_next", "get_last_error", "release", "private_data")]


class Library:
    def __init__(self, path, jvm, class_path):
        library = ctypes.CDLL(path)
        library.interop_connect.restype = ctypes.c_void_p
        for name in ("interop_start", "interop_row", "interop_stream"):
            getattr(library, name).restype = ctypes.c_char_p
        self.functions = library
        self.check(library.interop_start(jvm.encode(), class_path.encode()))

    @staticmethod
    def check(error):
        if error is not None:
            raise RuntimeError(error.decode())


class Capsule:
    """A stream by the name that Python's packages ask for."""

    def __init__(self, structure):
        self.structure = structure

    def __arrow_c_stream__(self, requested_schema=None):
        make = ctypes.pythonapi.PyCapsule_New
        make.restype = ctypes.py_object
        make.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
        return make(ctypes.addressof(self.structure), b"arrow_array_stream", None)


class Database:
    def __init__(self, library, numbers, raw, url, user="", password=""):
        self.functions = library.functions
        self.query = QUERY.format(numbers=numbers, bytes=raw)
        self.connection = ctypes.c_void_p(self.functions.interop_connect(url.encode(), user.encode(), password.encode()))
        if not self.connection:
            raise RuntimeError("no connection to " + url)

    def stream(self, sql=None, max_rows=1000):
        structure = CStream()
        Library.check(self.functions.interop_stream(self.connection, (sql or self.query).encode(), max_rows,
                                                    ctypes.byref(structure)))
        return Capsule(structure)

    def reader(self, sql=None, max_rows=1000):
        return pyarrow.RecordBatchReader.from_stream(self.stream(sql, max_rows))

    def summary(self):
        sql = SUMMARY.format(source="(" + self.query + ") as rows_of_it")
        return formed(self.functions.interop_row(self.connection, sql.encode()).decode().split("\t"))


class Consumers(unittest.TestCase):
    """Once for each database."""

    library = None
    database = None

    @staticmethod
    def of_table(table):
        number = pyarrow.compute
        column = {name.lower(): table.column(name) for name in table.column_names}
        present = {name: len(values) - values.null_count for name, values in column.items()}
        total = {name: number.sum(column[name]).as_py() for name in ("id", "n", "d", "amount", "flag")}
        first, last = ({name: function(column[name]).as_py() for name in ("day_of", "moment")}
                       for function in (number.min, number.max))
        return formed([table.num_rows, total["id"], present["n"], total["n"], total["d"], total["amount"],
                       present["name"], number.count_distinct(column["name"]).as_py(), total["flag"], first["day_of"],
                       last["day_of"], first["moment"], last["moment"], present["many"]])

    def test_pyarrow_imports_the_stream(self):
        database = self.database
        expected = database.summary()
        stream = database.stream()
        reader = pyarrow.RecordBatchReader._import_from_c(ctypes.addressof(stream.structure))
        table = reader.read_all()
        table.validate(full=True)
        self.assertEqual(self.of_table(table), expected)
        self.assertEqual({field.name.lower(): str(field.type) for field in table.schema}, ARROW_TYPES)
        self.assertIn(table.schema.field(0).metadata[b"KIVO:type_name"].lower(), (b"bigint", b"int8"))

    def test_duckdb_queries_the_stream_on_its_own_threads(self):
        before = Consumers.library.functions.interop_foreign_calls()
        database = self.database
        expected = database.summary()
        duck = duckdb.connect(config={"threads": 4})
        rows = database.stream(max_rows=100)
        self.assertEqual(formed(duck.execute(SUMMARY.format(source="rows")).fetchone()), expected)
        rows = database.stream()
        described = duck.execute("describe select * from rows").fetchall()
        self.assertEqual([row[1] for row in described], DUCKDB_TYPES)
        self.assertGreater(Consumers.library.functions.interop_foreign_calls(), before)

    def test_polars_takes_the_stream(self):
        database = self.database
        expected = database.summary()
        frame = polars.DataFrame(database.stream())
        frame.columns = [name.lower() for name in frame.columns]
        self.assertEqual(frame.dtypes, POLARS_TYPES)
        column = polars.col
        self.assertEqual(formed(frame.select(
            polars.len(), column("id").sum().alias("b"), column("n").count().alias("c"),
            column("n").sum().alias("e"), column("d").sum().alias("f"), column("amount").sum().alias("g"),
            column("name").count().alias("h"), column("name").drop_nulls().n_unique().alias("i"),
            column("flag").sum().alias("j"), column("day_of").min().alias("k"), column("day_of").max().alias("l"),
            column("moment").min().alias("m"), column("moment").max().alias("o"),
            column("many").count().alias("p")).row(0)), expected)

    def test_values_are_those_of_the_database(self):
        database = self.database
        row = database.reader(database.query + " order by x").read_next_batch().slice(0, 1).to_pylist()[0]
        moment = datetime.datetime(2024, 2, 29, 12, 34, 56)
        self.assertEqual(list(row.values()), [
            1, 1, 0.25, decimal.Decimal("1.25"), "n\u00e4me 1", False, datetime.date(2000, 1, 2), moment.time(),
            moment + datetime.timedelta(seconds=1.789), moment.replace(tzinfo=datetime.timezone.utc), b"\x00\xff",
            [1, None]])

    def test_a_failure_has_its_sqlstate(self):
        database = self.database
        reader = database.reader(database.query.replace("/ 4", "/ (4000 - x)"))
        with self.assertRaisesRegex(OSError, "22012"):
            reader.read_all()


def main():
    path, jvm, class_path, *server = sys.argv[1:]
    value = dict(line.split("=", 1) for line in server)
    Consumers.library = library = Library(path, jvm, class_path)

    class OnH2(Consumers):
        database = Database(library, f"system_range(1, {ROWS})", "x'00ff'", "jdbc:h2:mem:interop")

    class OnPostgreSQL(Consumers):
        database = Database(library, f"generate_series(1, {ROWS}) as numbers(x)", "'\\x00ff'::bytea",
                            "jdbc:postgresql://{HOST}:{PORT}/{DATABASE}".format(**value), value["USER"],
                            value["PASSWORD"])

    load = unittest.defaultTestLoader.loadTestsFromTestCase
    tests = unittest.TestSuite([load(OnH2), load(OnPostgreSQL)])
    sys.exit(not unittest.TextTestRunner(verbosity=2).run(tests).wasSuccessful())


if __name__ == "__main__":
    main()
