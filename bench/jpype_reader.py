"""Reads queries through JPype: a query a line comes in, "cells bytes seconds-to-the-first-row" goes out."""

import sys
import time

import jpype

library, class_path, url, user, password = sys.argv[1:]
# Debian keeps JPype's own classes apart.
jpype.startJVM(library, "-Xmx512m", classpath=class_path.split(":") + ["/usr/share/java/org.jpype.jar"])
connection = jpype.java.sql.DriverManager.getConnection(url, user, password)
connection.setAutoCommit(False)
statement = connection.createStatement()
statement.setFetchSize(128)

for sql in sys.stdin:
    start = time.perf_counter()
    rows = statement.executeQuery(sql)
    columns = range(1, rows.getMetaData().getColumnCount() + 1)
    cells = size = first = 0
    while rows.next():
        first = first or time.perf_counter() - start
        for column in columns:
            text = rows.getString(column)
            cells += 1
            if text is not None:
                size += len(str(text))
    rows.close()
    print(cells, size, first, flush=True)
