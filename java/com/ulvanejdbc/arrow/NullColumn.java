package com.ulvanejdbc.arrow;

import java.nio.ByteBuffer;
import java.sql.ResultSet;

/** A column whose type is NULL: it has no values. */
final class NullColumn extends Column {
  NullColumn() {
    super("n");
  }

  @Override
  void append(ResultSet rows, int column) {
    addInvalid();
  }

  @Override
  void append(Object element) {
    addInvalid();
  }

  @Override
  int fixedBytes() {
    return 1;
  }

  @Override
  int valueBytes() {
    return 0;
  }

  @Override
  void writeValues(ByteBuffer memory, int start, int[] positions) {}
}
