"""The vendors' own drivers in the hands of JdbcUtils and jdbcWrapper, against a port where nothing listens.

  drivers.py PROBE JVM COMPANION_JAR COMPATIBILITY_JAR

A driver that is used as it must be says itself that the connection was refused. What else happens is a row here, too.
"""

import pathlib
import socket
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "interop"))
from databases import jars

REFUSED = "refused"
NO_CLASS = "no DataSource of that name"
NO_DRIVER = "no driver for that URL"
NO_WORD = "not a word of this class"

# The word, the jar, and how JdbcUtils and jdbcWrapper end. A "+" stands for the compatibility jar.
ROWS = [
    ("oracle", "ojdbc8", REFUSED, REFUSED),
    ("mssql", "mssql-jdbc", REFUSED, NO_DRIVER),
    ("sqlserver", "mssql-jdbc", NO_WORD, REFUSED),
    ("db2", "jcc", REFUSED, REFUSED),
    ("teradata", "terajdbc", NO_CLASS, REFUSED),
    ("teradata", "terajdbc+", REFUSED, REFUSED),
    ("postgresql", "postgresql", REFUSED, REFUSED),
    ("postgresql", "postgresql-old", REFUSED, REFUSED),
]

SIGNS = {REFUSED: ("connection refused", "1 refused.", "no listener at host"),
         NO_CLASS: ("noclassdeffounderror",), NO_DRIVER: ("no driver found",), NO_WORD: ("unsupported database type",)}


def outcome(text):
    found = [name for name, signs in SIGNS.items() if any(sign in text.lower() for sign in signs)]
    return found[0] if len(found) == 1 else text


def closed_port():
    """Of a socket that is bound and does not listen, so that nobody else can."""
    held = socket.socket()
    held.bind(("127.0.0.1", 0))
    return held, held.getsockname()[1]


def main():
    probe, jvm, companion, compat = sys.argv[1:]
    found = jars(pathlib.Path(__file__).parent / "jars.txt")
    held, port = closed_port()
    SIGNS[REFUSED] += (f":{port} refused.",)
    wrong = 0
    print(f"{'word':12}{'driver':32}{'JdbcUtils':30}jdbcWrapper")
    for word, jar, *expected in ROWS:
        driver = found[jar.rstrip("+")]
        classes = [companion, driver] + [compat] * jar.endswith("+")
        run = subprocess.run([probe, jvm, ":".join(classes), word, str(port)], capture_output=True, text=True,
                             timeout=120, check=True)
        said = dict(line.split(": ", 1) for line in run.stdout.splitlines()
                    if line.startswith(("JdbcUtils: ", "jdbcWrapper: ")))
        # Java's own words of what JdbcUtils failed at are on standard error.
        utils = said["JdbcUtils"] if said["JdbcUtils"].startswith("unsupported") else run.stderr
        results = [outcome(utils), outcome(said["jdbcWrapper"])]
        print(f"{word:12}{pathlib.Path(driver).stem + '+' * jar.endswith('+'):32}{results[0]:30}{results[1]}", flush=True)
        wrong += results != expected
    held.close()
    if wrong:
        sys.exit(f"{wrong} of these are not what was expected")


if __name__ == "__main__":
    main()
