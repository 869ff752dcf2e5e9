package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.time.LocalDate;
import java.time.LocalDateTime;

/**
 * How a column's values get into a block: as {@link CellKind#text} gives them, or by a shorter way to the same bytes
 * where there is one.
 */
public final class BlockCell {
  private enum Way { OF_ITS_KIND, SERVER_TEXT, WHOLE_NUMBER, HEX, LOCAL_DATE, LOCAL_DATE_TIME, TEMPORAL_SERVER_TEXT }

  private static final int MAX_USUAL_YEAR = 9999;

  private final ResultSet rows;
  private final int column;
  private final int type;
  private final CellKind kind;
  private final Way way;
  private final TemporalFields fields = new TemporalFields();

  BlockCell(ResultSet rows, int column, int type, CellKind kind) throws SQLException {
    this.rows = rows;
    this.column = column;
    this.type = type;
    this.kind = kind;
    way = chooseWay(Database.of(rows));
  }

  /** Puts the current row's value. @return false for SQL NULL */
  public boolean pack(BlockText text) throws SQLException {
    // A switch and not a class for each way: the VM then makes one piece of code of it all.
    switch (way) {
      case SERVER_TEXT:
        return serverText(text);
      case WHOLE_NUMBER:
        return wholeNumber(text);
      case HEX:
        return hex(text);
      case LOCAL_DATE:
        return localDate(text);
      case LOCAL_DATE_TIME:
        return localDateTime(text);
      case TEMPORAL_SERVER_TEXT:
        return temporalServerText(text);
      default:
        return ofItsKind(text);
    }
  }

  private Way chooseWay(Database database) throws SQLException {
    if (kind == CellKind.ANY) return Way.OF_ITS_KIND;
    if (kind == CellKind.BINARY) return Way.HEX;
    if (database.driver().sendsText(rows, column)) {
      return kind == CellKind.TEMPORAL ? Way.TEMPORAL_SERVER_TEXT : Way.SERVER_TEXT;
    }
    if (kind == CellKind.DECIMAL) return Way.OF_ITS_KIND;
    if (kind == CellKind.TEMPORAL) return database.makesLocalDates() ? localWay() : Way.OF_ITS_KIND;
    return isWholeNumber() && database.writesWholeNumbersPlainly() ? Way.WHOLE_NUMBER : Way.OF_ITS_KIND;
  }

  private Way localWay() {
    return type == Types.DATE ? Way.LOCAL_DATE : type == Types.TIMESTAMP ? Way.LOCAL_DATE_TIME : Way.OF_ITS_KIND;
  }

  private boolean isWholeNumber() {
    return type == Types.TINYINT || type == Types.SMALLINT || type == Types.INTEGER || type == Types.BIGINT;
  }

  private boolean ofItsKind(BlockText text) throws SQLException {
    String value = kind.text(rows, type, column);
    if (value == null) return false;
    text.put(value);
    return true;
  }

  /** The driver decides about what is not UTF-8. */
  private boolean serverText(BlockText text) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return false;
    return text.putUtf8(value) || ofItsKind(text);
  }

  private boolean wholeNumber(BlockText text) throws SQLException {
    long value = rows.getLong(column);
    if (value == 0 && rows.wasNull()) return false;
    text.putNumber(value);
    return true;
  }

  private boolean hex(BlockText text) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return false;
    text.putHex(value);
    return true;
  }

  private boolean localDate(BlockText text) throws SQLException {
    LocalDate value = rows.getObject(column, LocalDate.class);
    if (value == null) return false;
    fields.set(value);
    return putFields(text);
  }

  private boolean localDateTime(BlockText text) throws SQLException {
    LocalDateTime value = rows.getObject(column, LocalDateTime.class);
    if (value == null) return false;
    fields.set(value.toLocalDate());
    fields.set(value.toLocalTime());
    return putFields(text);
  }

  /** The driver clamps years that the objects do not know. */
  private boolean putFields(BlockText text) throws SQLException {
    if (fields.year < 0 || fields.year > MAX_USUAL_YEAR) return ofItsKind(text);
    fields.putInto(text);
    return true;
  }

  /** Values usually have the library's form already. */
  private boolean temporalServerText(BlockText text) throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return false;
    int count = UtcText.lengthInForm(value);
    if (count == 0) return ofItsKind(text);
    text.put(value, 0, count);
    return true;
  }
}
