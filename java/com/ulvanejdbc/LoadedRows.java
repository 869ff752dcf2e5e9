package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;

/** Rows of text from native code, copied as a whole: a copy for each value would cost more. */
final class LoadedRows {
  final int count;
  private final int[] ends;
  private final byte[] text;
  private int at;

  LoadedRows(ByteBuffer ends, ByteBuffer text, int columns) {
    this.ends = new int[ends.remaining() / Integer.BYTES];
    ends.order(ByteOrder.nativeOrder()).asIntBuffer().get(this.ends);
    this.text = new byte[text.remaining()];
    text.get(this.text);
    count = this.ends.length / columns;
  }

  /** @return the next value, null for null */
  String next() {
    int start = at == 0 ? 0 : end(ends[at - 1]);
    int end = ends[at++];
    return end < 0 ? null : new String(text, start, end - start, StandardCharsets.UTF_8);
  }

  private static int end(int mark) {
    return mark < 0 ? ~mark : mark;
  }
}
