package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ResultColumn;
import com.ulvanejdbc.TemporalFields;
import com.ulvanejdbc.TemporalReader;
import java.math.BigDecimal;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.util.Locale;
import java.util.concurrent.TimeUnit;

/** Chooses a column's Arrow type, and how its values are read, by what the driver says of the column. */
final class ColumnChoice {
  private static final int MICRO_DIGITS = 6;
  private static final long MICROS_PER_DAY = TimeUnit.DAYS.toMicros(1);

  /** Farther from 1970 than this, a day's microseconds may not fit 64 bits. */
  private static final long MAX_DAY = Long.MAX_VALUE / MICROS_PER_DAY - 1;

  private static final long NO_NUMBER = Long.MIN_VALUE;

  private static final FixedColumn.Reader FLOAT = (rows, number) -> Float.floatToRawIntBits(rows.getFloat(number));
  private static final FixedColumn.Reader DOUBLE = (rows, number) -> Double.doubleToRawLongBits(rows.getDouble(number));

  private final ResultColumn column;
  private final Options options;

  private ColumnChoice(ResultColumn column, Options options) {
    this.column = column;
    this.options = options;
  }

  static Column of(ResultColumn column, Options options) throws SQLException {
    if (column.takesAnyType && options.mixedColumnsAsText) return BytesColumn.ofText(column);
    if (column.type == Types.NULL && !column.takesAnyType) return new NullColumn();
    Column fixed = new ColumnChoice(column, options).fixed();
    return fixed != null ? fixed : BytesColumn.ofText(column);
  }

  /** Null where the column is read as text. */
  private Column fixed() throws SQLException {
    switch (column.type) {
      case Types.BIT:
      case Types.BOOLEAN:
        return truth();
      case Types.TINYINT:
        return wholeNumber("c", "C", Byte.BYTES);
      case Types.SMALLINT:
        return wholeNumber("s", "S", Short.BYTES);
      case Types.INTEGER:
        return wholeNumber("i", "I", Integer.BYTES);
      case Types.BIGINT:
        return wholeNumber("l", "L", Long.BYTES);
      case Types.REAL:
        return column.takesAnyType ? decimal64() : FixedColumn.ofRows("f", Float.BYTES, FLOAT);
      case Types.FLOAT:
      case Types.DOUBLE:
        return decimal64();
      case Types.DECIMAL:
      case Types.NUMERIC:
        return decimal();
      case Types.DATE:
        return date();
      case Types.TIME:
        return time();
      case Types.TIMESTAMP:
        return timestamp("");
      case Types.TIMESTAMP_WITH_TIMEZONE:
        return timestamp("UTC");
      case Types.BINARY:
      case Types.VARBINARY:
      case Types.LONGVARBINARY:
      case Types.BLOB:
        return bytes();
      case Types.ARRAY:
        return ElementChoice.listOf(column.typeName);
      default:
        return null;
    }
  }

  private Column truth() {
    // PostgreSQL's and HSQLDB's bit strings have the same code.
    if (column.type == Types.BIT && column.precision > 1) return null;
    if (column.takesAnyType) return FixedColumn.ofRows("b", FixedColumn.BIT, Mixed.truth("b"));
    boolean isNumber = column.typeName.toUpperCase(Locale.ROOT).startsWith("TINYINT");
    return FixedColumn.ofRows("b", FixedColumn.BIT, isNumber ? ColumnChoice::truthOfNumber : ColumnChoice::truth);
  }

  private static long truth(ResultSet rows, int number) throws SQLException {
    return rows.getBoolean(number) ? 1 : 0;
  }

  /** MariaDB's truth values are numbers of any size. */
  private static long truthOfNumber(ResultSet rows, int number) throws SQLException {
    int value = rows.getInt(number);
    if (value == 0 || value == 1) return value;
    throw new UnfitValueException(value, "b");
  }

  private Column wholeNumber(String signed, String unsigned, int width) {
    if (column.takesAnyType) return FixedColumn.ofRows("l", Long.BYTES, Mixed.wholeNumber("l"));
    if (column.isServerText) return FixedColumn.ofRows(signed, width, ColumnChoice::wholeNumberText);
    if (column.signed) return FixedColumn.ofRows(signed, width, signedReader(signed, width));
    return FixedColumn.ofRows(unsigned, width, width == Long.BYTES ? ColumnChoice::unsignedLong : ResultSet::getLong);
  }

