package com.ulvanejdbc;

import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.util.HashMap;
import java.util.Iterator;
import java.util.Map;

/**
 * A database's column types for values in Arrow's formats. Keys are the formats of one letter, with those of large text
 * and bytes under the usual ones; "td" dates, "tt" times, "ts" timestamps, "tz" timestamps in UTC, each with "n" after
 * it where nanoseconds need another type; "d" decimals, with their precision and scale as %s; and "+" lists, with the
 * elements' type as %s. A type that is the empty text cannot be stored.
 */
final class ColumnTypes {
  private static final int DECIMAL_START = 2;
  private static final int TIME_UNIT = 2;
  private static final int ZONE_START = 4;

  /** Standard SQL. */
  private static final String[] STANDARD = {"b", "boolean", "c", "smallint", "C", "smallint", "s", "smallint", "S",
      "integer", "i", "integer", "I", "bigint", "l", "bigint", "L", "decimal(20)", "f", "real", "g", "double precision",
      "u", "varchar(4000)", "z", "blob", "d", "decimal(%s)", "td", "date", "tt", "time", "ts", "timestamp(6)", "tz",
      "timestamp(6) with time zone", "+", ""};

  private final Map<String, String> types = new HashMap<>();

  /** @param differing formats and types, in turn, that differ from the standard's */
  ColumnTypes(String... differing) {
    for (int index = 0; index < STANDARD.length; index += 2) types.put(STANDARD[index], STANDARD[index + 1]);
    for (int index = 0; index < differing.length; index += 2) types.put(differing[index], differing[index + 1]);
  }

  /** @param formats in pre-order; takes what belongs to one column */
  String next(Iterator<String> formats) throws SQLException {
    String format = formats.next();
    boolean isList = format.startsWith("+l") || format.startsWith("+L");
    String type = types.getOrDefault(isList ? "+" : key(format), "");
    String inner = isList ? next(formats) : format.startsWith("d:") ? digits(format) : "";
    if (type.isEmpty()) {
      throw new SQLFeatureNotSupportedException("values of Arrow's type \"" + format + "\" cannot be stored here");
    }
    return String.format(type, inner);
  }

  private String key(String format) {
    switch (format.charAt(0)) {
      case 'n':
      case 'u':
      case 'U':
        return "u";
      case 'z':
      case 'Z':
      case 'w':
        return "z";
      case 'v':
        return format.substring(1);
      case 'd':
        return "d";
      case 't':
        return timeKey(format);
      default:
        return format;
    }
  }

  private String timeKey(String format) {
    boolean hasZone = format.startsWith("ts") && format.length() > ZONE_START;
    String key = hasZone ? "tz" : format.substring(0, TIME_UNIT);
    boolean inNanos = format.length() > TIME_UNIT && format.charAt(TIME_UNIT) == 'n';
    return inNanos && types.containsKey(key + "n") ? key + "n" : key;
  }

  /** The precision and the scale, without the bits that may follow. */
  private static String digits(String format) {
    String[] numbers = format.substring(DECIMAL_START).split(",");
    return numbers[0] + ", " + numbers[1];
  }
}
