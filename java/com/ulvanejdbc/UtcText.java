package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.Date;
import java.sql.Time;
import java.sql.Timestamp;
import java.util.concurrent.TimeUnit;

/** Makes the library's text of a date, a time or a timestamp, from a database's own text or from numbers. */
final class UtcText {
  static final String INFINITY = "infinity";
  static final String MINUS_INFINITY = "-infinity";

  private static final int DATE_LENGTH = 10;
  private static final int TIME_LENGTH = 8;
  private static final int DATE_TIME_LENGTH = 19;
  private static final int MAX_FRACTION = 9;
  private static final long MILLIS_PER_DAY = TimeUnit.DAYS.toMillis(1);

  private UtcText() {}

  /** The library's form of a database's ASCII text of a date or time, or null when it is no such text. */
  static String of(byte[] text) {
    int length = lengthInForm(text);
    if (length > 0) return new String(text, 0, length, StandardCharsets.ISO_8859_1);
    TemporalFields fields = new TemporalParser(text).parse();
    if (fields != null) return fields.toText();
    String word = new String(text, StandardCharsets.ISO_8859_1);
    return word.equals(INFINITY) || word.equals(MINUS_INFINITY) ? word : null;
  }

  static String ofDate(Date date) {
    if (date == null) return null;
    // SQLite's driver reports a DATETIME column as DATE: its time of day must not get lost.
    boolean hasTime = Math.floorMod(date.getTime(), MILLIS_PER_DAY) != 0;
    return hasTime ? ofTimestamp(new Timestamp(date.getTime())) : ofDay(Math.floorDiv(date.getTime(), MILLIS_PER_DAY));
  }

  static String ofTime(Time time) {
    if (time == null) return null;
    return ofTimeOfDay(TimeUnit.MILLISECONDS.toNanos(Math.floorMod(time.getTime(), MILLIS_PER_DAY)));
  }

  static String ofTimestamp(Timestamp timestamp) {
    if (timestamp == null) return null;
    long millisOfDay = Math.floorMod(timestamp.getTime(), MILLIS_PER_DAY);
    long nanosOfDay = TimeUnit.SECONDS.toNanos(millisOfDay / 1000) + timestamp.getNanos();
    return ofDayAndTime(Math.floorDiv(timestamp.getTime(), MILLIS_PER_DAY), nanosOfDay);
  }

  static String ofDay(long epochDay) {
    TemporalFields fields = new TemporalFields();
    fields.setDay(epochDay);
    return fields.toText();
  }

  static String ofTimeOfDay(long nanosOfDay) {
    TemporalFields fields = new TemporalFields();
    fields.setTime(nanosOfDay);
    return fields.toText();
  }

  static String ofDayAndTime(long epochDay, long nanosOfDay) {
    TemporalFields fields = new TemporalFields();
    fields.setDay(epochDay);
    fields.setTime(nanosOfDay);
    return fields.toText();
  }

  /** How much of a text is already in the library's form, with at most a zone of "+00" behind it; 0 when it is not. */
  private static int lengthInForm(byte[] text) {
    int length = text.length;
    if (isTime(text, 0)) return lengthInForm(text, TIME_LENGTH);
    if (length < DATE_LENGTH || text[4] != '-' || text[7] != '-') return 0;
    if (length == DATE_LENGTH) return length;
    return text[10] == ' ' && isTime(text, DATE_LENGTH + 1) ? lengthInForm(text, DATE_TIME_LENGTH) : 0;
  }

  private static boolean isTime(byte[] text, int start) {
    return text.length >= start + TIME_LENGTH && text[start + 2] == ':' && text[start + 5] == ':';
  }

  private static int lengthInForm(byte[] text, int endOfSeconds) {
    int end = text.length;
    if (text[end - 3] == '+' && text[end - 2] == '0' && text[end - 1] == '0') end -= 3;
    if (end == endOfSeconds) return end;
    if (text[endOfSeconds] != '.' || end - endOfSeconds - 1 > MAX_FRACTION || text[end - 1] == '0') return 0;
    for (int at = endOfSeconds + 1; at < end; ++at) {
      if (text[at] < '0' || text[at] > '9') return 0;
    }
    return end;
  }
}
