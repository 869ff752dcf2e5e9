"""Who reads and writes: the worker with its many ways, kivosql, and a Java program."""

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
        fields = self.ask("ways").split("\t")
        for number, (kind, name, about, java) in enumerate(zip(*(fields[at::4] for at in range(4)))):
            self.ways[kind].append(Way(name, about, lambda number=number: self.connect(number), number, java == "1"))

    def ask(self, *words):
        print(*words, file=self.process.stdin, flush=True)
        answer = self.process.stdout.readline() or "error: the worker ended"
        if answer.startswith("error"):
            sys.exit(f"bench: {words}: {answer}")
        return answer.rstrip("\n")

    def connect(self, number):
        self.ask("connect", number)
        return lambda work: self.run(number, work)

    def run(self, number, work):
        figures = map(float, self.ask("run", number, work.rows, work.table).split())
        return dict(zip(("wall", "processor", "first_row", "cells", "bytes"), figures))

    def peak_megabytes(self):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:")) / 1024

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()


def load(command, work):
    """A program that loads a CSV file, from its start to its end. The last word of its command is the table."""
    start = perf_counter()
    subprocess.run([*command, work.table], check=True, stdout=subprocess.DEVNULL)
    return {"wall": perf_counter() - start}


def loaders(target, csv):
    java = os.path.join(os.path.dirname(target["jvm"]), "..", "..", "bin", "java")
    program = [java, "-cp", target["classpath"], "bench.PureJava", target["url"] + "?reWriteBatchedInserts=true",
               target["user"], csv]
    kivosql = [target["kivosql"], "--jvm", target["jvm"], "--class-path", target["classpath"], "--url", target["url"],
               "--user", target["user"], "load", csv]
    return [Way("java-load", "a Java program, prepared, the driver's best setting",
                lambda: lambda work: load(program, work)),
            Way("kivosql-load", "kivosql load", lambda: lambda work: load(kivosql, work))]
