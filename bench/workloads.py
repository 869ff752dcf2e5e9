"""The tables to read."""

from dataclasses import dataclass

EIGHT = """cast(n as int) as id, cast(n as bigint) * 1000003 as big, cast(n * 1.25 as double precision) as ratio,
 cast(n * 0.01 as numeric(12, 2)) as price, cast('code' || mod(n, 1000) as varchar(12)) as code,
 cast('sixty characters of text that ends with a number: ' || (1000000000 + n) as varchar(60)) as note,
 cast('2000-01-01' as date) + cast(mod(n, 9000) as int) as dayon,
 cast('2000-01-01 00:00:00' as timestamp) + n * interval '61' second as happened"""

DATES = """cast('2000-01-01' as date) + cast(mod(n, 9000) as int) as d1,
 cast('2000-01-01 00:00:00' as timestamp) + n * interval '61' second as t1"""


@dataclass
class Work:
    title: str
    table: str
    rows: int
    columns: str = ""  # one expression each, over the row number n


WORKLOADS = {"sizes": [Work("50 thousand rows", "rows_50k", 50000, EIGHT),
                       Work("500 thousand rows", "rows_500k", 500000, EIGHT),
                       Work("2 million rows", "rows_2m", 2000000, EIGHT)],
             "dates": [Work("dates and timestamps alone", "dates", 500000, DATES)]}


def fill(database, work):
    """Statements that create the table unless it exists."""
    numbers = (f"(select x as n from system_range(1, {work.rows})) as numbers" if database == "h2" else
               f"generate_series(1, {work.rows}) as numbers(n)")
    create = f"create table if not exists {work.table} as select {work.columns} from {numbers}"
    create = " ".join(create.split())  # one line for the worker
    return [create] if database == "h2" else [create, "analyze " + work.table]
