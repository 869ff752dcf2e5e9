package com.ulvanejdbc.arrow;

/** How a result is read. */
final class Options {
  static final int DECIMALS_AS_TEXT = 0;
  static final int DECIMALS_AS_DOUBLE = 1;
  static final int DECIMALS_OF_SCALE = 2;

  final int maxRows;

  /** A batch ends with the row that takes it beyond this. */
  final int maxBytes;

  /** For decimals whose own precision and scale Arrow has no type for. */
  final int decimals;

  /** For {@link #DECIMALS_OF_SCALE}. */
  final int decimalScale;

  /** Whether a date or time that Arrow has no number for is null, not an error. */
  final boolean outOfRangeAsNull;

  /** Whether columns whose cells may have any type are read as text. */
  final boolean mixedColumnsAsText;

  /** Memory outside the heap is limited, too: by the heap's own size, unless the VM was given another limit. */
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
