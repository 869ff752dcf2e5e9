package com.ulvanejdbc;

import java.nio.charset.StandardCharsets;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.time.LocalDate;
import java.time.LocalDateTime;

/** Reads a column of dates or times as numbers: the same value in UTC that {@link datetime} writes as text. */
public final class TemporalReader {
  private enum Way { LOCAL_DATE, LOCAL_DATE_TIME, SERVER_TEXT, LIBRARY_TEXT }

  /** Some drivers clamp the years of their objects beyond this. */
  private static final int MAX_USUAL_YEAR = 9999;

  private final ResultSet rows;
  private final int type;
  private final int column;
  private final Database database;
  private final Way way;
  private final TemporalFields fields = new TemporalFields();

  /** @param type the code of {@link java.sql.Types} that the driver reports for the column */
  public TemporalReader(ResultSet rows, int type, int column) throws SQLException {
    this.rows = rows;
    this.type = type;
    this.column = column;
    database = Database.of(rows);
    way = chooseWay();
  }

  private Way chooseWay() throws SQLException {
    if (database.makesLocalDates() && type == Types.DATE) return Way.LOCAL_DATE;
    if (database.makesLocalDates() && type == Types.TIMESTAMP) return Way.LOCAL_DATE_TIME;
    return database.driver().sendsText(rows, column) ? Way.SERVER_TEXT : Way.LIBRARY_TEXT;
  }

  /**
   * The current row's value, valid until the next call; null for SQL NULL. A value that is neither a date nor a time,
   * such as PostgreSQL's infinity, has none of the fields.
   */
  public TemporalFields read() throws SQLException {
    fields.clear();
    switch (way) {
      case LOCAL_DATE:
        return localDate();
      case LOCAL_DATE_TIME:
        return localDateTime();
      case SERVER_TEXT:
        return serverText();
      default:
        return libraryText();
    }
  }

  /** The current row's value as text, for a message about it. */
  public String text() throws SQLException {
    return database.readTime(rows, type, column);
  }

  private TemporalFields localDate() throws SQLException {
    LocalDate value = rows.getObject(column, LocalDate.class);
    if (value == null) return null;
    fields.set(value);
    return isUsualYear() ? fields : libraryText();
  }

  private TemporalFields localDateTime() throws SQLException {
    LocalDateTime value = rows.getObject(column, LocalDateTime.class);
    if (value == null) return null;
    fields.set(value.toLocalDate());
    fields.set(value.toLocalTime());
    return isUsualYear() ? fields : libraryText();
  }

  private TemporalFields serverText() throws SQLException {
    byte[] value = rows.getBytes(column);
    if (value == null) return null;
    int length = UtcText.lengthInForm(value);
    if (length == 0) return libraryText();
    fields.setForm(value, length);
    return fields;
  }

  private TemporalFields libraryText() throws SQLException {
    String value = text();
    if (value == null) return null;
    TemporalFields parsed = TemporalFields.of(value);
    fields.clear();
    return parsed == null ? fields : parsed;
  }

  private boolean isUsualYear() {
    return fields.year >= 0 && fields.year <= MAX_USUAL_YEAR;
  }
}
