package com.ulvanejdbc.arrow;

import com.ulvanejdbc.LoadedColumn;
import java.math.BigDecimal;
import java.sql.Array;
import java.sql.SQLException;
import java.util.function.IntFunction;

/** A field's values as objects of which drivers make arrays. */
final class ArrayElements {
  /** Reads a value that is not null. */
  private interface Reader {
    Object read(int row) throws SQLException;
  }

  /** A name of the elements' type that drivers know. */
  final String sqlName;

  private final ParameterField field;
  private final Reader reader;

  private ArrayElements(String sqlName, ParameterField field, Reader reader) {
    this.sqlName = sqlName;
    this.field = field;
    this.reader = reader;
  }

  /** @param zone suffix of a timestamp in UTC */
  static ArrayElements of(ParameterField field, LoadedColumn texts, String zone) throws SQLException {
    switch (field.format.charAt(0)) {
      case 'd':
        IntFunction<BigDecimal> decimals = field.decimals();
        return new ArrayElements("decimal", field, decimals::apply);
      case 't':
        TimeText text = TimeText.of(field, zone);
        return new ArrayElements(timeName(field), field, row -> texts.dateLiteral(text.at(row)));
      default:
        return ofOneLetter(field);
    }
  }

  private static String timeName(ParameterField field) {
    if (field.format.startsWith("td")) return "date";
    if (field.format.startsWith("tt")) return "time";
    return TimeText.isInstant(field) ? "timestamptz" : "timestamp";
  }

  private static ArrayElements ofOneLetter(ParameterField field) throws SQLException {
    switch (field.format) {
      case "b":
        return new ArrayElements("boolean", field, field::truth);
      case "s":
        return new ArrayElements("smallint", field, row -> (int) field.int16(row));
      case "i":
        return new ArrayElements("integer", field, field::int32);
      case "l":
        return new ArrayElements("bigint", field, field::int64);
      case "f":
        return new ArrayElements("float", field, field::float32);
      case "g":
        return new ArrayElements("float", field, field::float64);
      case "u":
      case "U":
        return new ArrayElements("varchar", field, field::text);
      case "z":
      case "Z":
        return new ArrayElements("bytea", field, field::bytes);
      default:
        throw field.unknown();
    }
  }

  /**
   * The values from one row on to another. Bytes come as an array of their own type, which PostgreSQL's driver needs.
   */
  Object[] values(int start, int end) throws SQLException {
    Object[] values = sqlName.equals("bytea") ? new byte[end - start][] : new Object[end - start];
    for (int index = 0; index < values.length; ++index) {
      values[index] = field.isNull(start + index) ? null : reader.read(start + index);
    }
    return values;
  }

  /** HSQLDB's driver makes decimals without a fraction of them. */
  void requireDigits(Object[] values, Array array) throws SQLException {
    if (!sqlName.equals("decimal")) return;
    Object[] made = (Object[]) array.getArray();
    for (int index = 0; index < values.length; ++index) {
      BigDecimal value = (BigDecimal) values[index];
      if (value != null && value.compareTo((BigDecimal) made[index]) != 0)
        throw new UnfitValueException(value, field.format);
    }
  }
}
