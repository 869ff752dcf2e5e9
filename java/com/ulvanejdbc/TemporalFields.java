package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;

/** The numbers of a date, a time of day, or both. */
final class TemporalFields {
  private static final int MAX_LENGTH = 48;
  private static final int FRACTION_DIGITS = 9;
  private static final int SECONDS_PER_DAY = 86_400;
  private static final int DAYS_PER_400_YEARS = 146_097;
  private static final int DAYS_FROM_0000_03_01_TO_EPOCH = 719_468;

  boolean hasDate;
  int year;
  int month;
  int day;

  boolean hasTime;
  boolean negativeTime;
  int hours;
  int minutes;
  int seconds;
  int nanos;

  private final byte[] buffer = new byte[MAX_LENGTH];
  private int length;

  void setDay(long epochDay) {
    hasDate = true;
    // Years run from March here, so that the day which comes and goes is a year's last.
    long days = epochDay + DAYS_FROM_0000_03_01_TO_EPOCH;
    long era = Math.floorDiv(days, (long) DAYS_PER_400_YEARS);
    int dayOfEra = (int) Math.floorMod(days, (long) DAYS_PER_400_YEARS);
    int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36_524 - dayOfEra / 146_096) / 365;
    int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    int monthFromMarch = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    year = (int) (era * 400) + yearOfEra + (month <= 2 ? 1 : 0);
  }

  void setTime(long nanosOfDay) {
    nanos = (int) (nanosOfDay % 1_000_000_000L);
    setSeconds((int) (nanosOfDay / 1_000_000_000L));
  }

  /** Moves a time that is ahead of UTC by so many seconds; the date goes with it when there is one. */
  void toUtc(int secondsAhead) {
    if (secondsAhead == 0) return;
    int utc = hours * 3600 + minutes * 60 + seconds - secondsAhead;
    int days = Math.floorDiv(utc, SECONDS_PER_DAY);
    if (hasDate && days != 0) setDay(epochDay() + days);
    setSeconds(Math.floorMod(utc, SECONDS_PER_DAY));
  }

  String toText() {
    length = 0;
    if (hasDate) putDate();
    if (hasDate && hasTime) put(' ');
    if (hasTime) putTime();
    return new String(buffer, 0, length, StandardCharsets.ISO_8859_1);
  }

  private void setSeconds(int secondsOfDay) {
    hasTime = true;
    hours = secondsOfDay / 3600;
    minutes = secondsOfDay / 60 % 60;
    seconds = secondsOfDay % 60;
  }

  private long epochDay() {
    int yearFromMarch = month <= 2 ? year - 1 : year;
    int era = Math.floorDiv(yearFromMarch, 400);
    int yearOfEra = Math.floorMod(yearFromMarch, 400);
    int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return (long) era * DAYS_PER_400_YEARS + dayOfEra - DAYS_FROM_0000_03_01_TO_EPOCH;
  }

  private void putDate() {
    if (year < 0) put('-');
    if (year > 9999) put('+');
    putNumber(Math.abs(year), digits(Math.abs(year), 4));
    put('-');
    putNumber(month, 2);
    put('-');
    putNumber(day, 2);
  }

  private void putTime() {
    if (negativeTime) put('-');
    putNumber(hours, digits(hours, 2));
    put(':');
    putNumber(minutes, 2);
    put(':');
    putNumber(seconds, 2);
    if (nanos == 0) return;
    put('.');
    putNumber(nanos, FRACTION_DIGITS);
    while (buffer[length - 1] == '0') --length;
  }

  private void putNumber(int number, int digits) {
    int rest = number;
    for (int at = length + digits - 1; at >= length; --at) {
      buffer[at] = (byte) ('0' + rest % 10);
      rest /= 10;
    }
    length += digits;
  }

  /** The digits of a number that may outgrow its usual width. */
  private static int digits(int number, int atLeast) {
    int digits = 1;
    for (int rest = number / 10; rest > 0; rest /= 10) ++digits;
    return Math.max(atLeast, digits);
  }

  private void put(char character) {
    buffer[length++] = (byte) character;
  }
}
