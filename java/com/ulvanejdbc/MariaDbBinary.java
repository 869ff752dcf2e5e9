package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.sql.Types;

/**
 * MariaDB's binary form of dates and times, which its server-prepared statements answer in: fields, low byte first,
 * from the largest on, cut short where the rest is zero.
 */
final class MariaDbBinary {
  private static final int DATE_LENGTH = 4;
  private static final int DATE_TIME_LENGTH = 11;
  private static final int TIME_LENGTH = 12;

  private MariaDbBinary() {}

  /** The value as text in UTC, or null when it is not in binary form but is the server's text. */
  static String toText(byte[] value, int jdbcType) {
    boolean isTime = jdbcType == Types.TIME;
    if (isYear(value, isTime)) return new String(value, StandardCharsets.ISO_8859_1) + "-01-01";
    if (!isBinary(value, isTime)) return null;
    TemporalFields fields = new TemporalFields();
    // The part that was cut off is made up for with zeros.
    ByteBuffer buffer = ByteBuffer.allocate(TIME_LENGTH).order(ByteOrder.LITTLE_ENDIAN).put(value);
    buffer.rewind();
    if (isTime) {
      readTime(fields, buffer);
    } else {
      readDate(fields, buffer);
      if (jdbcType != Types.DATE) readTimeOfDay(fields, buffer);
    }
    return fields.toText();
  }

  /** The text of a YEAR, which is a DATE to the driver; it would have no year 0000. */
  private static boolean isYear(byte[] value, boolean isTime) {
    return !isTime && value.length == DATE_LENGTH && value[1] >= '0';
  }

  private static boolean isBinary(byte[] value, boolean isTime) {
    if (value.length == 0) return true;
    // A time begins with its sign as 0 or 1, a year's high byte is below '0' up to 9999; text has digits there.
    if (isTime) return value.length <= TIME_LENGTH && (value[0] == 0 || value[0] == 1);
    return value.length >= DATE_LENGTH && value.length <= DATE_TIME_LENGTH && value[1] < '0';
  }

  private static void readDate(TemporalFields fields, ByteBuffer buffer) {
    fields.hasDate = true;
    fields.year = buffer.getShort();
    fields.month = buffer.get();
    fields.day = buffer.get();
  }

  private static void readTime(TemporalFields fields, ByteBuffer buffer) {
    fields.negativeTime = buffer.get() == 1;
    int days = buffer.getInt();
    readTimeOfDay(fields, buffer);
    fields.hours += days * 24;
  }

  private static void readTimeOfDay(TemporalFields fields, ByteBuffer buffer) {
    fields.hasTime = true;
    fields.hours = buffer.get();
    fields.minutes = buffer.get();
    fields.seconds = buffer.get();
    fields.nanos = buffer.getInt() * 1000;
  }
}
