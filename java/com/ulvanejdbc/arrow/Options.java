package com.ulvanejdbc.arrow;

/** How a result is read. */
final class Options {
  static final int DECIMALS_AS_TEXT = 0;
  static final int DECIMALS_AS_DOUBLE = 1;
  static final int DECIMALS_OF_SCALE = 2;

  final int maxRows;

  /** A batch ends with the row that takes it beyond this. */
  final int maxBytes;

  /** How to read decimals that fit no decimal128 by their own precision and scale. */
  final int decimals;

  /** For {@link #DECIMALS_OF_SCALE}. */
  final int decimalScale;

  /** Whether a date or time that its Arrow type cannot hold becomes null instead of an error. */
  final boolean outOfRangeAsNull;

  /** Whether columns whose cells may have any type are read as text. */
  final boolean mixedColumnsAsText;

  /** By default the VM limits memory outside the heap to the size of the heap. */
  private static int maxBytesOfHeap() {
    return (int) Math.min(Runtime.getRuntime().maxMemory() / 8, Integer.MAX_VALUE);
  }

  /** @param numbers in the order of the fields */
  Options(int[] numbers) {
    maxRows = numbers[0];
    maxBytes = Math.min(numbers[1], maxBytesOfHeap());
    decimals = numbers[2];
    decimalScale = numbers[3];
    outOfRangeAsNull = numbers[4] != 0;
    mixedColumnsAsText = numbers[5] != 0;
  }
}
