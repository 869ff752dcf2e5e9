package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ResultColumn;
import com.ulvanejdbc.TemporalFields;
import java.util.HashMap;
import java.util.Locale;
import java.util.Map;
import java.util.function.Supplier;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Chooses the Arrow type of an array's elements by the name of the array's type, which is all that drivers say. */
final class ElementChoice {
  private static final Map<String, Supplier<Column>> COLUMNS = new HashMap<>();

  private static final Map<String, ArrowTime> TIMES = new HashMap<>();

  /** What stands in parentheses after a type: a length, or digits and a scale. */
  private static final Pattern SIZE = Pattern.compile("\\((\\d+)(?:, ?(\\d+))?\\)");

  static {
    wholeNumber("s", Short.BYTES, "INT2", "SMALLINT");
    wholeNumber("i", Integer.BYTES, "INT4", "INTEGER");
    wholeNumber("l", Long.BYTES, "INT8", "BIGINT");
    add(()
            -> FixedColumn.ofElements("f", Float.BYTES, value -> Float.floatToRawIntBits((Float) value)),
        "FLOAT4", "REAL");
    add(()
            -> FixedColumn.ofElements("g", Double.BYTES, value -> Double.doubleToRawLongBits((Double) value)),
        "FLOAT8", "DOUBLE PRECISION", "DOUBLE");
    add(() -> FixedColumn.ofElements("b", FixedColumn.BIT, value -> (Boolean) value ? 1 : 0), "BOOL", "BOOLEAN");
    add(BytesColumn::ofTexts, "TEXT", "VARCHAR", "CHARACTER VARYING");
    add(BytesColumn::ofByteArrays, "BYTEA", "BINARY", "VARBINARY", "BINARY VARYING");
    TIMES.put("DATE", ArrowTime.DATE);
    TIMES.put("TIMESTAMP", ArrowTime.TIMESTAMP);
    TIMES.put("TIMESTAMPTZ", ArrowTime.TIMESTAMP_IN_UTC);
    TIMES.put("TIMESTAMP WITH TIME ZONE", ArrowTime.TIMESTAMP_IN_UTC);
  }

  private ElementChoice() {}

  private static void wholeNumber(String format, int width, String... names) {
    add(() -> FixedColumn.ofElements(format, width, value -> ((Number) value).longValue()), names);
  }

  private static void add(Supplier<Column> column, String... names) {
    for (String name : names) COLUMNS.put(name, column);
  }

  /** @return null if the elements have no Arrow type */
  static Column listOf(ResultColumn column, Options options) {
    String name = column.typeName.toUpperCase(Locale.ROOT);
    boolean isPostgres = name.startsWith("_");
    if (isPostgres) name = name.substring(1);
    // The element type of an array of arrays is itself an array, which has no row here.
    if (name.endsWith(" ARRAY")) name = name.substring(0, name.lastIndexOf(" ARRAY"));
    Matcher size = SIZE.matcher(name);
    boolean hasSize = size.find();
    int digits = hasSize ? Integer.parseInt(size.group(1)) : 0;
    if (hasSize) name = size.replaceFirst("");
    if (name.equals("NUMERIC") || name.equals("DECIMAL")) {
      int scale = hasSize && size.group(2) != null ? Integer.parseInt(size.group(2)) : 0;
      return isPostgres ? listOfDecimals(column.precision, column.scale, options)
                        : listOfDecimals(digits, scale, options);
    }
    ArrowTime time = name.equals("TIME") ? ArrowTime.ofTime(digits) : TIMES.get(name);
    if (time != null) return ListColumn.ofTexts(times(time, options));
    Supplier<Column> elements = COLUMNS.get(name);
    return elements == null ? null : ListColumn.ofObjects(elements.get());
  }

  private static Column listOfDecimals(int precision, int scale, Options options) {
    if (DecimalColumn.holds(precision, scale)) return ListColumn.ofObjects(new DecimalColumn(precision, scale, null));
    if (options.decimals == Options.DECIMALS_AS_TEXT) return null;
    if (options.decimals == Options.DECIMALS_AS_DOUBLE) {
      return ListColumn.ofObjects(FixedColumn.ofElements(
          "g", Double.BYTES, value -> Double.doubleToRawLongBits(((Number) value).doubleValue())));
    }
    return ListColumn.ofObjects(new DecimalColumn(DecimalColumn.MAX_PRECISION, options.decimalScale, null));
  }

  /** Drivers' objects do not hold all dates; their text does. */
  private static Column times(ArrowTime time, Options options) {
    return FixedColumn.ofTimeElements(time.format, time.width, text -> {
      TemporalFields fields = TemporalFields.of((String) text);
      long number = fields == null ? ArrowTime.NONE : time.number(fields);
      if (number == ArrowTime.NONE) throw new UnfitValueException(text, time.format);
      return number;
    }, options.outOfRangeAsNull);
  }
}
