package com.ulvanejdbc.arrow;

import java.sql.ParameterMetaData;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Types;

/** What a driver says of a parameter. Some say nothing, or know the types only of some statements. */
final class ParameterType {
  private static final String UNKNOWN = "n";

  private ParameterType() {}

  /** How many parameters a statement has; negative where the driver does not say. */
  static int count(PreparedStatement statement) {
    try {
      return statement.getParameterMetaData().getParameterCount();
    } catch (SQLException | RuntimeException unknown) {
      return -1;
    }
  }

  /** The Arrow format of the values that a parameter takes. */
  static String of(ParameterMetaData described, int place) {
    try {
      int type = described.getParameterType(place);
      boolean isDecimal = type == Types.DECIMAL || type == Types.NUMERIC;
      return isDecimal ? decimal(described.getPrecision(place), described.getScale(place)) : format(type);
    } catch (SQLException | RuntimeException unknown) {
      return UNKNOWN;
    }
  }

  static String nameOf(ParameterMetaData described, int place) {
    try {
      return String.valueOf(described.getParameterTypeName(place));
    } catch (SQLException | RuntimeException unknown) {
      return "";
    }
  }

  /** The code of the type; by the format of the bound values where the driver does not say. */
  static int codeOf(ParameterMetaData described, int place, String format) {
    boolean isText = format.equalsIgnoreCase("u");
    try {
      int type = described.getParameterType(place);
      // Text is bound as such, and never taken for the digits of bytes.
      return isText && isBinary(type) ? Types.VARCHAR : type;
    } catch (SQLException | RuntimeException unknown) {
      return codeOf(format);
    }
  }

  private static boolean isBinary(int type) {
    return type == Types.BINARY || type == Types.VARBINARY || type == Types.LONGVARBINARY || type == Types.BLOB;
  }

  private static String decimal(int precision, int scale) {
    return DecimalColumn.holds(precision, scale) ? "d:" + precision + ',' + scale : "u";
  }

  private static String format(int type) {
    switch (type) {
      case Types.BIT:
      case Types.BOOLEAN:
        return "b";
      case Types.TINYINT:
        return "c";
      case Types.SMALLINT:
        return "s";
      case Types.INTEGER:
        return "i";
      case Types.BIGINT:
        return "l";
      case Types.REAL:
        return "f";
      case Types.FLOAT:
      case Types.DOUBLE:
        return "g";
      case Types.DATE:
        return "tdD";
      case Types.TIME:
        return "ttu";
      case Types.TIMESTAMP:
        return "tsu:";
      case Types.TIMESTAMP_WITH_TIMEZONE:
        return "tsu:UTC";
      case Types.OTHER:
      case Types.NULL:
        return UNKNOWN;
      default:
        return isBinary(type) ? "z" : "u";
    }
  }

  private static int codeOf(String format) {
    switch (format.charAt(0)) {
      case 'b':
        return Types.BOOLEAN;
      case 'f':
      case 'g':
        return Types.DOUBLE;
      case 'd':
        return Types.DECIMAL;
      case 'z':
      case 'Z':
      case 'w':
        return Types.VARBINARY;
      case 't':
        return format.startsWith("td") ? Types.DATE : format.startsWith("tt") ? Types.TIME : Types.TIMESTAMP;
      case 'u':
      case 'U':
      case 'n':
        return Types.VARCHAR;
      default:
        return Types.BIGINT;
    }
  }
}
