package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.sql.Types;
import java.util.concurrent.TimeUnit;

/** PostgreSQL's binary form of dates and times, which a URL can ask for: days or microseconds since 2000-01-01. */
final class PostgresBinary {
  private static final long EPOCH_DAY_2000 = 10_957;
  private static final long MICROS_PER_DAY = TimeUnit.DAYS.toMicros(1);

  private PostgresBinary() {}

  static String toText(byte[] value, int jdbcType) {
    ByteBuffer buffer = ByteBuffer.wrap(value);
    switch (value.length) {
      case 4:
        return date(buffer.getInt());
      case 8:
        return jdbcType == Types.TIME ? time(buffer.getLong(), 0) : timestamp(buffer.getLong());
      case 12:
        return time(buffer.getLong(), buffer.getInt());
      default:
        return new String(value, StandardCharsets.UTF_8);
    }
  }

  private static String date(int days) {
    if (days == Integer.MAX_VALUE) return UtcText.INFINITY;
    if (days == Integer.MIN_VALUE) return UtcText.MINUS_INFINITY;
    return UtcText.ofDay(EPOCH_DAY_2000 + days);
  }

  private static String time(long micros, int secondsWest) {
    // 24:00 of a zone that is not UTC is a time of the next day, 24:00 in UTC stays as the server shows it.
    long utc = secondsWest == 0 ? micros : Math.floorMod(micros + secondsWest * 1_000_000L, MICROS_PER_DAY);
    return UtcText.ofTimeOfDay(TimeUnit.MICROSECONDS.toNanos(utc));
  }

  private static String timestamp(long micros) {
    if (micros == Long.MAX_VALUE) return UtcText.INFINITY;
    if (micros == Long.MIN_VALUE) return UtcText.MINUS_INFINITY;
    long day = EPOCH_DAY_2000 + Math.floorDiv(micros, MICROS_PER_DAY);
    return UtcText.ofDayAndTime(day, TimeUnit.MICROSECONDS.toNanos(Math.floorMod(micros, MICROS_PER_DAY)));
  }
}
