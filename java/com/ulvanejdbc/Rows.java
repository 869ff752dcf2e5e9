package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;

/** A query's rows, read forward one at a time. Columns are counted from 1, and stay known after the rows have ended. */
final class Rows {
  private final ResultSet rows;
  private final String[] labels;
  private final int[] types;
  private final CellKind[] kinds;

  /** How many may still be read; negative for no limit. Some drivers do not keep to the statement's own. */
  private int left;

  private boolean onRow;
  private boolean ended;
  private boolean cutShort;

  /**
   * Reads all there is to know about the columns at once, so that a cell asks the driver for its value alone.
   *
   * @param maxRows how many rows to read at most; 0 is no limit
   */
  Rows(ResultSet rows, boolean anyTypeInAnyCell, int maxRows) throws SQLException {
    this.rows = rows;
    left = maxRows == 0 ? -1 : maxRows;
    ResultSetMetaData columns = rows.getMetaData();
    int count = columns.getColumnCount();
    labels = new String[count];
    types = new int[count];
    kinds = new CellKind[count];
    for (int index = 0; index < count; ++index) {
      labels[index] = columns.getColumnLabel(index + 1);
      types[index] = columns.getColumnType(index + 1);
      kinds[index] = CellKind.of(columns, index + 1, anyTypeInAnyCell);
    }
  }

  /** False once past the last row, however often it is called. */
  boolean next() throws SQLException {
    onRow = !ended && left != 0 && rows.next();
    if (left > 0) --left;
    ended = !onRow;
    return onRow;
  }

  /** The current row's value, or null for SQL NULL. */
  String text(int column) throws SQLException {
    int index = indexOf(column);
    if (!onRow) throw new MisuseException("no current row: the last call of next did not answer true");
    return kinds[index].text(rows, types[index], column);
  }

  int count() {
    return labels.length;
  }

  String label(int column) {
    return labels[indexOf(column)];
  }

  int type(int column) {
    return types[indexOf(column)];
  }

  CellKind kind(int column) {
    return kinds[indexOf(column)];
  }

  /** The driver's own, whose values are to be read as their kinds say. */
  ResultSet source() {
    return rows;
  }

  /** Whether they were closed before their end was seen. */
  boolean isCutShort() {
    return cutShort;
  }

  void close() throws SQLException {
    cutShort = cutShort || !ended;
    onRow = false;
    ended = true;
    rows.close();
  }

  private int indexOf(int column) {
    if (column >= 1 && column <= labels.length) return column - 1;
    throw new MisuseException("no column " + column + ": the columns are 1 to " + labels.length);
  }
}
