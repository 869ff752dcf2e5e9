package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ResultColumn;
import com.ulvanejdbc.TemporalFields;
import com.ulvanejdbc.TemporalReader;
import java.math.BigDecimal;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.util.Locale;

/** Chooses a column's Arrow type, and how its values are read, by what the driver says of the column. */
final class ColumnChoice {
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
        return times(ArrowTime.DATE);
      case Types.TIME:
        return times(ArrowTime.ofTime(column.scale));
      case Types.TIMESTAMP:
        return times(ArrowTime.TIMESTAMP);
      case Types.TIMESTAMP_WITH_TIMEZONE:
        return times(ArrowTime.TIMESTAMP_IN_UTC);
      case Types.BINARY:
      case Types.VARBINARY:
      case Types.LONGVARBINARY:
      case Types.BLOB:
        return bytes();
      case Types.ARRAY:
        return ElementChoice.listOf(column, options);
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
    boolean hasScale = !column.typeName.equals("DECFLOAT");
    if (hasScale && DecimalColumn.holds(column.precision, column.scale))
      return new DecimalColumn(column.precision, column.scale, column);
    if (options.decimals == Options.DECIMALS_AS_DOUBLE) return decimal64();
    if (options.decimals == Options.DECIMALS_AS_TEXT) return null;
    return new DecimalColumn(DecimalColumn.MAX_PRECISION, options.decimalScale, column);
  }

  private Column bytes() {
    // Some drivers report this type as binary, but its hyphenated form is what people and the database know.
    if ("UUID".equalsIgnoreCase(column.typeName)) return null;
    return BytesColumn.ofBytes(column.takesAnyType);
  }

  private Column times(ArrowTime type) throws SQLException {
    TemporalReader times = column.times();
    FixedColumn.Reader reader = (rows, number) -> {
      TemporalFields fields = times.read();
      if (fields == null) return 0;
      long value = type.number(fields);
      if (value == ArrowTime.NONE) throw new UnfitValueException(times.text(), type.format);
      return value;
    };
    return FixedColumn.ofTimes(type.format, type.width, reader, options.outOfRangeAsNull);
  }
}
