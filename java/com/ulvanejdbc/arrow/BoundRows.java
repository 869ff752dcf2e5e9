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

  /** The row that the database refused, counted from 0; negative when none is known. */
  private int refused = -1;

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
    refused = -1;
    for (column = 0; column < columns.length; ++column) columns[column].bind(statement, place + column, row);
    column = -1;
  }

  void setRefused(int row) {
    refused = row;
  }

  /** The position of the value that could not be bound, or of the row that was refused; empty if there is none. */
  String place() {
    if (column >= 0) return "row " + (row + 1) + ", parameter " + (column + 1) + ": ";
    return refused < 0 ? "" : "row " + (refused + 1) + ": ";
  }
}
