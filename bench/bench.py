"""Reads and writes the same rows in every way that a native host has, side by side.

  bench.py postgresql|h2 KEY=VALUE...

  worker=            kivo_bench, the program whose ways are measured
  jvm= classpath= host= port= database= user=   how to reach the database; PGPASSWORD is the password
  kivosql=           the command-line program, to measure its loading as well
  parts=             any of: sizes dates write load memory; default: all
  readers= tables=   the names to measure; default: all
  rounds=            default: 5
  json= svg=         files for the results and for a picture of the 500 thousand rows
"""

import hashlib
import json
import os
import platform
import sys
import tempfile
from time import perf_counter

import report
from clients import Worker, loaders
from workloads import WORKLOADS, Work, fill

WARM_UPS = 3  # unmeasured rounds: a Java VM compiles what has run often
HEAP_MB = 3072  # H2 keeps its tables in the heap
MEMORY_HEAP_MB = 64
WRITTEN, LOADED = 100000, 500000


class Bench:
    def __init__(self, database, given):
        self.given = given
        self.database = database
        self.rounds = int(given.get("rounds", 5))
        url = ("jdbc:h2:mem:bench;DB_CLOSE_DELAY=-1;LAZY_QUERY_EXECUTION=1" if database == "h2" else
               "jdbc:postgresql://{host}:{port}/{database}".format(**given))
        password = os.environ["KIVO_PASSWORD"] = os.environ.get("PGPASSWORD", "")
        self.target = {**given, "url": url, "heap": HEAP_MB, "password": password}
        self.worker = Worker(self.target)
        machine = f"{os.cpu_count()} processors, {platform.platform()}, load {os.getloadavg()[0]:.2f} at the start"
        self.report = {"database": database, "machine": machine, "comparisons": [], "figures": []}

    def run(self):
        print(self.report["machine"])
        measures = {"write": self.measure_writing, "load": self.measure_loading, "memory": self.measure_memory}
        for part in ("sizes", "dates", *measures):
            if self.wants("parts", part):
                measures.get(part, self.measure_reading)(part)
                self.save()  # at once, since a later part may fail after half an hour
        report.print_aims(self.report)
        for comparison in self.report["comparisons"]:
            if comparison["title"] == "500 thousand rows" and "svg" in self.given:
                report.plot(self.report, comparison, self.given["svg"])

    def save(self):
        if "json" in self.given:
            with open(self.given["json"], "w", encoding="utf-8") as file:
                json.dump(self.report, file, indent=1)

    def wants(self, key, name):
        return key not in self.given or name in self.given[key].split(",")

    def filled(self, work):
        for sql in fill(self.database, work):
            self.worker.ask("execute", sql)
        return work

    def works(self, part):
        return [self.filled(work) for work in WORKLOADS[part] if self.wants("tables", work.table)]

    def ways(self, kind):
        return [way for way in self.worker.ways[kind] if way.on_h2 or self.database != "h2"]

    def readers(self):
        return [way for way in self.ways("reader") if self.wants("readers", way.name)]

    def compare(self, contestants):
        """Runs (way, work) pairs in turn, so that other load on the machine affects each of them."""
        series = [{"name": way.name, "about": way.about, "runs": []} for way, _ in contestants]
        runs = [(way.connect(), work) for way, work in contestants]
        for run, work in runs:
            for _ in range(WARM_UPS):
                run(work)
        machine = []
        for turn in range(self.rounds):
            machine.append(fixed_work())
            # Every round starts with another contestant, so that none always follows the same one.
            for at in (number % len(runs) for number in range(turn, turn + len(runs))):
                run, work = runs[at]
                series[at]["runs"].append(run(work))
        work = contestants[0][1]
        self.report["comparisons"].append(
            {"title": work.title, "rows": work.rows, "machine": machine, "series": series})
        report.print_comparison(self.database, self.report["comparisons"][-1])
        return series

    def measure_reading(self, part):
        for work in self.works(part):
            require_same_work(self.compare([(way, work) for way in self.readers()]))

    def compare_writers(self, title, ways, rows):
        contestants = []
        for way in ways:
            table = "written_by_" + way.name.replace("-", "_")
            self.worker.ask("execute", "drop table if exists " + table)
            self.worker.ask("execute", f"create table {table} (id int, note varchar(40), half double precision)")
            contestants.append((way, Work(title, table, rows)))
        self.compare(contestants)
        for _, work in contestants:
            self.require_rows(work.table, rows * (WARM_UPS + self.rounds))

    def require_rows(self, table, rows):
        counted = f"(select count(*) as counted from {table} having count(*) = {rows}) as one"
        wrapper = next(way for way in self.ways("reader") if way.name == "wrapper")
        if wrapper.connect()(Work("", counted, 0))["cells"] != 1:
            sys.exit(f"bench: {table} does not hold {rows} rows")

    def measure_writing(self, _):
        self.compare_writers("a batch of inserts", self.ways("writer"), WRITTEN)

    def measure_loading(self, _):
        # kivosql is another process, which cannot reach the H2 database of the worker.
        if self.database == "h2" or "kivosql" not in self.target:
            return
        with tempfile.NamedTemporaryFile("w", suffix=".csv") as file:
            file.write("id,note,half\n")
            file.writelines(f"{row},note number {row},{row / 2}\n" for row in range(LOADED))
            file.flush()
            self.compare_writers("loading a CSV file", loaders(self.target, file.name), LOADED)

    def measure_memory(self, _):
        if self.database == "h2":  # its tables are in the heap that would be measured
            return
        print()
        works = self.works("sizes")
        for way in self.readers():
            if way.name.endswith("-auto"):
                continue
            for work in works:
                with Worker(self.target, heap=MEMORY_HEAP_MB) as worker:
                    worker.connect(way.worker_number)(work)
                    title, value = "peak memory, " + work.title, worker.peak_megabytes()
                    self.report["figures"].append({"title": title, "name": way.name, "value": value})
                    print(f"  {title:34} {way.name:18} {value:10.4g} MB", flush=True)


def fixed_work():
    """Seconds of a fixed piece of arithmetic, about 20 ms: their spread shows how steady the machine was."""
    start = perf_counter()
    hashlib.pbkdf2_hmac("sha256", b"", b"", 40000)
    return perf_counter() - start


def require_same_work(series):
    """A ratio between different work would say nothing. Those that read typed values count no bytes of text."""
    seen = {one["name"]: (one["runs"][-1]["cells"], one["runs"][-1]["bytes"]) for one in series}
    if len({cells for cells, _ in seen.values()}) != 1 or len({size for _, size in seen.values() if size > 0}) > 1:
        sys.exit(f"bench: the readers saw different cells and bytes: {seen}")


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in ("postgresql", "h2") or not all("=" in word for word in sys.argv[2:]):
        sys.exit(__doc__)
    Bench(sys.argv[1], dict(word.split("=", 1) for word in sys.argv[2:])).run()
