package com.ulvanejdbc.arrow;

import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;

/** A field's values in native memory, in Arrow's layout. The memory belongs to the caller and is only read. */
final class ParameterField {
  /** How many buffers native code gives for a field; those that it does without are null. */
  static final int BUFFERS = 3;

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

  /** A whole number of this many bytes, the low one first. */
  BigInteger wholeNumber(int row, int width) {
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
