package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.sql.Types;
import java.util.Arrays;
import java.util.concurrent.TimeUnit;

/** PostgreSQL's binary form of dates and times, used for statements run often: counts from 2000-01-01. */
final class PostgresBinary {
  private static final long EPOCH_DAY_2000 = 10_957;
  private static final long MICROS_PER_DAY = TimeUnit.DAYS.toMicros(1);
  private static final byte[] INFINITY = UtcText.INFINITY.getBytes(StandardCharsets.US_ASCII);

  private PostgresBinary() {}

  /** The value as text in UTC, or null when it is not in binary form but is the server's text. */
  static String toText(byte[] value, int jdbcType) {
    switch (value.length) {
      case 4:
        return date(ByteBuffer.wrap(value).getInt());
      case 8:
        return jdbcType == Types.TIME ? time(value) : timestamp(value);
      case 12:
        return time(value);
      default:
        return null;
    }
  }

  private static String date(int days) {
    if (days == Integer.MAX_VALUE) return UtcText.INFINITY;
    if (days == Integer.MIN_VALUE) return UtcText.MINUS_INFINITY;
    return UtcText.ofDay(EPOCH_DAY_2000 + days);
  }

  private static String time(byte[] value) {
    // A day's microseconds leave the first byte empty; text begins with a digit.
    if (value[0] != 0) return null;
    ByteBuffer buffer = ByteBuffer.wrap(value);
    long micros = buffer.getLong();
    int secondsWest = buffer.hasRemaining() ? buffer.getInt() : 0;
    // 24:00 of a zone that is not UTC is a time of the next day, 24:00 in UTC stays as the server shows it.
    long utc = secondsWest == 0 ? micros : Math.floorMod(micros + secondsWest * 1_000_000L, MICROS_PER_DAY);
    return UtcText.ofTimeOfDay(TimeUnit.MICROSECONDS.toNanos(utc));
  }

  private static String timestamp(byte[] value) {
    // The one text of this length; as a count it would be a single microsecond of the year 242,738.
    if (Arrays.equals(value, INFINITY)) return null;
    long micros = ByteBuffer.wrap(value).getLong();
    if (micros == Long.MAX_VALUE) return UtcText.INFINITY;
    if (micros == Long.MIN_VALUE) return UtcText.MINUS_INFINITY;
    long day = EPOCH_DAY_2000 + Math.floorDiv(micros, MICROS_PER_DAY);
    return UtcText.ofDayAndTime(day, TimeUnit.MICROSECONDS.toNanos(Math.floorMod(micros, MICROS_PER_DAY)));
  }
}
