package com.ulvanejdbc.arrow;

import com.ulvanejdbc.LoadedColumn;
import java.math.BigDecimal;
import java.sql.Array;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.util.function.IntFunction;

/** Values of one parameter, each bound with its type. */
final class ParameterColumn {
  /** Binds a value that is not null. */
  private interface Binder {
    void bind(PreparedStatement statement, int place, int row) throws SQLException;
  }

  private final ParameterField field;
  private final LoadedColumn texts;
  private final String zone;
  private final Binder binder;

  /**
   * @param texts binds what goes to the database as text: dates and times too, as drivers move them between time zones
   * @param zone suffix of a timestamp in UTC; empty if the parameter has no time zone
   */
  ParameterColumn(ParameterField field, LoadedColumn texts, String zone) throws SQLException {
    this.field = field;
    this.texts = texts;
    this.zone = zone;
    binder = choose();
  }

  void bind(PreparedStatement statement, int place, int row) throws SQLException {
    if (field.isNull(row)) {
      texts.bind(statement, place, null);
    } else {
      binder.bind(statement, place, row);
    }
  }

  private Binder choose() throws SQLException {
    switch (field.format.charAt(0)) {
      case 'd':
        return decimals();
      case 't':
        return times();
      case 'w':
        int width = Integer.parseInt(field.format.substring(2));
        return (statement, place, row) -> statement.setBytes(place, field.fixedBytes(row, width));
      case '+':
        return lists();
      default:
        return ofOneLetter();
    }
  }

  private Binder ofOneLetter() throws SQLException {
    switch (field.format) {
      case "n":
        return (statement, place, row) -> texts.bind(statement, place, null);
      case "b":
        return (statement, place, row) -> statement.setBoolean(place, field.truth(row));
      case "c":
        return (statement, place, row) -> statement.setInt(place, field.int8(row));
      case "C":
        return (statement, place, row) -> statement.setInt(place, Byte.toUnsignedInt(field.int8(row)));
      case "s":
        return (statement, place, row) -> statement.setInt(place, field.int16(row));
      case "S":
        return (statement, place, row) -> statement.setInt(place, Short.toUnsignedInt(field.int16(row)));
      case "i":
        return (statement, place, row) -> statement.setInt(place, field.int32(row));
      case "I":
        return (statement, place, row) -> statement.setLong(place, Integer.toUnsignedLong(field.int32(row)));
      case "l":
        return (statement, place, row) -> statement.setLong(place, field.int64(row));
      case "L":
        return (statement, place, row) -> bindUnsigned(statement, place, field.int64(row));
      case "f":
        return (statement, place, row) -> statement.setFloat(place, field.float32(row));
      case "g":
        return (statement, place, row) -> statement.setDouble(place, field.float64(row));
      case "u":
      case "U":
        return (statement, place, row) -> texts.bind(statement, place, field.text(row));
      case "z":
      case "Z":
        return (statement, place, row) -> statement.setBytes(place, field.bytes(row));
      default:
        throw field.unknown();
    }
  }

  private static void bindUnsigned(PreparedStatement statement, int place, long value) throws SQLException {
    if (value >= 0) {
      statement.setLong(place, value);
    } else {
      statement.setBigDecimal(place, new BigDecimal(Long.toUnsignedString(value)));
    }
  }

  private Binder decimals() {
    IntFunction<BigDecimal> decimals = field.decimals();
    return (statement, place, row) -> texts.bindDecimal(statement, place, decimals.apply(row));
  }

  private Binder times() throws SQLException {
    TimeText text = TimeText.of(field, zone);
    return (statement, place, row) -> texts.bind(statement, place, text.at(row));
  }

  private Binder lists() throws SQLException {
    if (!field.isList()) throw field.unknown();
    ArrayElements elements = ArrayElements.of(field.elements, texts, zone);
    return (statement, place, row) -> {
      Object[] values = elements.values(field.start(row), field.start(row + 1));
      Array array = statement.getConnection().createArrayOf(elements.sqlName, values);
      elements.requireDigits(values, array);
      statement.setArray(place, array);
    };
  }
}
