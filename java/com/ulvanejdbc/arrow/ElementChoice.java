package com.ulvanejdbc.arrow;

import java.util.HashMap;
import java.util.Locale;
import java.util.Map;
import java.util.function.Supplier;

/** Chooses the Arrow type of an array's elements by the name of the array's type, which is all that drivers say. */
final class ElementChoice {
  private static final Map<String, Supplier<Column>> COLUMNS = new HashMap<>();

  static {
    wholeNumber("s", Short.BYTES, "INT2", "SMALLINT");
    wholeNumber("i", Integer.BYTES, "INT4", "INTEGER");
    wholeNumber("l", Long.BYTES, "INT8", "BIGINT");
    add(() -> FixedColumn.ofElements("f", Float.BYTES, value -> Float.floatToRawIntBits((Float) value)), "FLOAT4");
    add(()
            -> FixedColumn.ofElements("g", Double.BYTES, value -> Double.doubleToRawLongBits((Double) value)),
        "FLOAT8", "DOUBLE PRECISION", "DOUBLE");
    add(() -> FixedColumn.ofElements("b", FixedColumn.BIT, value -> (Boolean) value ? 1 : 0), "BOOL", "BOOLEAN");
    add(BytesColumn::ofElements, "TEXT", "VARCHAR", "CHARACTER VARYING");
  }

  private ElementChoice() {}

  private static void wholeNumber(String format, int width, String... names) {
    add(() -> FixedColumn.ofElements(format, width, value -> ((Number) value).longValue()), names);
  }

  private static void add(Supplier<Column> column, String... names) {
    for (String name : names) COLUMNS.put(name, column);
  }

  /** @return null if the elements have no Arrow type */
  static Column listOf(String typeName) {
    String name = typeName.toUpperCase(Locale.ROOT);
    if (name.startsWith("_")) name = name.substring(1);
    // The element type of an array of arrays is itself an array, which has no row here.
    if (name.endsWith(" ARRAY")) name = name.substring(0, name.lastIndexOf(" ARRAY")).replaceAll("\\(\\d+\\)$", "");
    Supplier<Column> elements = COLUMNS.get(name);
    return elements == null ? null : new ListColumn(elements.get());
  }
}
