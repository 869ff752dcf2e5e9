"""Who reads and writes: the worker with its many ways, JPype, kivosql, and a Java program."""

import json
import os
import subprocess
import sys
from dataclasses import dataclass
from time import perf_counter
from typing import Callable


@dataclass
class Way:
    name: str
    about: str
    connect: Callable  # gives a function that does a piece of work and says what it measured
    worker_number: int = None  # None in a process of its own, whose processor time is unknown
    on_h2: bool = False


class Worker:
    """A process of kivo_bench, which answers requests."""

    def __init__(self, target, **changes):
        words = [f"{key}={value}" for key, value in {**target, **changes}.items() if key != "password"]
        self.process = subprocess.Popen([target["worker"], *words], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True)
        self.ways = {"reader": [], "writer": []}
        for number, one in enumerate(self.ask("ways")["ways"]):
            self.ways[one["kind"]].append(
                Way(one["name"], one["about"], lambda number=number: self.connect(number), number, one["java"]))

    def ask(self, what, **members):
        self.process.stdin.write(json.dumps({"do": what, **members}) + "\n")
        self.process.stdin.flush()
        answer = json.loads(self.process.stdout.readline() or '{"error": "the worker ended"}')
        if "error" in answer:
            sys.exit(f"bench: {what}: {answer['error']}")
        return answer

    def connect(self, number):
        self.ask("connect", way=number)
        return lambda work: self.ask("run", way=number, table=work.table, rows=work.rows)

    def peak_megabytes(self):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:")) / 1024

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()


def kivosql(target, *words):
    return [target["kivosql"], "--jvm", target["jvm"], "--class-path", target["classpath"], "--url", target["url"],
            "--user", target["user"], *words]


def read_kivosql(target, work):
    """The whole program, from its start to its end. No cell of the data here needs quotes."""
    start = perf_counter()
    command = kivosql(target, "--format", "csv", "query", "select * from " + work.table)
    with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
        process.stdout.readline()
        first = perf_counter() - start
        cells = size = 0
        while part := process.stdout.read(1 << 16):
            separators = part.count(b",") + part.count(b"\n")
            cells += separators
            size += len(part) - separators - part.count(b"\r")
    return {"wall": perf_counter() - start, "first_row": first, "cells": cells, "bytes": size}


def load(command, work):
    """A program that loads a CSV file, from its start to its end. The last word of its command is the table."""
    start = perf_counter()
    subprocess.run([*command, work.table], check=True, stdout=subprocess.DEVNULL)
    return {"wall": perf_counter() - start}


def process_readers(target):
    if "kivosql" not in target:
        return []
    return [Way("kivosql", "kivosql to CSV, the whole program", lambda: lambda work: read_kivosql(target, work))]


def loaders(target, csv):
    java = os.path.join(os.path.dirname(target["jvm"]), "..", "..", "bin", "java")
    program = [java, "-cp", target["classpath"], "bench.PureJava", target["url"] + "?reWriteBatchedInserts=true",
               target["user"], csv]
    return [Way("java-load", "a Java program, prepared, the driver's best setting",
                lambda: lambda work: load(program, work)),
            Way("kivosql-load", "kivosql load", lambda: lambda work: load(kivosql(target, "load", csv), work))]
