package com.ulvanejdbc;

import java.lang.reflect.Method;
import java.nio.charset.StandardCharsets;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Types;
import java.time.LocalDate;
import java.time.LocalDateTime;

/**
 * How a column's values get into a block: without a string in between where the driver has something cheaper. The text is
 * the one that {@link CellKind#read} gives, whichever way is chosen.
 */
final class RowPackerCell {
  private enum Way {
    STRING,
    SERVER_TEXT,
    WHOLE_NUMBER,
    HEX,
    TEMPORAL_STRING,
    LOCAL_DATE,
    LOCAL_DATE_TIME,
    TEMPORAL_SERVER_TEXT,
    AS_ITS_KIND
  }

  private static final int MOST_USUAL_YEAR = 9999;

  private final ResultSet rows;
  private final int column;
  private final int type;
  private final CellKind kind;
  private final Way way;

  RowPackerCell(ResultSet rows, int column, int type, CellKind kind) throws SQLException {
    this.rows = rows;
    this.column = column;
    this.type = type;
    this.kind = kind;
    way = chooseWay();
  }

  /** Puts the current row's value. @return false for SQL NULL */
  boolean pack(RowPackerText text) throws SQLException {
    // A switch and not a class for each way: the VM then makes one piece of code of it all.
    switch (way) {
      case STRING:
        return put(rows.getString(column), text);
      case SERVER_TEXT:
        return serverText(text);
      case WHOLE_NUMBER:
        return wholeNumber(text);
      case HEX:
        return hex(text);
      case TEMPORAL_STRING:
        return temporalString(text);
      case LOCAL_DATE:
        return localDate(text);
      case LOCAL_DATE_TIME:
        return localDateTime(text);
      case TEMPORAL_SERVER_TEXT:
        return temporal(rows.getBytes(column), text);
      default:
        return put(kind.read(rows, type, column), text);
    }
  }

  private Way chooseWay() throws SQLException {
    Driver driver = Driver.of(rows);
    boolean isServerText = driver == Driver.POSTGRESQL && isServerText(rows.getMetaData());
    if (kind == CellKind.BINARY) return Way.HEX;
    if (kind == CellKind.TEMPORAL) {
      if (driver == Driver.H2 && type == Types.DATE) return Way.LOCAL_DATE;
      if (driver == Driver.H2 && type == Types.TIMESTAMP) return Way.LOCAL_DATE_TIME;
      if (isServerText) return Way.TEMPORAL_SERVER_TEXT;
      return TemporalSource.of(rows) == TemporalSource.TEXT ? Way.TEMPORAL_STRING : Way.AS_ITS_KIND;
    }
    if (kind == CellKind.ANY) return Way.AS_ITS_KIND;
    if (isServerText) return Way.SERVER_TEXT;
    if (kind == CellKind.DECIMAL) return Way.AS_ITS_KIND;
    return driver.writesWholeNumbersPlainly && isWholeNumber() ? Way.WHOLE_NUMBER : Way.STRING;
  }

  /** Drivers whose ways are known. */
  private enum Driver {
    POSTGRESQL("org.postgresql.", false),
    H2("org.h2.", true),
    HSQLDB("org.hsqldb.", true),
    DERBY("org.apache.derby.", true),
    OTHER("", false);

    private final String packagePrefix;

    /** Whether the text of a whole number is its digits: MariaDB pads some, and SQLite's column may hold anything. */
    final boolean writesWholeNumbersPlainly;

    Driver(String packagePrefix, boolean writesWholeNumbersPlainly) {
      this.packagePrefix = packagePrefix;
      this.writesWholeNumbersPlainly = writesWholeNumbersPlainly;
    }

    static Driver of(ResultSet rows) {
      for (Driver driver : values()) {
        if (rows.getClass().getName().startsWith(driver.packagePrefix)) return driver;
      }
      return OTHER;
    }
  }

  private boolean isWholeNumber() {
    return type == Types.TINYINT || type == Types.SMALLINT || type == Types.INTEGER || type == Types.BIGINT;
  }

  /** Whether the driver's bytes are the server's text: it takes those of binary values out of their hexadecimal digits. */
  private boolean isServerText(ResultSetMetaData columns) throws SQLException {
    return isTextOnTheWire(columns) && columns.getColumnType(column) != Types.BINARY && isServerTextUtf8();
  }

  /** PostgreSQL's driver tells whether the server sends a column as text; it sends some in binary form when asked often. */
  private boolean isTextOnTheWire(ResultSetMetaData columns) {
    try {
      return Integer.valueOf(0).equals(columns.getClass().getMethod("getFormat", int.class).invoke(columns, column));
    } catch (ReflectiveOperationException unknown) {
      return false;
    }
  }

  /** The driver lets a URL's setting allow other encodings; its strings come right in any. */
  private boolean isServerTextUtf8() throws SQLException {
    try {
      Connection connection = rows.getStatement().getConnection();
      Method setting = connection.getClass().getMethod("getParameterStatus", String.class);
      return "UTF8".equals(setting.invoke(connection, "client_encoding"));
    } catch (ReflectiveOperationException unknown) {
      return false;
    }
  }

  private static boolean put(String value, RowPackerText text) {
    if (value == null) return false;
    text.put(value);
    return true;
  }

  /** What is not UTF-8 is the driver's to judge. */
  private boolean serverText(RowPackerText text) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return false;
    return text.putUtf8(value) || put(rows.getString(column), text);
  }

  private boolean wholeNumber(RowPackerText text) throws SQLException {
    long value = rows.getLong(column);
    if (value == 0 && rows.wasNull()) return false;
    text.putNumber(value);
    return true;
  }

  private boolean hex(RowPackerText text) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return false;
    text.putHex(value);
    return true;
  }

  private boolean temporalString(RowPackerText text) throws SQLException {
    String value = rows.getString(column);
    return value != null && temporal(value.getBytes(StandardCharsets.ISO_8859_1), text);
  }

  /** H2 makes these objects faster than texts, but clamps years that they do not know. */
  private boolean localDate(RowPackerText text) throws SQLException {
    LocalDate value = rows.getObject(column, LocalDate.class);
    if (value == null) return false;
    if (!isUsual(value)) return put(datetime.getAsUtcString(rows, type, column), text);
    text.putDate(value);
    return true;
  }

  private boolean localDateTime(RowPackerText text) throws SQLException {
    LocalDateTime value = rows.getObject(column, LocalDateTime.class);
    if (value == null) return false;
    if (!isUsual(value.toLocalDate())) return put(datetime.getAsUtcString(rows, type, column), text);
    text.putTimestamp(value);
    return true;
  }

  private static boolean isUsual(LocalDate date) {
    return date.getYear() >= 0 && date.getYear() <= MOST_USUAL_YEAR;
  }

  /** Most values are in the library's form as they come. */
  private boolean temporal(byte[] value, RowPackerText text) throws SQLException {
    if (value == null) return false;
    int count = UtcText.lengthInForm(value);
    if (count == 0) return put(datetime.getAsUtcString(rows, type, column), text);
    text.put(value, 0, count);
    return true;
  }
}
