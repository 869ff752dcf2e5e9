"""Columns of every type in the hands of pyarrow, DuckDB and polars."""

import datetime
import decimal

import duckdb
import polars

from databases import ROWS

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
  case when mod(x, 3) = 0 then null else array[cast(x as int), null] end as many,
  array[cast(timestamp with time zone '2024-02-29 12:34:56+00:00' as timestamp with time zone)] as instants,
  array[{bytes}] as raws
from {numbers} order by x
"""

# Of each column, to pyarrow and to DuckDB.
TYPES = [
    ("int64", "BIGINT"), ("int32", "INTEGER"), ("double", "DOUBLE"), ("decimal128(12, 2)", "DECIMAL(12,2)"),
    ("string", "VARCHAR"), ("bool", "BOOLEAN"), ("date32[day]", "DATE"), ("time64[us]", "TIME"),
    ("timestamp[us]", "TIMESTAMP"), ("timestamp[us, tz=UTC]", "TIMESTAMP WITH TIME ZONE"), ("binary", "BLOB"),
    ("list<item: int32>", "INTEGER[]"), ("list<item: timestamp[us, tz=UTC]>", "TIMESTAMP WITH TIME ZONE[]"),
    ("list<item: binary>", "BLOB[]"),
]
MOMENT = datetime.datetime(2024, 2, 29, 12, 34, 56)
FIRST_ROW = [1, 1, 0.25, decimal.Decimal("1.25"), "n\u00e4me 1", False, datetime.date(2000, 1, 2), MOMENT.time(),
             MOMENT + datetime.timedelta(seconds=1.789), MOMENT.replace(tzinfo=datetime.timezone.utc), b"\x00\xff",
             [1, None], [MOMENT.replace(tzinfo=datetime.timezone.utc)], [b"\x00\xff"]]


class Typed:
    """For a database that has these types, and numbers and bytes to fill QUERY with."""

    def execute(self, max_rows=1000):
        self.cursor.adbc_statement.set_options(**{"adbc.jdbc.batch_rows": str(max_rows)})
        return self.cursor.execute(QUERY.format(**self.database.typed))

    def test_pyarrow_reads_every_type(self):
        table = self.execute().fetch_record_batch().read_all()
        table.validate(full=True)
        self.assertEqual([str(field.type) for field in table.schema], [types[0] for types in TYPES])
        self.assertIn(table.schema.field(0).metadata[b"KIVO:type_name"].lower(), (b"bigint", b"int8"))
        self.assertEqual(table.num_rows, ROWS)
        self.assertEqual(list(table.slice(0, 1).to_pylist()[0].values()), FIRST_ROW)

    def test_duckdb_reads_every_type_on_its_own_threads(self):
        duck = duckdb.connect(config={"threads": 4})
        rows = self.execute(max_rows=100).fetch_arrow()
        found = duck.execute("select count(*), sum(id), count(name), sum(amount), count(many) from rows").fetchone()
        total = ROWS * (ROWS + 1) // 2
        self.assertEqual(found, (ROWS, total, ROWS - ROWS // 5, decimal.Decimal(total) * 5 / 4, ROWS - ROWS // 3))
        rows = self.execute().fetch_arrow()
        described = duck.execute("describe select * from rows").fetchall()
        self.assertEqual([row[1] for row in described], [types[1] for types in TYPES])

    def test_polars_reads_every_type(self):
        frame = polars.DataFrame(self.execute().fetch_arrow())
        self.assertEqual(frame.to_arrow().to_pylist(), self.execute().fetch_arrow_table().to_pylist())
