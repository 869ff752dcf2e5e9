package com.ulvanejdbc.arrow;

import java.math.BigDecimal;
import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.util.function.IntFunction;

/** A field's values in native memory, in Arrow's layout. The memory belongs to the caller and is only read. */
final class ParameterField {
  /** How many buffers native code gives for a field; those that it does without are null. */
  static final int BUFFERS = 3;

  private static final int DEFAULT_DECIMAL_BITS = 128;

  final String format;

  /** The field of a list's elements; null for other types. */
  ParameterField elements;

  private final long length;
  private final long offset;
  private final ByteBuffer validity;
  private final ByteBuffer second;
  private final ByteBuffer third;

  ParameterField(String format, long length, long offset, ByteBuffer[] buffers, int firstBuffer) {
    this.format = format;
    this.length = length;
    this.offset = offset;
    validity = littleEndian(buffers[firstBuffer]);
    second = littleEndian(buffers[firstBuffer + 1]);
    third = littleEndian(buffers[firstBuffer + 2]);
  }

  private static ByteBuffer littleEndian(ByteBuffer buffer) {
    return buffer == null ? null : buffer.duplicate().order(ByteOrder.LITTLE_ENDIAN);
  }

  int length() {
    return Math.toIntExact(length);
  }

  /** For a type whose values cannot be bound. */
  SQLException unknown() {
    return new SQLFeatureNotSupportedException("values of Arrow's type \"" + format + "\" cannot be bound", "0A000");
  }

  boolean isList() {
    return format.startsWith("+l") || format.startsWith("+L");
  }

  boolean isNull(int row) {
    return format.equals("n") || validity != null && !bit(validity, at(row));
  }

  boolean truth(int row) {
    return bit(second, at(row));
  }

  byte int8(int row) {
    return second.get(at(row));
  }

  short int16(int row) {
    return second.getShort(at(row) * Short.BYTES);
  }

  int int32(int row) {
    return second.getInt(at(row) * Integer.BYTES);
  }

  long int64(int row) {
    return second.getLong(at(row) * Long.BYTES);
  }

  float float32(int row) {
    return second.getFloat(at(row) * Float.BYTES);
  }

  double float64(int row) {
    return second.getDouble(at(row) * Double.BYTES);
  }

  /** The format is "d:", precision, scale and, unless it is 128, the number of bits. */
  IntFunction<BigDecimal> decimals() {
    String[] numbers = format.substring(2).split(",");
    int scale = Integer.parseInt(numbers[1]);
    int bits = numbers.length > 2 ? Integer.parseInt(numbers[2]) : DEFAULT_DECIMAL_BITS;
    return row -> new BigDecimal(wholeNumber(row, bits / Byte.SIZE), scale);
  }

  /** A whole number of this many bytes, the low one first. */
  private BigInteger wholeNumber(int row, int width) {
    byte[] highFirst = new byte[width];
    int start = at(row) * width;
    for (int index = 0; index < width; ++index) highFirst[index] = second.get(start + width - 1 - index);
    return new BigInteger(highFirst);
  }

  byte[] fixedBytes(int row, int width) {
    return copied(second, at(row) * width, width);
  }

  byte[] bytes(int row) {
    int start = start(row);
    return copied(third, start, start(row + 1) - start);
  }

  String text(int row) {
    return new String(bytes(row), StandardCharsets.UTF_8);
  }

  /** Where a variable-size value begins. */
  int start(int row) {
    boolean isLarge = format.equals("U") || format.equals("Z") || format.equals("+L");
    return isLarge ? Math.toIntExact(int64(row)) : int32(row);
  }

  private int at(int row) {
    return Math.toIntExact(offset + row);
  }

  private static boolean bit(ByteBuffer bits, int index) {
    return (bits.get(index / Byte.SIZE) >> index % Byte.SIZE & 1) != 0;
  }

  private static byte[] copied(ByteBuffer source, int start, int length) {
    byte[] bytes = new byte[length];
    // An empty column may come without a buffer.
    if (length == 0) return bytes;
    source.position(start);
    source.get(bytes);
    return bytes;
  }
}
