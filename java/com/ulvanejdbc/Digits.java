package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;

/** Decimal and hexadecimal digits, in ASCII. */
final class Digits {
  private static final byte[] HEX = "0123456789abcdef".getBytes(StandardCharsets.US_ASCII);

  private Digits() {}

  static boolean isDigit(byte character) {
    return character >= '0' && character <= '9';
  }

  /**
   * Writes a number that is not negative, with leading zeros.
   *
   * @param usual how many digits to write, unless the number has more
   * @return where it ends
   */
  static int put(int number, byte[] target, int start, int usual) {
    int end = start + usual;
    int rest = number;
    for (int at = end - 1; at >= start; --at) {
      target[at] = (byte) ('0' + rest % 10);
      rest /= 10;
    }
    return rest == 0 ? end : put(number, target, start, usual + 1);
  }

  /** Writes a number that ends before {@code end}. @return where it starts */
  static int putBefore(long value, byte[] target, int end) {
    // Negative numbers reach further than positive ones.
    long rest = value < 0 ? value : -value;
    int at = end;
    while (rest <= Integer.MIN_VALUE) {
      target[--at] = (byte) ('0' - rest % 10);
      rest /= 10;
    }
    int small = (int) rest;
    do {
      target[--at] = (byte) ('0' - small % 10);
      small /= 10;
    } while (small != 0);
    if (value < 0) target[--at] = '-';
    return at;
  }

  /** Writes two lower-case digits for each byte. */
  static void putHex(byte[] value, byte[] target, int start) {
    int at = start;
    for (byte one : value) {
      target[at++] = HEX[one >> 4 & 0xF];
      target[at++] = HEX[one & 0xF];
    }
  }

  static String hex(byte[] value) {
    if (value == null) return null;
    byte[] digits = new byte[value.length * 2];
    putHex(value, digits, 0);
    return new String(digits, StandardCharsets.ISO_8859_1);
  }

  /** The bytes that hexadecimal digits stand for, two digits each. */
  static byte[] bytes(String hex) {
    byte[] bytes = new byte[hex.length() / 2];
    for (int index = 0; index < bytes.length; ++index) {
      int high = Character.digit(hex.charAt(index * 2), 16);
      bytes[index] = (byte) (high << 4 | Character.digit(hex.charAt(index * 2 + 1), 16));
    }
    return bytes;
  }
}
