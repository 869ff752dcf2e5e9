package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ResultColumn;
import java.math.BigDecimal;
import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;

/** Decimal numbers of a precision and a scale, as whole numbers of 128 bits. */
final class DecimalColumn extends Column {
  static final int MAX_PRECISION = 38;

  private static final int MAX_LONG_DIGITS = 18;

  private final int precision;
  private final int scale;
  private final ResultColumn source;

  /** Two for each value, the low one first. */
  private long[] halves = new long[2048];

  /** Whether there is a type for numbers with this many digits. */
  static boolean holds(int precision, int scale) {
    return precision > 0 && precision <= MAX_PRECISION && scale >= 0 && scale <= precision;
  }

  /** @param source null for elements of an array */
  DecimalColumn(int precision, int scale, ResultColumn source) {
    super("d:" + precision + ',' + scale);
    this.precision = precision;
    this.scale = scale;
    this.source = source;
  }

  @Override
  void append(ResultSet rows, int column) throws SQLException {
    if (source.isServerText) {
      appendText(rows, column);
    } else {
      append(source.takesAnyType ? Mixed.decimal(rows, column, format) : rows.getBigDecimal(column));
    }
  }

  private void appendText(ResultSet rows, int column) throws SQLException {
    byte[] text = rows.getBytes(column);
    long digits = text == null ? NumberText.NONE : NumberText.decimal(text, scale);
    if (digits == NumberText.NONE) {
      append(text == null ? null : rows.getBigDecimal(column));
    } else {
      put(addValid(), digits, digits >> Long.SIZE - 1);
    }
  }

  @Override
  void append(Object element) throws SQLException {
    if (element == null) {
      put(addInvalid(), 0, 0);
      return;
    }
    BigDecimal scaled = scaled((BigDecimal) element);
    if (scaled.precision() <= MAX_LONG_DIGITS) {
      // Unlike unscaledValue(), this creates no BigInteger.
      long digits = scaled.scaleByPowerOfTen(scale).longValue();
      put(addValid(), digits, digits >> Long.SIZE - 1);
    } else {
      BigInteger digits = scaled.unscaledValue();
      put(addValid(), digits.longValue(), digits.shiftRight(Long.SIZE).longValue());
    }
  }

  private BigDecimal scaled(BigDecimal value) throws SQLException {
    try {
      BigDecimal scaled = value.setScale(scale);
      if (scaled.precision() <= precision) return scaled;
    } catch (ArithmeticException digitsWouldBeLost) {
      throw new UnfitValueException(value, format);
    }
    throw new UnfitValueException(value, format);
  }

  private void put(int index, long low, long high) {
    if (2 * index == halves.length) halves = Arrays.copyOf(halves, 2 * halves.length);
    halves[2 * index] = low;
    halves[2 * index + 1] = high;
  }

  @Override
  int fixedBytes() {
    return 2 * Long.BYTES;
  }

  @Override
  int valueBytes() {
    return Slab.padded(Math.multiplyExact(length(), 2 * Long.BYTES));
  }

  @Override
  void writeValues(ByteBuffer memory, int start, int[] positions) {
    positions[1] = start;
    memory.position(start);
    memory.asLongBuffer().put(halves, 0, 2 * length());
  }
}
