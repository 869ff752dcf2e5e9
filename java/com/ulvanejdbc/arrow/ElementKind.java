package com.ulvanejdbc.arrow;

/** Element types of which drivers can create arrays, by a name that all of them know. */
enum ElementKind {
  TRUTH("b", "boolean", ParameterField::truth),
  INT16("s", "smallint", (field, row) -> (int) field.int16(row)),
  INT32("i", "integer", ParameterField::int32),
  INT64("l", "bigint", ParameterField::int64),
  FLOAT64("g", "float", ParameterField::float64),
  TEXT("u", "varchar", ParameterField::text),
  LARGE_TEXT("U", "varchar", ParameterField::text);

  private interface Reader {
    Object read(ParameterField field, int row);
  }

  final String sqlName;
  private final String format;
  private final Reader reader;

  ElementKind(String format, String sqlName, Reader reader) {
    this.format = format;
    this.sqlName = sqlName;
    this.reader = reader;
  }

  /** Null if there is none. */
  static ElementKind of(ParameterField elements) {
    for (ElementKind kind : values()) {
      if (kind.format.equals(elements.format)) return kind;
    }
    return null;
  }

  Object value(ParameterField elements, int row) {
    return elements.isNull(row) ? null : reader.read(elements, row);
  }
}
