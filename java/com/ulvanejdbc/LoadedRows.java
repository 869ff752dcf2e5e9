package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.sql.PreparedStatement;
import java.sql.SQLException;

/** Rows of text from native code, copied as a whole: a copy for each value would cost more. */
final class LoadedRows implements ParameterRows {
  private final LoadedColumn[] columns;
  private final int[] ends;
  private final byte[] text;

  LoadedRows(ByteBuffer ends, ByteBuffer text, LoadedColumn[] columns) {
    this.columns = columns;
    this.ends = new int[ends.remaining() / Integer.BYTES];
    ends.order(ByteOrder.nativeOrder()).asIntBuffer().get(this.ends);
    this.text = new byte[text.remaining()];
    text.get(this.text);
  }

  @Override
  public int count() {
    return ends.length / columns.length;
  }

  @Override
  public int width() {
    return columns.length;
  }

  @Override
  public void bind(int row, PreparedStatement statement, int place) throws SQLException {
    for (int column = 0; column < columns.length; ++column) {
      try {
        columns[column].bind(statement, place + column, value(row * columns.length + column));
      } catch (SQLException | RuntimeException refused) {
        throw new SQLException("column " + columns[column].name + ": " + refused.getMessage(), refused);
      }
    }
  }

  /** Null for null. */
  private String value(int cell) {
    int start = cell == 0 ? 0 : end(ends[cell - 1]);
    int end = ends[cell];
    return end < 0 ? null : new String(text, start, end - start, StandardCharsets.UTF_8);
  }

  private static int end(int mark) {
    return mark < 0 ? ~mark : mark;
  }
}
