package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.SQLException;

/** The open result of a driver or a session, for readers that take many rows per call. */
public final class OpenResult {
  /** Maximum size of the rows fetched at a time. */
  private static final int ENOUGH_BYTES = 1 << 20;

  private static final int FETCH_GROWTH = 4;

  /** What a fetched value takes in the heap besides its bytes: PostgreSQL's driver has an array for each. */
  private static final int VALUE_BYTES = 32;

  /** The SQLState of a cursor that is not open. */
  private static final String CURSOR_STATE = "24000";

  private final ResultSet rows;
  private final Session session;
  private final Rows sessionRows;

  /** Drivers from before JDBC 4 lack the method. */
  private boolean saysWhenClosed = true;

  /** The driver's own fetch size; 0 if not yet known, negative if it cannot be changed. */
  private int usualFetch;

  private OpenResult(ResultSet rows, Session session, Rows sessionRows) {
    this.rows = rows;
    this.session = session;
    this.sessionRows = sessionRows;
  }

  public static OpenResult of(ResultSet rows) {
    return new OpenResult(rows, null, null);
  }

  public static OpenResult of(jdbcUtilities utilities) {
    return of(utilities.session());
  }

  public static OpenResult of(Session session) {
    Rows rows = session.rows();
    return new OpenResult(rows.source(), session, rows);
  }

  /** The driver's result, which gives the current row's values. */
  public ResultSet rows() {
    return rows;
  }

  /** Goes to the next row; false once past the last one. */
  public boolean next() throws SQLException {
    if (session == null) return nextOfDriver();
    if (session.rows() == sessionRows && !sessionRows.isCutShort()) return session.next();
    throw new MisuseException(
        "these rows are no longer open: another query has been run, or a statement that ends them");
  }

  /** Rows that were closed too early just end in SQLite's driver, as if there were no more. */
  private boolean nextOfDriver() throws SQLException {
    if (isClosed()) throw new SQLException("these rows were closed before their end", CURSOR_STATE);
    return rows.next();
  }

  private boolean isClosed() throws SQLException {
    try {
      return saysWhenClosed && rows.isClosed();
    } catch (LinkageError olderThanJdbc4) {
      saysWhenClosed = false;
      return false;
    }
  }

  /** Gives back what the session holds for the rows, after a failure. */
  public void abandon(Throwable failure) {
    if (session != null) session.abandon(sessionRows, failure);
  }

  /**
   * Lets the driver fetch up to four times the rows that it would, if as many are read per call: on PostgreSQL a round
   * trip costs some 50 microseconds, as much as reading eighty rows. The rows fetched must fit in a megabyte, as they
   * lie in the heap; of wider ones fewer are fetched.
   *
   * @param rowsPerCall how many are read per call
   * @param rowBytes how wide the last ones were
   */
  public void fetchByTheBlock(int rowsPerCall, int rowBytes, int columns) {
    try {
      if (usualFetch == 0) usualFetch = rows.getFetchSize();
      if (usualFetch <= 0) return;
      int fitting = ENOUGH_BYTES / (rowBytes + VALUE_BYTES * columns + 1);
      int wanted = Math.min(rowsPerCall, FETCH_GROWTH * usualFetch);
      rows.setFetchSize(Math.max(1, Math.min(fitting, Math.max(wanted, usualFetch))));
    } catch (SQLException | RuntimeException | LinkageError refused) {
      // It is only a hint; the driver's own choice serves as well.
      usualFetch = -1;
    }
  }

  /** The session's rows, which know the kinds of their columns; null for a driver's own result. */
  Rows sessionRows() {
    return sessionRows;
  }
}
