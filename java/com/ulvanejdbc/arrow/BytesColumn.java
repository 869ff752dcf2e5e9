package com.ulvanejdbc.arrow;

import com.ulvanejdbc.BlockCell;
import com.ulvanejdbc.BlockText;
import com.ulvanejdbc.ResultColumn;
import java.nio.ByteBuffer;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;

/** Text in UTF-8, or bytes. Offsets have 32 bits, which is enough because the size of a batch is limited. */
final class BytesColumn extends Column {
  private static final int MAX_VALUE_BYTES = 1 << 29;

  /** Appends a value to the target. @return false for SQL NULL */
  private interface Reader {
    boolean read(ResultSet rows, int column, BlockText target) throws SQLException;
  }

  /** Appends an element of an array, which is not null. */
  private interface ElementReader {
    void read(Object element, BlockText target);
  }

  private final BlockText content = new BlockText(true, MAX_VALUE_BYTES);
  private final Reader reader;
  private final ElementReader elementReader;
  private int[] ends = new int[1024];

  private BytesColumn(String format, Reader reader, ElementReader elementReader) {
    super(format);
    this.reader = reader;
    this.elementReader = elementReader;
  }

  static BytesColumn ofText(ResultColumn column) throws SQLException {
    BlockCell cell = column.text();
    return new BytesColumn("u", (rows, number, target) -> cell.pack(target), null);
  }

  static BytesColumn ofBytes(boolean takesAnyType) {
    if (takesAnyType)
      return new BytesColumn("z", (rows, number, target) -> putBytes(Mixed.bytes(rows, number), target), null);
    return new BytesColumn("z", (rows, number, target) -> putBytes(rows.getBytes(number), target), null);
  }

  static BytesColumn ofTexts() {
    return new BytesColumn("u", null, (element, target) -> target.put(element.toString()));
  }

  static BytesColumn ofByteArrays() {
    return new BytesColumn("z", null, (element, target) -> putBytes((byte[]) element, target));
  }

  private static boolean putBytes(byte[] value, BlockText target) {
    if (value == null) return false;
    target.put(value, 0, value.length);
    return true;
  }

  @Override
  void append(ResultSet rows, int column) throws SQLException {
    content.beginRow();
    end(reader.read(rows, column, content));
  }

  @Override
  void append(Object element) {
    content.beginRow();
    if (element != null) elementReader.read(element, content);
    end(element != null);
  }

  private void end(boolean isValue) {
    int index = isValue ? addValid() : addInvalid();
    if (index == ends.length) ends = Arrays.copyOf(ends, 2 * ends.length);
    ends[index] = content.length();
  }

  @Override
  void clear() {
    super.clear();
    content.clear();
  }

  @Override
  boolean isVariable() {
    return true;
  }

  @Override
  long variableBytes() {
    return content.length();
  }

  @Override
  int fixedBytes() {
    return Integer.BYTES;
  }

  private int contentBytes() {
    return length() == 0 ? 0 : ends[length() - 1];
  }

  private int offsetBytes() {
    return Slab.padded(Math.multiplyExact(length() + 1, Integer.BYTES));
  }

  @Override
  int valueBytes() {
    return Math.addExact(offsetBytes(), Slab.padded(contentBytes()));
  }

  @Override
  void writeValues(ByteBuffer memory, int start, int[] positions) {
    positions[1] = start;
    memory.position(start);
    memory.asIntBuffer().put(0).put(ends, 0, length());
    positions[2] = start + offsetBytes();
    memory.position(positions[2]);
    memory.put(content.bytes(), 0, contentBytes());
  }
}
