package com.ulvanejdbc.arrow;

import java.math.BigDecimal;
import java.sql.ResultSet;
import java.sql.SQLException;

/** Reads columns whose cells may have any type, whatever was declared. A cell of another type does not fit. */
final class Mixed {
  /** Above this, a double cannot hold every whole number. */
  private static final long MAX_WHOLE_DOUBLE = 1L << 53;

  private Mixed() {}

  static FixedColumn.Reader wholeNumber(String format) {
    return (rows, column) -> {
      Object value = rows.getObject(column);
      if (value == null) return 0;
      if (value instanceof Integer || value instanceof Long) return ((Number) value).longValue();
      throw new UnfitValueException(shown(value), format);
    };
  }

  static FixedColumn.Reader truth(String format) {
    FixedColumn.Reader reader = wholeNumber(format);
    return (rows, column) -> {
      long value = reader.read(rows, column);
      if (value == 0 || value == 1) return value;
      throw new UnfitValueException(value, format);
    };
  }

  static FixedColumn.Reader decimal64(String format) {
    return (rows, column) -> {
      Object value = rows.getObject(column);
      if (value == null) return 0;
      boolean isExact = value instanceof Double
          || value instanceof Number && Math.abs(((Number) value).longValue()) <= MAX_WHOLE_DOUBLE;
      if (isExact) return Double.doubleToRawLongBits(((Number) value).doubleValue());
      throw new UnfitValueException(shown(value), format);
    };
  }

  static BigDecimal decimal(ResultSet rows, int column, String format) throws SQLException {
    Object value = rows.getObject(column);
    if (value == null) return null;
    if (value instanceof Integer || value instanceof Long || value instanceof Double && isFinite((Double) value)) {
      return new BigDecimal(value.toString());
    }
    throw new UnfitValueException(shown(value), format);
  }

  static byte[] bytes(ResultSet rows, int column) throws SQLException {
    Object value = rows.getObject(column);
    if (value == null || value instanceof byte[]) return (byte[]) value;
    throw new UnfitValueException(shown(value), "z");
  }

  private static boolean isFinite(double value) {
    return !Double.isNaN(value) && !Double.isInfinite(value);
  }

  private static String shown(Object value) {
    return value instanceof byte[] ? "of " + ((byte[]) value).length + " bytes" : value.toString();
  }
}
