package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.Date;
import java.sql.Time;
import java.sql.Timestamp;
import java.util.concurrent.TimeUnit;

/** Makes the library's text of a date, a time or a timestamp, from a database's own text or from numbers. */
public final class UtcText {
  static final String INFINITY = "infinity";
  static final String MINUS_INFINITY = "-infinity";

  private static final String FORM = "0000-00-00 00:00:00";
  private static final int DATE_LENGTH = 10;
  private static final int TIME_START = 11;
  private static final int MAX_FRACTION = 9;
  private static final long MILLIS_PER_DAY = TimeUnit.DAYS.toMillis(1);
  private static final double JULIAN_DAY_1970 = 2_440_587.5;

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

  static String ofJulianDay(double days) {
    return ofTimestamp(new Timestamp(Math.round((days - JULIAN_DAY_1970) * MILLIS_PER_DAY)));
  }

  public static String ofDay(long epochDay) {
    TemporalFields fields = new TemporalFields();
    fields.setDay(epochDay);
    return fields.toText();
  }

  public static String ofTimeOfDay(long nanosOfDay) {
    TemporalFields fields = new TemporalFields();
    fields.setTime(nanosOfDay);
    return fields.toText();
  }

  public static String ofDayAndTime(long epochDay, long nanosOfDay) {
    TemporalFields fields = new TemporalFields();
    fields.setDay(epochDay);
    fields.setTime(nanosOfDay);
    return fields.toText();
  }

  /** How much of a text is already in the library's form, at most followed by a zone of "+00"; 0 when it is not. */
  static int lengthInForm(byte[] text) {
    int formStart = text.length > 2 && text[2] == ':' ? TIME_START : 0;
    int formEnd = formStart == 0 && text.length == DATE_LENGTH ? DATE_LENGTH : FORM.length();
    int length = formEnd - formStart;
    if (text.length < length) return 0;
    for (int at = 0; at < length; ++at) {
      char form = FORM.charAt(formStart + at);
      if (form == '0' ? !Digits.isDigit(text[at]) : text[at] != form) return 0;
    }
    return formEnd == DATE_LENGTH ? length : lengthWithFraction(text, length);
  }

  private static int lengthWithFraction(byte[] text, int endOfSeconds) {
    int end = text.length;
    if (text[end - 3] == '+' && text[end - 2] == '0' && text[end - 1] == '0') end -= 3;
    if (end == endOfSeconds) return end;
    if (text[endOfSeconds] != '.' || end - endOfSeconds - 1 > MAX_FRACTION || text[end - 1] == '0') return 0;
    for (int at = endOfSeconds + 1; at < end; ++at) {
      if (!Digits.isDigit(text[at])) return 0;
    }
    return end;
  }
}
