package com.ulvanejdbc;

import java.math.BigDecimal;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Types;

/** How a column's values become text. Chosen once per query, so that a cell costs hardly more than the driver. */
enum CellKind {
  /** The driver's own text. A CLOB comes whole on every driver, and unlike its stream can be read twice. */
  TEXT {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      return rows.getString(column);
    }
  },

  /** All digits of a decimal number, where a driver may write an exponent. */
  DECIMAL {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      String text = rows.getString(column);
      if (text == null || text.indexOf('E') < 0) return text;
      return new BigDecimal(text).toPlainString();
    }
  },

  /** Dates and times, in UTC. */
  TEMPORAL {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      return datetime.getAsUtcString(rows, type, column);
    }
  },

  /** Bytes in lower-case hexadecimal digits. */
  BINARY {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      return Digits.hex(rows.getBytes(column));
    }
  },

  /** By the type of the cell at hand. A text or a whole number in an object is what the driver would put as text. */
  ANY {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      Object value = rows.getObject(column);
      if (value instanceof String || value instanceof Integer) return value.toString();
      return value instanceof byte[] ? Digits.hex((byte[]) value) : rows.getString(column);
    }
  };

  /** Codes under which two vendors' drivers report timestamps with a zone. */
  private static final int ORACLE_WITH_ZONE = -101;
  private static final int ORACLE_WITH_LOCAL_ZONE = -102;
  private static final int SQL_SERVER_WITH_OFFSET = -155;

  abstract String read(ResultSet rows, int type, int column) throws SQLException;

  /** The text of the current row's value, or null for SQL NULL. */
  final String text(ResultSet rows, int type, int column) throws SQLException {
    // This is the usual kind, and a test is cheaper than a virtual call.
    return this == TEXT ? rows.getString(column) : read(rows, type, column);
  }

  /** @param anyTypeInAnyCell whether the database lets values of any type into any column */
  static CellKind of(ResultSetMetaData columns, int column, boolean anyTypeInAnyCell) throws SQLException {
    CellKind kind = ofType(columns.getColumnType(column));
    // There a column is reported by its first value, as a number if that is NULL.
    if (anyTypeInAnyCell && kind != TEMPORAL) return ANY;
    // Some drivers report this type as binary, but its hyphenated form is what people and the database know.
    if (kind == BINARY && "UUID".equalsIgnoreCase(columns.getColumnTypeName(column))) return TEXT;
    if (kind == DECIMAL && isNeverInExponents(columns.getScale(column))) return TEXT;
    return kind;
  }

  /** The standard code for a vendor's own code of a timestamp with a zone; any other code as it is. */
  static int standardType(int type) {
    boolean isVendors = type == ORACLE_WITH_ZONE || type == ORACLE_WITH_LOCAL_ZONE || type == SQL_SERVER_WITH_OFFSET;
    return isVendors ? Types.TIMESTAMP_WITH_TIMEZONE : type;
  }

  private static CellKind ofType(int type) {
    switch (standardType(type)) {
      case Types.DATE:
      case Types.TIME:
      case Types.TIMESTAMP:
      case Types.TIME_WITH_TIMEZONE:
      case Types.TIMESTAMP_WITH_TIMEZONE:
        return TEMPORAL;
      case Types.BINARY:
      case Types.VARBINARY:
      case Types.LONGVARBINARY:
      case Types.BLOB:
        return BINARY;
      case Types.DECIMAL:
      case Types.NUMERIC:
        return DECIMAL;
      default:
        return TEXT;
    }
  }

  /** {@link BigDecimal#toString}, which drivers use, needs none below seven decimals; 0 may stand for any number. */
  private static boolean isNeverInExponents(int scale) {
    return scale > 0 && scale < 7;
  }
}
