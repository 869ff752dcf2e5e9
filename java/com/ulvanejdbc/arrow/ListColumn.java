package com.ulvanejdbc.arrow;

import java.nio.ByteBuffer;
import java.sql.Array;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;

/** Arrays with one dimension. */
final class ListColumn extends Column {
  private final Column elements;
  private int[] ends = new int[1024];

  ListColumn(Column elements) {
    super("+l");
    this.elements = elements;
  }

  @Override
  void append(ResultSet rows, int column) throws SQLException {
    Array value = rows.getArray(column);
    if (value == null) {
      end(addInvalid());
      return;
    }
    try {
      for (Object element : (Object[]) value.getArray()) {
        if (element instanceof Object[]) throw new UnfitValueException(value, format);
        elements.append(element);
      }
    } finally {
      value.free();
    }
    end(addValid());
  }

  @Override
  void append(Object element) throws SQLException {
    throw new UnfitValueException(element, format);
  }

  private void end(int index) {
    if (index == ends.length) ends = Arrays.copyOf(ends, 2 * ends.length);
    ends[index] = elements.length();
  }

  private int endOf(int count) {
    return count == 0 ? 0 : ends[count - 1];
  }

  @Override
  List<Column> children() {
    return Collections.singletonList(elements);
  }

  @Override
  void clear() {
    super.clear();
    elements.clear();
  }

  @Override
  void cut(int rows) {
    super.cut(rows);
    elements.cut(endOf(length()));
  }

  @Override
  boolean isVariable() {
    return true;
  }

  @Override
  long variableBytes() {
    return (long) elements.length() * elements.fixedBytes() + elements.variableBytes();
  }

  @Override
  int fixedBytes() {
    return Integer.BYTES;
  }

  @Override
  int valueBytes() {
    return Slab.padded(Math.multiplyExact(length() + 1, Integer.BYTES));
  }

  @Override
  void writeValues(ByteBuffer memory, int start, int[] positions) {
    positions[1] = start;
    memory.position(start);
    memory.asIntBuffer().put(0).put(ends, 0, length());
  }
}
