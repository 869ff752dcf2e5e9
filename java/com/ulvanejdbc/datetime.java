package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.SQLException;

/**
 * Date and time columns as text in UTC, one form for every database. Native code finds the class by this name.
 *
 * <p>The text, by what the value holds:
 *
 * <ul>
 *   <li>a date is {@code yyyy-MM-dd}, a time {@code HH:mm:ss[.f]}, a timestamp {@code yyyy-MM-dd HH:mm:ss[.f]}; the
 *       fraction has up to 9 digits, without trailing zeros, and is left out when it is zero;
 *   <li>a value without a zone keeps the digits that the database shows, whatever the zone of server, session or VM;
 *       a value with one is converted to UTC (a time of day alone wraps at midnight);
 *   <li>years 0001 to 9999 have four digits. Other years are written as ISO 8601 does, with a sign: the year before
 *       0001 is {@code 0000}, 44 BC is {@code -0043}, and the year after 9999 is {@code +10000};
 *   <li>no date is moved between the Julian and the Gregorian calendar; conversion to UTC counts Gregorian days;
 *   <li>PostgreSQL's {@code infinity} and {@code -infinity} stay those words, a time of {@code 24:00:00} stays that,
 *       MariaDB's zero dates and its times beyond a day keep their digits;
 *   <li>MariaDB's TIMESTAMP tells nobody its zone and comes as the session shows it: in UTC when the session's
 *       {@code time_zone} is {@code +00:00};
 *   <li>where the database lets anything into such a column (SQLite), text that is no date or time comes as it is,
 *       bytes come in hexadecimal digits, a whole number is the point in time that the driver reads in it, and a number
 *       with a fraction is a Julian day in UTC.
 * </ul>
 *
 * <p>Stateless, so any thread may call it for a result set that is its own.
 */
public final class datetime {
  private datetime() {}

  /**
   * @param jdbcType the code of {@link java.sql.Types} that the column was reported with: DATE, TIME, TIMESTAMP or one
   *     of the two zoned types. Drivers report zoned columns under the plain codes too, so the value itself decides.
   * @param column counted from 1
   * @return the text, or null for SQL NULL
   */
  public static String getAsUtcString(ResultSet rows, int jdbcType, int column) throws SQLException {
    return Database.of(rows).readTime(rows, jdbcType, column);
  }
}
