package com.ulvanejdbc.arrow;

import java.nio.ByteBuffer;
import java.sql.Array;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/** Arrays with one dimension. */
final class ListColumn extends Column {
  /**
   * What stands between the brackets of an array's text, before which PostgreSQL may write its bounds, and one of its
   * elements, which may be quoted.
   */
  private static final Pattern CONTENT = Pattern.compile("(?:\\[[^=]*=|[^\\[{]*)[\\[{]([^\\[{]*)[\\]}]");
  private static final Pattern QUOTED = Pattern.compile("[^'\"]*['\"](.*)['\"]");

  /** Reads the elements of the current row's array; null for SQL NULL. */
  private interface Reader {
    Object[] read(ResultSet rows, int column) throws SQLException;
  }

  private final Column elements;
  private final Reader reader;
  private int[] ends = new int[1024];

  private ListColumn(Column elements, Reader reader) {
    super("+l");
    this.elements = elements;
    this.reader = reader;
  }

  static ListColumn ofObjects(Column elements) {
    return new ListColumn(elements, ListColumn::objects);
  }

  /** Of elements whose text has no commas and no brackets. */
  static ListColumn ofTexts(Column elements) {
    return new ListColumn(elements, ListColumn::texts);
  }

  @Override
  void append(ResultSet rows, int column) throws SQLException {
    Object[] values = reader.read(rows, column);
    if (values == null) {
      end(addInvalid());
      return;
    }
    for (Object element : values) {
      if (element instanceof Object[]) throw new UnfitValueException(rows.getString(column), format);
      elements.append(element);
    }
    end(addValid());
  }

  private static Object[] objects(ResultSet rows, int column) throws SQLException {
    Array value = rows.getArray(column);
    if (value == null) return null;
    try {
      return (Object[]) value.getArray();
    } finally {
      value.free();
    }
  }

  private static Object[] texts(ResultSet rows, int column) throws SQLException {
    String text = rows.getString(column);
    if (text == null) return null;
    Matcher content = CONTENT.matcher(text);
    if (!content.matches()) throw new UnfitValueException(text, "+l");
    if (content.group(1).trim().isEmpty()) return new Object[0];
    return Stream.of(content.group(1).split(",")).map(ListColumn::element).toArray();
  }

  private static String element(String text) {
    String trimmed = text.trim();
    if (trimmed.equalsIgnoreCase("null")) return null;
    Matcher quoted = QUOTED.matcher(trimmed);
    return quoted.matches() ? quoted.group(1) : trimmed;
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
