package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.time.LocalDateTime;
import java.util.Calendar;
import java.util.Date;
import java.util.GregorianCalendar;
import java.util.TimeZone;

/** Dates and times as text in UTC, from what a driver gives without the VM's time zone or calendar. */
final class TemporalCell {
  private static final Calendar UTC = gregorianUtc();

  /** A driver's binary form: the value's text, or null when the bytes are text already. */
  interface BinaryForm {
    String toText(byte[] value, int jdbcType);
  }

  private TemporalCell() {}

  /** From the driver's own text. */
  static String ofText(ResultSet rows, int jdbcType, int column) throws SQLException {
    return fromText(rows.getString(column), rows, jdbcType, column);
  }

  /** By the type of each cell: a column of dates may hold text, points in time and bytes. */
  static String ofAnyType(ResultSet rows, int jdbcType, int column) throws SQLException {
    Object value = rows.getObject(column);
    if (value instanceof byte[]) return Digits.hex((byte[]) value);
    // SQLite's driver would read a number with a fraction, a Julian day, in the VM's zone.
    if (value instanceof Double) return UtcText.ofJulianDay((Double) value);
    return fromText(value == null ? null : value.toString(), rows, jdbcType, column);
  }

  /**
   * From the server's bytes. PostgreSQL's driver leaves only these as they are in binary transfer. MariaDB's getString
   * moves dates of 1582 and the hour that the VM's zone skips in spring.
   */
  static String ofBytes(ResultSet rows, int jdbcType, int column, BinaryForm binary) throws SQLException {
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
      String utc = ofCalendar(rows, jdbcType, column);
      return utc != null ? utc : text;
    } catch (SQLException neitherTextNorNumberOfADate) {
      return text;
    }
  }

  /** From a calendar in UTC: Derby's driver knows no java.time, and its getString depends on the VM's zone. */
  static String ofCalendar(ResultSet rows, int jdbcType, int column) throws SQLException {
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

  /** From java.time: the text of a timestamp by DuckDB's driver depends on the VM's time zone and calendar. */
  static String ofLocalDateTime(ResultSet rows, int jdbcType, int column) throws SQLException {
    if (jdbcType != Types.TIMESTAMP) return ofText(rows, jdbcType, column);
    LocalDateTime value = rows.getObject(column, LocalDateTime.class);
    if (value == null) return null;
    return UtcText.ofDayAndTime(value.toLocalDate().toEpochDay(), value.toLocalTime().toNanoOfDay());
  }

  private static Calendar gregorianUtc() {
    GregorianCalendar calendar = new GregorianCalendar(TimeZone.getTimeZone("UTC"));
    calendar.setGregorianChange(new Date(Long.MIN_VALUE));
    return calendar;
  }
}
