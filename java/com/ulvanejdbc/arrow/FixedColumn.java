package com.ulvanejdbc.arrow;

import java.nio.ByteBuffer;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;

/** Values that fit 64 bits: numbers, truth values, dates and times. */
final class FixedColumn extends Column {
  /** The width of truth values, in bytes. */
  static final int BIT = 0;

  /** Reads a column's value of the current row, as its bits; 0 for SQL NULL. */
  interface Reader {
    long read(ResultSet rows, int column) throws SQLException;
  }

  /** Makes the bits of an array's element. */
  interface Converter {
    long convert(Object element) throws SQLException;
  }

  private final int width;
  private final Reader reader;
  private final Converter converter;
  private final boolean unfitAsNull;
  private long[] values = new long[1024];

  private FixedColumn(String format, int width, Reader reader, Converter converter, boolean unfitAsNull) {
    super(format);
    this.width = width;
    this.reader = reader;
    this.converter = converter;
    this.unfitAsNull = unfitAsNull;
  }

  static FixedColumn ofRows(String format, int width, Reader reader) {
    return new FixedColumn(format, width, reader, null, false);
  }

  /** @param unfitAsNull whether a value that does not fit is null, not an error */
  static FixedColumn ofTimes(String format, int width, Reader reader, boolean unfitAsNull) {
    return new FixedColumn(format, width, reader, null, unfitAsNull);
  }

  static FixedColumn ofElements(String format, int width, Converter converter) {
    return new FixedColumn(format, width, null, converter, false);
  }

  /** @param unfitAsNull whether a value that does not fit is null, not an error */
  static FixedColumn ofTimeElements(String format, int width, Converter converter, boolean unfitAsNull) {
    return new FixedColumn(format, width, null, converter, unfitAsNull);
  }

  @Override
  void append(ResultSet rows, int column) throws SQLException {
    try {
      long value = reader.read(rows, column);
      boolean isNull = value == 0 && rows.wasNull();
      put(isNull ? addInvalid() : addValid(), value);
    } catch (UnfitValueException unfit) {
      putUnfit(unfit);
    }
  }

  @Override
  void append(Object element) throws SQLException {
    try {
      long value = element == null ? 0 : converter.convert(element);
      put(element == null ? addInvalid() : addValid(), value);
    } catch (UnfitValueException unfit) {
      putUnfit(unfit);
    }
  }

  private void putUnfit(UnfitValueException unfit) throws UnfitValueException {
    if (!unfitAsNull) throw unfit;
    put(addInvalid(), 0);
  }

  private void put(int index, long value) {
    if (index == values.length) values = Arrays.copyOf(values, 2 * values.length);
    values[index] = value;
  }

  @Override
  int fixedBytes() {
    return Math.max(width, 1);
  }

  @Override
  int valueBytes() {
    return Slab.padded(width == BIT ? (length() + 7) / 8 : Math.multiplyExact(length(), width));
  }

  @Override
  void writeValues(ByteBuffer memory, int start, int[] positions) {
    positions[1] = start;
    memory.position(start);
    switch (width) {
      case BIT:
        writeBits(memory);
        break;
      case Byte.BYTES:
        for (int index = 0; index < length(); ++index) memory.put((byte) values[index]);
        break;
      case Short.BYTES:
        for (int index = 0; index < length(); ++index) memory.putShort((short) values[index]);
        break;
      case Integer.BYTES:
        for (int index = 0; index < length(); ++index) memory.putInt((int) values[index]);
        break;
      default:
        memory.asLongBuffer().put(values, 0, length());
    }
  }

  private void writeBits(ByteBuffer memory) {
    for (int first = 0; first < length(); first += Byte.SIZE) {
      int bits = 0;
      int count = Math.min(Byte.SIZE, length() - first);
      for (int bit = 0; bit < count; ++bit) bits |= (int) values[first + bit] << bit;
      memory.put((byte) bits);
    }
  }
}
