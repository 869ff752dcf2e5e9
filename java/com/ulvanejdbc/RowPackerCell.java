package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.ResultSet;
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
    way = chooseWay(Database.of(rows));
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

  private Way chooseWay(Database database) throws SQLException {
    if (kind == CellKind.ANY) return Way.AS_ITS_KIND;
    if (kind == CellKind.BINARY) return Way.HEX;
    if (database.sendsText(rows, column)) {
      return kind == CellKind.TEMPORAL ? Way.TEMPORAL_SERVER_TEXT : Way.SERVER_TEXT;
    }
    if (kind == CellKind.DECIMAL) return Way.AS_ITS_KIND;
    if (kind == CellKind.TEMPORAL) return temporalWay(database);
    return isWholeNumber() && database.writesWholeNumbersPlainly() ? Way.WHOLE_NUMBER : Way.STRING;
  }

  private Way temporalWay(Database database) {
    if (database.makesLocalDates() && type == Types.DATE) return Way.LOCAL_DATE;
    if (database.makesLocalDates() && type == Types.TIMESTAMP) return Way.LOCAL_DATE_TIME;
    return database.writesTimesAsText() ? Way.TEMPORAL_STRING : Way.AS_ITS_KIND;
  }

  private boolean isWholeNumber() {
    return type == Types.TINYINT || type == Types.SMALLINT || type == Types.INTEGER || type == Types.BIGINT;
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
