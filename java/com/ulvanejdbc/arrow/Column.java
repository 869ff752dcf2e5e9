package com.ulvanejdbc.arrow;

import java.nio.ByteBuffer;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;

/** The values of one column in one batch. They are gathered in the heap, then copied into a slab in Arrow's layout. */
abstract class Column {
  /** The position of a buffer that the column does not have. */
  static final int NONE = -1;

  private static final int FIRST_ROWS = 1024;

  /** The type in Arrow's notation. */
  final String format;

  private long[] valid = new long[FIRST_ROWS / Long.SIZE];
  private int length;
  private int nullCount;

  Column(String format) {
    this.format = format;
  }

  /** Appends the current row's value. */
  abstract void append(ResultSet rows, int column) throws SQLException;

  /** Appends an element of an array. */
  abstract void append(Object element) throws SQLException;

  /** Whether values differ in size. */
  boolean isVariable() {
    return false;
  }

  /** How many bytes the values take besides {@link #fixedBytes}. */
  long variableBytes() {
    return 0;
  }

  /** How many bytes each value takes at least. */
  abstract int fixedBytes();

  /** The fields within this one. */
  List<Column> children() {
    return Collections.emptyList();
  }

  final int length() {
    return length;
  }

  final int nullCount() {
    return nullCount;
  }

  void clear() {
    length = 0;
    nullCount = 0;
  }

  /** Drops the values from this row on. */
  void cut(int rows) {
    while (length > rows) {
      --length;
      if (!isValid(length)) --nullCount;
    }
  }

  /** Copies the values into a slab. @param positions where each buffer begins in it; {@link #NONE} for those missing */
  final Slab write(int[] positions) {
    Arrays.fill(positions, NONE);
    int validitySize = nullCount == 0 ? 0 : Slab.padded((length + 7) / 8);
    Slab slab = Slab.take(Math.addExact(validitySize, valueBytes()));
    ByteBuffer memory = slab.memory();
    if (nullCount > 0) {
      positions[0] = 0;
      memory.position(0);
      memory.asLongBuffer().put(valid, 0, (length + Long.SIZE - 1) / Long.SIZE);
    }
    writeValues(memory, validitySize, positions);
    return slab;
  }

  /** The padded size of all buffers besides the validity bits. */
  abstract int valueBytes();

  /** Writes these buffers, the first at {@code start}, and records their positions from index 1 on. */
  abstract void writeValues(ByteBuffer memory, int start, int[] positions);

  /** Counts a value that is not null. @return its index */
  final int addValid() {
    reserve();
    valid[length / Long.SIZE] |= 1L << length;
    return length++;
  }

  final int addInvalid() {
    reserve();
    valid[length / Long.SIZE] &= ~(1L << length);
    ++nullCount;
    return length++;
  }

  private void reserve() {
    if (length == valid.length * Long.SIZE) valid = Arrays.copyOf(valid, 2 * valid.length);
  }

  private boolean isValid(int index) {
    return (valid[index / Long.SIZE] >> index & 1) != 0;
  }
}
