package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.time.LocalDate;
import java.time.LocalTime;
import java.time.Month;
import java.time.Year;

/** The numbers of a date, a time, or both. */
public final class TemporalFields {
  private static final int MAX_LENGTH = 48;
  private static final int NANOS_PER_SECOND = 1_000_000_000;
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

  /** Reads a text as a database shows it, in UTC; null if it is neither a date nor a time. */
  public static TemporalFields of(String text) {
    return new TemporalParser(text.getBytes(StandardCharsets.ISO_8859_1)).parse();
  }

  /** Whether there is a date, and on the calendar: a month or a day of zero is not. */
  public boolean isDate() {
    if (!hasDate || month < 1 || month > 12 || day < 1) return false;
    return day <= 28 || day <= Month.of(month).length(Year.isLeap(year));
  }

  public boolean hasDate() {
    return hasDate;
  }

  public boolean hasTime() {
    return hasTime;
  }

  /** Whether there is a time, and of one day: a negative one, 24:00:00 and a leap second are not. */
  public boolean isTimeOfDay() {
    return hasTime && !negativeTime && hours < 24 && minutes < 60 && seconds < 60;
  }

  /** Of {@link #isDate}: days since 1970-01-01. */
  public long epochDay() {
    int yearFromMarch = month <= 2 ? year - 1 : year;
    int era = Math.floorDiv(yearFromMarch, 400);
    int yearOfEra = Math.floorMod(yearFromMarch, 400);
    int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return (long) era * DAYS_PER_400_YEARS + dayOfEra - DAYS_FROM_0000_03_01_TO_EPOCH;
  }

  /** Of {@link #isTimeOfDay}; 0 without a time. */
  public long nanosOfDay() {
    return (hours * 3600L + minutes * 60L + seconds) * NANOS_PER_SECOND + nanos;
  }

  void clear() {
    hasDate = false;
    hasTime = false;
    negativeTime = false;
    hours = 0;
    minutes = 0;
    seconds = 0;
    nanos = 0;
  }

  /** Takes over what {@link UtcText#lengthInForm} recognised. */
  void setForm(byte[] text, int length) {
    int at = 0;
    hasDate = text[2] != ':';
    if (hasDate) {
      year = number(text, 0, 4);
      month = number(text, 5, 2);
      day = number(text, 8, 2);
      at = 11;
    }
    hasTime = at < length;
    if (!hasTime) return;
    hours = number(text, at, 2);
    minutes = number(text, at + 3, 2);
    seconds = number(text, at + 6, 2);
    int digits = length - at - 9;
    nanos = digits > 0 ? number(text, at + 9, digits) : 0;
    for (; digits > 0 && digits < 9; ++digits) nanos *= 10;
  }

  private static int number(byte[] text, int start, int digits) {
    int number = 0;
    for (int at = start; at < start + digits; ++at) number = number * 10 + text[at] - '0';
    return number;
  }

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
    nanos = (int) (nanosOfDay % NANOS_PER_SECOND);
    setSeconds((int) (nanosOfDay / NANOS_PER_SECOND));
  }

  /** Moves a time that is ahead of UTC by this many seconds, and its date if it has one. */
  void toUtc(int secondsAhead) {
    if (secondsAhead == 0) return;
    int utc = hours * 3600 + minutes * 60 + seconds - secondsAhead;
    int days = Math.floorDiv(utc, SECONDS_PER_DAY);
    if (hasDate && days != 0) setDay(epochDay() + days);
    setSeconds(Math.floorMod(utc, SECONDS_PER_DAY));
  }

  void set(LocalDate date) {
    hasDate = true;
    year = date.getYear();
    month = date.getMonthValue();
    day = date.getDayOfMonth();
  }

  void set(LocalTime time) {
    hasTime = true;
    hours = time.getHour();
    minutes = time.getMinute();
    seconds = time.getSecond();
    nanos = time.getNano();
  }

  String toText() {
    write();
    return new String(buffer, 0, length, StandardCharsets.ISO_8859_1);
  }

  void putInto(BlockText text) {
    write();
    text.put(buffer, 0, length);
  }

  private void write() {
    length = 0;
    if (hasDate) putDate();
    if (hasDate && hasTime) put(' ');
    if (hasTime) putTime();
  }

  private void setSeconds(int secondsOfDay) {
    hasTime = true;
    hours = secondsOfDay / 3600;
    minutes = secondsOfDay / 60 % 60;
    seconds = secondsOfDay % 60;
  }

  private void putDate() {
    if (year < 0) put('-');
    if (year > 9999) put('+');
    putNumber(Math.abs(year), 4);
    put('-');
    putNumber(month, 2);
    put('-');
    putNumber(day, 2);
  }

  private void putTime() {
    if (negativeTime) put('-');
    putNumber(hours, 2);
    put(':');
    putNumber(minutes, 2);
    put(':');
    putNumber(seconds, 2);
    if (nanos == 0) return;
    put('.');
    int rest = nanos;
    for (int unit = NANOS_PER_SECOND / 10; rest != 0; unit /= 10) {
      put((char) ('0' + rest / unit));
      rest %= unit;
    }
  }

  /** @param usual how many digits the number has, unless it is too large for them */
  private void putNumber(int number, int usual) {
    length = Digits.put(number, buffer, length, usual);
  }

  private void put(char character) {
    buffer[length++] = (byte) character;
  }
}
