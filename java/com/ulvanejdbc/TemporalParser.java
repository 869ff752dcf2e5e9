package com.ulvanejdbc;

/**
 * Reads a date, a time or both from the text that a database shows:
 *
 * <pre>[+|-]year-month-day[(T| )time][ BC]
 * time: [-]hours:minutes[:seconds[.fraction]][ ][Z|(+|-)hours[[:]minutes[:seconds]]]</pre>
 *
 * A month or a day of zero passes, and so does a time beyond a day: some databases hold such values.
 */
final class TemporalParser {
  private static final int YEAR_DIGITS = 10;
  private static final int HOUR_DIGITS = 3;
  private static final int FRACTION_DIGITS = 9;

  private final byte[] text;
  private final TemporalFields fields = new TemporalFields();
  private int at;
  private boolean broken;

  TemporalParser(byte[] text) {
    this.text = text;
  }

  /** What the text says, in UTC, or null when it is neither a date nor a time. */
  TemporalFields parse() {
    if (startsWithDate()) {
      readDate();
      if (skip('T') || at + 1 < text.length && Digits.isDigit(text[at + 1]) && skip(' ')) readTime();
    } else {
      readTime();
    }
    int secondsAhead = fields.hasTime ? readZone() : 0;
    readEra();
    if (broken || at != text.length) return null;
    fields.toUtc(secondsAhead);
    return fields;
  }

  private boolean startsWithDate() {
    for (int i = 1; i < text.length && text[i] != ':'; ++i) {
      if (text[i] == '-') return true;
    }
    return false;
  }

  private void readDate() {
    boolean negative = skip('-');
    if (!negative) skip('+');
    int year = readNumber(YEAR_DIGITS);
    fields.hasDate = true;
    fields.year = negative ? -year : year;
    expect('-');
    fields.month = readNumber(2);
    expect('-');
    fields.day = readNumber(2);
  }

  private void readTime() {
    fields.hasTime = true;
    fields.negativeTime = skip('-');
    fields.hours = readNumber(HOUR_DIGITS);
    expect(':');
    fields.minutes = readNumber(2);
    if (!skip(':')) return;
    fields.seconds = readNumber(2);
    if (skip('.')) fields.nanos = readNanos();
  }

  /** How far ahead of UTC the text is; 0 without a zone. */
  private int readZone() {
    if (at + 1 < text.length && text[at + 1] != 'B') skip(' ');
    if (skip('Z')) return 0;
    boolean isWest = skip('-');
    if (!isWest && !skip('+')) return 0;
    int seconds = readNumber(2) * 3600;
    if (skip(':') || at < text.length && Digits.isDigit(text[at])) seconds += readNumber(2) * 60;
    if (skip(':')) seconds += readNumber(2);
    return isWest ? -seconds : seconds;
  }

  private void readEra() {
    if (!skip(' ')) return;
    expect('B');
    expect('C');
    // 1 BC is the year 0 of the astronomers' count.
    fields.year = 1 - fields.year;
  }

  private int readNanos() {
    int start = at;
    int nanos = readNumber(FRACTION_DIGITS);
    for (int digits = at - start; digits < FRACTION_DIGITS; ++digits) nanos *= 10;
    while (at < text.length && Digits.isDigit(text[at])) ++at;
    return nanos;
  }

  private int readNumber(int maxDigits) {
    int start = at;
    long number = 0;
    while (at < text.length && at - start < maxDigits && Digits.isDigit(text[at])) {
      number = number * 10 + text[at++] - '0';
    }
    if (at == start || number > Integer.MAX_VALUE) broken = true;
    return (int) number;
  }

  private void expect(char character) {
    if (!skip(character)) broken = true;
  }

  private boolean skip(char character) {
    if (at >= text.length || text[at] != character) return false;
    ++at;
    return true;
  }
}
