package com.ulvanejdbc.adbc;

import java.util.Arrays;
import java.util.Collections;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/** The options of a statement: what they are if they are not set, and which values they take. */
final class StatementOption {
  static final String BATCH_ROWS = "adbc.jdbc.batch_rows";
  static final String BATCH_BYTES = "adbc.jdbc.batch_bytes";
  static final String FETCH_SIZE = "adbc.jdbc.fetch_size";
  static final String TIMEOUT = "adbc.jdbc.timeout_seconds";
  static final String MAX_ROWS = "adbc.jdbc.max_rows";
  static final String DECIMALS = "adbc.jdbc.decimals";
  static final String DECIMAL_SCALE = "adbc.jdbc.decimal_scale";
  static final String OUT_OF_RANGE = "adbc.jdbc.out_of_range_as_null";
  static final String MIXED = "adbc.jdbc.mixed_columns_as_text";

  private static final int MAX_BATCH_ROWS = 1 << 20;
  private static final int MAX_BATCH_BYTES = 1 << 30;
  private static final int MAX_SCALE = 38;

  private static final List<String> WAYS_OF_DECIMALS = Arrays.asList("text", "float64", "decimal128");
  private static final List<String> TRUTHS = Arrays.asList("true", "false");
  private static final List<String> MODES = Arrays.asList(Ingestion.MODE + "create", Ingestion.MODE + "append",
      Ingestion.MODE + "replace", Ingestion.MODE + "create_append");

  private static final Map<String, StatementOption> ALL = new HashMap<>();

  static {
    number(BATCH_ROWS, 65536, 1, MAX_BATCH_ROWS);
    number(BATCH_BYTES, 16 << 20, 1, MAX_BATCH_BYTES);
    number(FETCH_SIZE, 0, 0, Integer.MAX_VALUE);
    number(TIMEOUT, 0, 0, Integer.MAX_VALUE);
    number(MAX_ROWS, 0, 0, Integer.MAX_VALUE);
    number(DECIMAL_SCALE, 0, 0, MAX_SCALE);
    word(DECIMALS, "text", WAYS_OF_DECIMALS);
    word(OUT_OF_RANGE, "false", TRUTHS);
    word(MIXED, "false", TRUTHS);
    word(AdbcStatement.TEMPORARY, "false", TRUTHS);
    word(AdbcStatement.MODE, Ingestion.MODE + "create", MODES);
    word(AdbcStatement.TARGET_TABLE, null, Collections.emptyList());
    word(AdbcStatement.TARGET_CATALOG, null, Collections.emptyList());
    word(AdbcStatement.TARGET_SCHEMA, null, Collections.emptyList());
  }

  private final String value;

  /** All that the option takes; empty if it takes any text. */
  private final List<String> words;

  /** Of a number; the minimum is above the maximum if it is none. */
  private final int minimum;
  private final int maximum;

  private StatementOption(String value, List<String> words, int minimum, int maximum) {
    this.value = value;
    this.words = words;
    this.minimum = minimum;
    this.maximum = maximum;
  }

  private static void number(String name, int value, int minimum, int maximum) {
    ALL.put(name, new StatementOption(String.valueOf(value), Collections.emptyList(), minimum, maximum));
  }

  private static void word(String name, String value, List<String> words) {
    ALL.put(name, new StatementOption(value, words, 1, 0));
  }

  static boolean isKnown(String name) {
    return ALL.containsKey(name);
  }

  static String of(String name) {
    return ALL.get(name).value;
  }

  /** The place of the chosen way among all. */
  static int decimals(AdbcStatement.Settings settings) {
    return WAYS_OF_DECIMALS.indexOf(settings.text(DECIMALS));
  }

  /** @param value null to have the default again */
  static void check(String name, String value) throws AdbcException {
    StatementOption option = ALL.get(name);
    if (option == null) throw new AdbcException(Status.NOT_IMPLEMENTED, "unknown statement option: " + name);
    if (value == null) return;
    boolean isNumber = option.minimum <= option.maximum;
    boolean fits = isNumber ? option.takesNumber(value) : option.words.isEmpty() || option.words.contains(value);
    if (fits) return;
    String takes = isNumber ? "a number from " + option.minimum + " to " + option.maximum
                            : "one of " + String.join(", ", option.words);
    throw new AdbcException(Status.INVALID_ARGUMENT, name + " must be " + takes + ", not " + value);
  }

  private boolean takesNumber(String text) {
    try {
      int number = Integer.parseInt(text);
      return number >= minimum && number <= maximum;
    } catch (NumberFormatException none) {
      return false;
    }
  }
}