  /** HSQLDB lets a parameter put a larger number into a column than its type has. */
  private static FixedColumn.Reader signedReader(String format, int width) {
    if (width == Long.BYTES) return ResultSet::getLong;
    if (width == Integer.BYTES) return ResultSet::getInt;
    return (rows, number) -> {
      int value = rows.getInt(number);
      if (value == (width == Byte.BYTES ? (byte) value : (short) value)) return value;
      throw new UnfitValueException(value, format);
    };
  }

  private static long wholeNumberText(ResultSet rows, int number) throws SQLException {
    byte[] text = rows.getBytes(number);
    return text == null ? 0 : NumberText.wholeNumber(text);
  }

  private static long decimal64Text(ResultSet rows, int number) throws SQLException {
    byte[] text = rows.getBytes(number);
    return text == null ? 0 : Double.doubleToRawLongBits(NumberText.decimal64(text));
  }

  private static long unsignedLong(ResultSet rows, int number) throws SQLException {
    BigDecimal value = rows.getBigDecimal(number);
    return value == null ? 0 : value.toBigInteger().longValue();
  }

  private Column decimal64() {
    if (column.takesAnyType) return FixedColumn.ofRows("g", Double.BYTES, Mixed.decimal64("g"));
    return FixedColumn.ofRows("g", Double.BYTES, column.isServerText ? ColumnChoice::decimal64Text : DOUBLE);
  }

  private Column decimal() {
    // A DECFLOAT has digits, but no scale.
    boolean hasScale = column.scale >= 0 && column.scale <= column.precision && !column.typeName.equals("DECFLOAT");
    boolean hasArrowType = hasScale && column.precision > 0 && column.precision <= DecimalColumn.MAX_PRECISION;
    if (hasArrowType) return new DecimalColumn(column.precision, column.scale, column);
    if (options.decimals == Options.DECIMALS_AS_DOUBLE) return decimal64();
    if (options.decimals == Options.DECIMALS_AS_TEXT) return null;
    return new DecimalColumn(DecimalColumn.MAX_PRECISION, options.decimalScale, column);
  }

  private Column bytes() {
    // Some drivers report this type as binary, but its hyphenated form is what people and the database know.
    if ("UUID".equalsIgnoreCase(column.typeName)) return null;
    return BytesColumn.ofBytes(column.takesAnyType);
  }

  private Column date() throws SQLException {
    return times("tdD", Integer.BYTES, column.times(), fields -> {
      long day = fields.epochDay();
      return fields.isDate() && fields.nanosOfDay() == 0 && day == (int) day ? day : NO_NUMBER;
    });
  }

  private Column time() throws SQLException {
    boolean inNanos = column.scale > MICRO_DIGITS;
    return times(inNanos ? "ttn" : "ttu", Long.BYTES, column.times(), fields -> {
      if (fields.hasDate() || !fields.isTimeOfDay()) return NO_NUMBER;
      return inNanos ? fields.nanosOfDay() : micros(fields.nanosOfDay());
    });
  }

  private Column timestamp(String zone) throws SQLException {
    return times("tsu:" + zone, Long.BYTES, column.times(), fields -> {
      long micros = micros(fields.nanosOfDay());
      boolean isPointInTime = fields.isDate() && (fields.isTimeOfDay() || !fields.hasTime());
      if (!isPointInTime || micros == NO_NUMBER || Math.abs(fields.epochDay()) > MAX_DAY) return NO_NUMBER;
      return fields.epochDay() * MICROS_PER_DAY + micros;
    });
  }

  private static long micros(long nanos) {
    return nanos % 1000 == 0 ? nanos / 1000 : NO_NUMBER;
  }

  /** Converts a date or time to its Arrow number; {@link #NO_NUMBER} if there is none. */
  private interface Count {
    long of(TemporalFields fields);
  }

  private Column times(String format, int width, TemporalReader times, Count count) {
    FixedColumn.Reader reader = (rows, number) -> {
      TemporalFields fields = times.read();
      if (fields == null) return 0;
      long value = count.of(fields);
      if (value == NO_NUMBER) throw new UnfitValueException(times.text(), format);
      return value;
    };
    return FixedColumn.ofTimes(format, width, reader, options.outOfRangeAsNull);
  }
}
