package com.ulvanejdbc;

import java.math.BigDecimal;
import java.nio.charset.StandardCharsets;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Types;
import java.util.regex.Pattern;

/**
 * A parameter that text is bound to, of a column that is loaded or of any statement. A text that is a value of the
 * column's type is bound as one; any other is bound as text, for the database to read or to refuse.
 */
public final class LoadedColumn {
  private static final Pattern INTEGER = Pattern.compile("-?(?:0|[1-9]\\d{0,17})");
  private static final Pattern NUMBER = Pattern.compile("-?(?:0|[1-9]\\d*)(?:\\.\\d+)?(?:[eE][+-]?\\d{1,3})?");
  private static final Pattern BYTES = Pattern.compile("(?:\\p{XDigit}{2})*");
  private static final Pattern TRUE = Pattern.compile("t|true|1", Pattern.CASE_INSENSITIVE);
  private static final Pattern TRUTH = Pattern.compile("t|true|1|f|false|0", Pattern.CASE_INSENSITIVE);

  final String name;
  private final int type;
  private final boolean takesAnyType;
  private final DatabaseDriver driver;
  private final Binder binder;

  /** Binds a text that is not null. */
  private interface Binder {
    void bind(PreparedStatement statement, int place, String value) throws SQLException;
  }

  public LoadedColumn(String name, int type, String typeName, Database database) {
    this.name = name;
    // PostgreSQL infers the type of such a parameter as it does a literal's; a null bound so is still SQL NULL.
    this.type = database.readsParametersAsLiterals() ? Types.OTHER : type;
    takesAnyType = database.anyTypeInAnyCell();
    driver = database.driver();
    binder = database.readsParametersAsLiterals() ? asLiteral(type, database) : typed(type, typeName, database);
  }

  public void bind(PreparedStatement statement, int place, String value) throws SQLException {
    if (value == null) {
      statement.setNull(place, type);
    } else {
      binder.bind(statement, place, value);
    }
  }

  /** The form in which the database reads a date or a timestamp. */
  public String dateLiteral(String text) {
    return driver.dateLiteral(text);
  }

  /** What SQLite's driver binds as a decimal number arrives as text, as it does here. */
  public void bindDecimal(PreparedStatement statement, int place, BigDecimal value) throws SQLException {
    if (takesAnyType) {
      statement.setString(place, value.toPlainString());
    } else {
      statement.setBigDecimal(place, value);
    }
  }

  private static Binder asLiteral(int type, Database database) {
    if (type == Types.DATE || type == Types.TIMESTAMP) {
      return (statement, place, value) -> statement.setObject(place, database.driver().dateLiteral(value), Types.OTHER);
    }
    return (statement, place, value) -> {
      boolean isBytes = type == Types.BINARY && BYTES.matcher(value).matches();
      statement.setObject(place, isBytes ? "\\x" + value : value, Types.OTHER);
    };
  }

  private static Binder typed(int type, String typeName, Database database) {
    if (database.driver().readsAsBytes(typeName)) {
      return (statement, place, value) -> statement.setBytes(place, value.getBytes(StandardCharsets.UTF_8));
    }
    switch (type) {
      case Types.BIT:
      case Types.BOOLEAN:
        return ifLike(TRUTH, (statement, place, value) -> statement.setBoolean(place, TRUE.matcher(value).matches()));
      case Types.TINYINT:
      case Types.SMALLINT:
      case Types.INTEGER:
      case Types.BIGINT:
        return ifLike(INTEGER, LoadedColumn::bindInteger);
      case Types.NUMERIC:
      case Types.DECIMAL:
        // What SQLite's driver binds as a decimal number arrives as text.
        if (database.anyTypeInAnyCell()) return ifLike(NUMBER, LoadedColumn::bindNumber);
        return ifLike(NUMBER, (statement, place, value) -> statement.setBigDecimal(place, new BigDecimal(value)));
      case Types.FLOAT:
      case Types.REAL:
      case Types.DOUBLE:
        return ifLike(NUMBER, LoadedColumn::bindDouble);
      case Types.BINARY:
      case Types.VARBINARY:
      case Types.LONGVARBINARY:
      case Types.BLOB:
        return ifLike(BYTES, (statement, place, value) -> statement.setBytes(place, Digits.bytes(value)));
      case Types.DATE:
      case Types.TIME:
      case Types.TIMESTAMP:
        if (!database.readsTimesAsText()) return (statement, place, value) -> statement.setObject(place, value, type);
        return PreparedStatement::setString;
      default:
        return PreparedStatement::setString;
    }
  }

  private static Binder ifLike(Pattern form, Binder typed) {
    return (statement, place, value) -> {
      if (form.matcher(value).matches()) {
        typed.bind(statement, place, value);
      } else {
        statement.setString(place, value);
      }
    };
  }

  private static void bindInteger(PreparedStatement statement, int place, String value) throws SQLException {
    statement.setLong(place, Long.parseLong(value));
  }

  private static void bindNumber(PreparedStatement statement, int place, String value) throws SQLException {
    String integer = new BigDecimal(value).stripTrailingZeros().toPlainString();
    if (INTEGER.matcher(integer).matches()) {
      bindInteger(statement, place, integer);
    } else {
      bindDouble(statement, place, value);
    }
  }

  /** A number beyond the type's range stays text: some databases would store it as infinity. */
  private static void bindDouble(PreparedStatement statement, int place, String value) throws SQLException {
    double number = Double.parseDouble(value);
    if (Double.isFinite(number)) {
      statement.setDouble(place, number);
    } else {
      statement.setString(place, value);
    }
  }
}
