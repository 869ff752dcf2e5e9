package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.util.Calendar;
import java.util.Date;
import java.util.GregorianCalendar;
import java.util.TimeZone;

/** Where a driver gives a date or time value without having pushed it through the VM's time zone or calendar. */
enum TemporalSource {
  /** The driver's own text. */
  TEXT("") {
    @Override
    String read(ResultSet rows, int jdbcType, int column) throws SQLException {
      return fromText(rows.getString(column), rows, jdbcType, column);
    }
  },

  /** The type of each cell: a column of dates may hold text, points in time and bytes. */
  SQLITE("org.sqlite.") {
    @Override
    String read(ResultSet rows, int jdbcType, int column) throws SQLException {
      Object value = rows.getObject(column);
      if (value instanceof byte[]) return CellKind.hex((byte[]) value);
      // This driver would read a number with a fraction, a Julian day, in the VM's zone.
      if (value instanceof Double) return UtcText.ofJulianDay((Double) value);
      return fromText(value == null ? null : value.toString(), rows, jdbcType, column);
    }
  },

  /** The server's bytes: cheaper than a string, and the only form that this driver leaves alone in binary transfer. */
  POSTGRESQL("org.postgresql.") {
    @Override
    String read(ResultSet rows, int jdbcType, int column) throws SQLException {
      return fromBytes(rows, jdbcType, column, PostgresBinary::toText);
    }
  },

  /** The server's bytes: getString moves dates of 1582 and the hour that the VM's zone skips in spring. */
  MARIADB("org.mariadb.") {
    @Override
    String read(ResultSet rows, int jdbcType, int column) throws SQLException {
      return fromBytes(rows, jdbcType, column, MariaDbBinary::toText);
    }
  },

  /** A calendar of ours: this driver knows no java.time, and its getString goes by the VM's zone. */
  DERBY("org.apache.derby.") {
    @Override
    String read(ResultSet rows, int jdbcType, int column) throws SQLException {
      return fromCalendar(rows, jdbcType, column);
    }
  };

  private static final Calendar UTC = gregorianUtc();

  private static final ClassValue<TemporalSource> BY_CLASS = new ClassValue<TemporalSource>() {
    @Override
    protected TemporalSource computeValue(Class<?> rowsClass) {
      for (TemporalSource source : values()) {
        if (source != TEXT && rowsClass.getName().startsWith(source.packagePrefix)) return source;
      }
      return TEXT;
    }
  };

  /** A driver's binary form: the value's text, or null when the bytes are text already. */
  private interface BinaryForm {
    String toText(byte[] value, int jdbcType);
  }

  private final String packagePrefix;

  TemporalSource(String packagePrefix) {
    this.packagePrefix = packagePrefix;
  }

  static TemporalSource of(ResultSet rows) {
    return BY_CLASS.get(rows.getClass());
  }

  /** The value as text in UTC, or null for SQL NULL. */
  abstract String read(ResultSet rows, int jdbcType, int column) throws SQLException;

  private static String fromBytes(ResultSet rows, int jdbcType, int column, BinaryForm binary) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return null;
    String utc = binary.toText(value, jdbcType);
    if (utc == null) utc = UtcText.of(value);
    return utc != null ? utc : rows.getString(column);
  }

  private static String fromText(String text, ResultSet rows, int jdbcType, int column) {
    if (text == null) return null;
    byte[] digits = text.getBytes(StandardCharsets.ISO_8859_1);
    if (UtcText.lengthInForm(digits) == digits.length) return text;
    String utc = UtcText.of(digits);
    return utc != null ? utc : pointInTime(rows, jdbcType, column, text);
  }

  private static String pointInTime(ResultSet rows, int jdbcType, int column, String text) {
    try {
      String utc = fromCalendar(rows, jdbcType, column);
      return utc != null ? utc : text;
    } catch (SQLException neitherTextNorNumberOfADate) {
      return text;
    }
  }

  private static String fromCalendar(ResultSet rows, int jdbcType, int column) throws SQLException {
    // Drivers write into the calendar that they are given, so each call gets its own.
    Calendar calendar = (Calendar) UTC.clone();
    switch (jdbcType) {
      case Types.DATE:
        return UtcText.ofDate(rows.getDate(column, calendar));
      case Types.TIME:
      case Types.TIME_WITH_TIMEZONE:
        return UtcText.ofTime(rows.getTime(column, calendar));
      default:
        return UtcText.ofTimestamp(rows.getTimestamp(column, calendar));
    }
  }

  private static Calendar gregorianUtc() {
    GregorianCalendar calendar = new GregorianCalendar(TimeZone.getTimeZone("UTC"));
    calendar.setGregorianChange(new Date(Long.MIN_VALUE));
    return calendar;
  }
}
