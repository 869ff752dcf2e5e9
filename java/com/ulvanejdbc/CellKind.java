package com.ulvanejdbc;

import java.math.BigDecimal;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;

/** How a column's values become text. Chosen once per query, since the per-cell path must cost no more than the driver. */
enum CellKind {
  /** The driver's own text. */
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
      return hex(rows.getBytes(column));
    }
  },

  /** Whatever the cell at hand holds: bytes as such, all else as text. */
  ANY {
    @Override
    String read(ResultSet rows, int type, int column) throws SQLException {
      Object value = rows.getObject(column);
      return value instanceof byte[] ? hex((byte[]) value) : rows.getString(column);
    }
  };

  private static final char[] HEX_DIGITS = "0123456789abcdef".toCharArray();

  /** Codes under which two vendors' drivers report timestamps with a zone. */
  private static final int ORACLE_WITH_ZONE = -101;
  private static final int ORACLE_WITH_LOCAL_ZONE = -102;
  private static final int SQL_SERVER_WITH_OFFSET = -155;

  /** The text of the current row's value, or null for SQL NULL. */
  abstract String read(ResultSet rows, int type, int column) throws SQLException;

  static CellKind of(int type, String typeName, boolean anyTypeInAnyCell) {
    switch (type) {
      case Types.DATE:
      case Types.TIME:
      case Types.TIMESTAMP:
      case Types.TIME_WITH_TIMEZONE:
      case Types.TIMESTAMP_WITH_TIMEZONE:
      case ORACLE_WITH_ZONE:
      case ORACLE_WITH_LOCAL_ZONE:
      case SQL_SERVER_WITH_OFFSET:
        return TEMPORAL;
      case Types.BINARY:
      case Types.VARBINARY:
      case Types.LONGVARBINARY:
      case Types.BLOB:
        // Some drivers report this type as binary, yet its hyphenated form is what people and the database read.
        return "UUID".equalsIgnoreCase(typeName) ? TEXT : BINARY;
      default:
        if (anyTypeInAnyCell) return ANY;
        return type == Types.DECIMAL || type == Types.NUMERIC ? DECIMAL : TEXT;
    }
  }

  private static String hex(byte[] bytes) {
    if (bytes == null) return null;
    char[] digits = new char[bytes.length * 2];
    for (int index = 0; index < bytes.length; ++index) {
      digits[index * 2] = HEX_DIGITS[bytes[index] >> 4 & 0xF];
      digits[index * 2 + 1] = HEX_DIGITS[bytes[index] & 0xF];
    }
    return new String(digits);
  }
}
