package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ParameterRows;
import java.sql.PreparedStatement;
import java.sql.SQLException;

/** Rows of parameters in Arrow's layout. */
final class BoundRows implements ParameterRows {
  private final ParameterColumn[] columns;
  private final int count;

  /** The row and the column of the value being bound, counted from 0; negative when none is. */
  private int row = -1;
  private int column = -1;

  BoundRows(ParameterColumn[] columns, int count) {
    this.columns = columns;
    this.count = count;
  }

  @Override
  public int count() {
    return count;
  }

  @Override
  public int width() {
    return columns.length;
  }

  @Override
  public void bind(int boundRow, PreparedStatement statement, int place) throws SQLException {
    row = boundRow;
    for (column = 0; column < columns.length; ++column) columns[column].bind(statement, place + column, row);
    column = -1;
  }

  /** The position of the value that could not be bound; empty if all could. */
  String place() {
    return column < 0 ? "" : "row " + (row + 1) + ", parameter " + (column + 1) + ": ";
  }
}
