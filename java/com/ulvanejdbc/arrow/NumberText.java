package com.ulvanejdbc.arrow;

import java.nio.charset.StandardCharsets;

/** Parses numbers from the bytes that a server sends, without creating an object for each. */
final class NumberText {
  /** Not a number that can be parsed here; the driver reads it instead. */
  static final long NONE = Long.MIN_VALUE;

  private static final int MAX_LONG_DIGITS = 18;

  /** Whole numbers up to this, and the powers of ten below, are exact doubles, so one division rounds correctly. */
  private static final long MAX_EXACT = 1L << 53;

  private static final double[] POWERS = {
      1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

  private NumberText() {}

  /** Parses a whole number of up to 64 bits. */
  static long wholeNumber(byte[] text) {
    boolean negative = text[0] == '-';
    long number = 0;
    for (int at = negative ? 1 : 0; at < text.length; ++at) number = number * 10 - (text[at] - '0');
    return negative ? number : -number;
  }

  static double decimal64(byte[] text) {
    int point = point(text);
    long digits = digits(text, point);
    if (digits == NONE || Math.abs(digits) > MAX_EXACT || digits == 0) return parsed(text);
    return digits / POWERS[text.length - 1 - point];
  }

  private static double parsed(byte[] text) {
    return Double.parseDouble(new String(text, StandardCharsets.ISO_8859_1));
  }

  /** The unscaled value of a decimal with exactly this scale; {@link #NONE} for any other text. */
  static long decimal(byte[] text, int scale) {
    int point = point(text);
    return text.length - 1 - point == scale ? digits(text, point) : NONE;
  }

  /** The index of the point, or of the last digit if there is no point. */
  private static int point(byte[] text) {
    int point = text.length - 1;
    while (point >= 0 && text[point] != '.') --point;
    return point < 0 ? text.length - 1 : point;
  }

  private static long digits(byte[] text, int point) {
    boolean negative = text[0] == '-';
    int start = negative ? 1 : 0;
    if (text.length - start > MAX_LONG_DIGITS || start == text.length) return NONE;
    long number = 0;
    for (int at = start; at < text.length; ++at) {
      if (at == point && text[at] == '.') continue;
      int digit = text[at] - '0';
      if (digit < 0 || digit > 9) return NONE;
      number = number * 10 + digit;
    }
    return negative ? -number : number;
  }
}
