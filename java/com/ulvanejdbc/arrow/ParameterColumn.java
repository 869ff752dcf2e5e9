package com.ulvanejdbc.arrow;

import com.ulvanejdbc.LoadedColumn;
import com.ulvanejdbc.UtcText;
import java.math.BigDecimal;
import java.math.BigInteger;
import java.sql.Array;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.util.concurrent.TimeUnit;

/** Values of one parameter, each bound with its type. */
final class ParameterColumn {
  private static final int DEFAULT_DECIMAL_BITS = 128;

  /** Farther from 1970 than this, a year may not fit 32 bits. */
  private static final long MAX_DAY = 365L * (Integer.MAX_VALUE - 2000);

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
        throw unknown();
    }
  }

  private SQLException unknown() {
    return new SQLFeatureNotSupportedException(
        "values of Arrow's type \"" + field.format + "\" cannot be bound", "0A000");
  }

  private static void bindUnsigned(PreparedStatement statement, int place, long value) throws SQLException {
    if (value >= 0) {
      statement.setLong(place, value);
    } else {
      statement.setBigDecimal(place, new BigDecimal(Long.toUnsignedString(value)));
    }
  }

  /** The format is "d:", precision, scale and, unless it is 128, the number of bits. */
  private Binder decimals() {
    String[] numbers = field.format.substring(2).split(",");
    int scale = Integer.parseInt(numbers[1]);
    int bits = numbers.length > 2 ? Integer.parseInt(numbers[2]) : DEFAULT_DECIMAL_BITS;
    return (statement, place, row) -> {
      BigInteger digits = field.wholeNumber(row, bits / Byte.SIZE);
      texts.bindDecimal(statement, place, new BigDecimal(digits, scale));
    };
  }

  private Binder times() throws SQLException {
    switch (field.format.substring(0, 3)) {
      case "tdD":
        return (statement, place, row) -> texts.bind(statement, place, UtcText.ofDay(field.int32(row)));
      case "tdm":
        return days(TimeUnit.MILLISECONDS);
      case "tts":
        return timesOfDay(TimeUnit.SECONDS, true);
      case "ttm":
        return timesOfDay(TimeUnit.MILLISECONDS, true);
      case "ttu":
        return timesOfDay(TimeUnit.MICROSECONDS, false);
      case "ttn":
        return timesOfDay(TimeUnit.NANOSECONDS, false);
      case "tss":
        return timestamps(TimeUnit.SECONDS);
      case "tsm":
        return timestamps(TimeUnit.MILLISECONDS);
      case "tsu":
        return timestamps(TimeUnit.MICROSECONDS);
      case "tsn":
        return timestamps(TimeUnit.NANOSECONDS);
      default:
        throw unknown();
    }
  }

  private Binder days(TimeUnit unit) {
    long perDay = unit.convert(1, TimeUnit.DAYS);
    return (statement, place,
               row) -> texts.bind(statement, place, UtcText.ofDay(Math.floorDiv(field.int64(row), perDay)));
  }

  private Binder timesOfDay(TimeUnit unit, boolean inInts) {
    return (statement, place, row) -> {
      long units = inInts ? field.int32(row) : field.int64(row);
      if (units < 0 || units >= unit.convert(1, TimeUnit.DAYS)) throw new UnfitValueException(units, field.format);
      texts.bind(statement, place, UtcText.ofTimeOfDay(unit.toNanos(units)));
    };
  }

  /** With any time zone in the format, values are instants counted in UTC. */
  private Binder timestamps(TimeUnit unit) {
    long perDay = unit.convert(1, TimeUnit.DAYS);
    String suffix = field.format.length() > "tsu:".length() ? zone : "";
    return (statement, place, row) -> {
      long units = field.int64(row);
      long nanosOfDay = unit.toNanos(Math.floorMod(units, perDay));
      long day = Math.floorDiv(units, perDay);
      if (Math.abs(day) > MAX_DAY) throw new UnfitValueException(units, field.format);
      texts.bind(statement, place, UtcText.ofDayAndTime(day, nanosOfDay) + suffix);
    };
  }

  private Binder lists() throws SQLException {
    if (!field.isList()) throw unknown();
    ElementKind kind = ElementKind.of(field.elements);
    if (kind == null) throw unknown();
    return (statement, place, row) -> {
      Object[] values = new Object[field.start(row + 1) - field.start(row)];
      for (int index = 0; index < values.length; ++index)
        values[index] = kind.value(field.elements, field.start(row) + index);
      Array array = statement.getConnection().createArrayOf(kind.sqlName, values);
      statement.setArray(place, array);
    };
  }
}
