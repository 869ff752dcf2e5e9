package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/** The text of a block of rows, in standard or modified UTF-8; it grows, up to a limit for each row. */
public final class BlockText {
  private static final int MAX_DIGITS = 20;

  /** Of a longer text, a second copy in the heap costs more than its encoding. */
  private static final int MAX_ENCODED = 1 << 16;

  private static final char REPLACEMENT = '\uFFFD';

  /** Near the longest array that a Java VM makes. */
  private static final long MAX_LENGTH = Integer.MAX_VALUE - 8;

  private final boolean standard;
  private final int maxRowBytes;
  private final byte[] digits = new byte[MAX_DIGITS];
  private byte[] bytes = new byte[1 << 14];
  private int length;
  private int rowStart;

  public BlockText(boolean standard, int maxRowBytes) {
    this.standard = standard;
    this.maxRowBytes = maxRowBytes;
  }

  public void clear() {
    length = 0;
  }

  public void beginRow() {
    rowStart = length;
  }

  public int length() {
    return length;
  }

  public byte[] bytes() {
    return bytes;
  }

  public void put(String value) {
    if (isPlain(value)) {
      putPlain(value, value.length());
    } else if (!standard || value.length() > MAX_ENCODED || !putEncoded(value)) {
      int plain = 0;
      while (isPlain(value.charAt(plain))) ++plain;
      putPlain(value, plain);
      putWide(value, plain);
    }
  }

  /** The VM encodes faster than a loop here, but writes half a surrogate pair as a question mark. */
  private boolean putEncoded(String value) {
    byte[] encoded = value.getBytes(StandardCharsets.UTF_8);
    for (byte part : encoded) {
      if (part == '?') return false;
    }
    put(encoded, 0, encoded.length);
    return true;
  }

  /** Looks at the characters without a branch for each. */
  private boolean isPlain(String value) {
    int all = 0;
    for (int index = 0; index < value.length(); ++index) all |= value.charAt(index);
    return all < 0x80 && (standard || value.indexOf(0) < 0);
  }

  /** Puts the first characters of a string that are one byte each in both encodings. */
  @SuppressWarnings("deprecation") // it keeps each character's low byte, which is right here and costs no encoder
  void putPlain(String value, int count) {
    reserve(count);
    value.getBytes(0, count, bytes, length);
    length += count;
  }

  /** Takes text in standard UTF-8 over. @return false, with nothing put, when it is not that */
  boolean putUtf8(byte[] value) {
    int plain = 0;
    while (plain < value.length && value[plain] > 0) ++plain;
    int before = length;
    put(value, 0, plain);
    if (plain == value.length || putWide(value, plain)) return true;
    length = before;
    return false;
  }

  /** Takes over bytes that are right in either encoding. */
  public void put(byte[] value, int start, int count) {
    reserve(count);
    System.arraycopy(value, start, bytes, length, count);
    length += count;
  }

  void putNumber(long value) {
    int start = Digits.putBefore(value, digits, digits.length);
    put(digits, start, digits.length - start);
  }

  void putHex(byte[] value) {
    reserve(2L * value.length);
    Digits.putHex(value, bytes, length);
    length += 2 * value.length;
  }

  /** A character that is one byte in both encodings. */
  private static boolean isPlain(int character) {
    return character < 0x80 && character != 0;
  }

  /** The rest of a string. In standard UTF-8 half a surrogate pair has no form. */
  private void putWide(String value, int start) {
    int code;
    for (int index = start; index < value.length(); index += Character.charCount(code)) {
      code = standard ? value.codePointAt(index) : value.charAt(index);
      boolean isHalf = standard && code >= Character.MIN_SURROGATE && code <= Character.MAX_SURROGATE;
      putCode(isHalf ? REPLACEMENT : code);
    }
  }

  /** The rest of a text in standard UTF-8. @return false when it is not that */
  private boolean putWide(byte[] value, int start) {
    int size;
    for (int index = start; index < value.length; index += size) {
      size = Utf8.size(value, index);
      if (size == 0) return false;
      int code = size == 4 ? Utf8.code(value, index, size) : value[index];
      if (size == 4 && !standard) {
        putCode(Character.highSurrogate(code));
        putCode(Character.lowSurrogate(code));
      } else if (code == 0) {
        putCode(code);
      } else {
        put(value, index, size);
      }
    }
    return true;
  }

  private void putCode(int code) {
    if (isPlain(code) || (standard && code == 0)) {
      reserve(1);
      bytes[length++] = (byte) code;
      return;
    }
    int tail = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    int lead = tail == 1 ? 0xC0 : tail == 2 ? 0xE0 : 0xF0;
    reserve(1L + tail);
    bytes[length++] = (byte) (lead | code >> 6 * tail);
    for (int left = tail - 1; left >= 0; --left) bytes[length++] = (byte) (0x80 | code >> 6 * left & 0x3F);
  }

  private void reserve(long more) {
    long needed = length + more;
    if (needed - rowStart > maxRowBytes) {
      throw new MisuseException("a row has more text than the limit of " + maxRowBytes + " bytes");
    }
    if (needed > bytes.length)
      bytes = Arrays.copyOf(bytes, (int) Math.max(needed, Math.min(2L * bytes.length, MAX_LENGTH)));
  }

  /** Standard UTF-8, judged strictly. */
  private static final class Utf8 {
    private static final int[] LEAST = {0, 0, 0x80, 0x800, 0x10000};

    /** How many bytes the character at {@code index} has; 0 when it is malformed. */
    static int size(byte[] text, int index) {
      int lead = text[index] & 0xFF;
      int size = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
      if (index + size > text.length) return 0;
      for (int at = index + 1; at < index + size; ++at) {
        if ((text[at] & 0xC0) != 0x80) return 0;
      }
      return size == 0 || isCharacter(code(text, index, size), size) ? size : 0;
    }

    static int code(byte[] text, int index, int size) {
      int code = size == 1 ? text[index] : text[index] & 0x7F >> size;
      for (int at = index + 1; at < index + size; ++at) code = code << 6 | text[at] & 0x3F;
      return code;
    }

    private static boolean isCharacter(int code, int size) {
      boolean isHalf = code >= Character.MIN_SURROGATE && code <= Character.MAX_SURROGATE;
      return code >= LEAST[size] && code <= Character.MAX_CODE_POINT && !isHalf;
    }
  }
}
