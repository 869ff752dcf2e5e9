package com.ulvanejdbc;

import java.sql.BatchUpdateException;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Statement;

/** Runs a prepared statement for many rows of values, in groups between which it can be cancelled. */
public final class BoundBatch {
  /** A count or a row that the driver does not report. */
  public static final int UNKNOWN = -1;

  private final Session session;
  private final ParameterRows rows;

  /** The next row to bind, and the first row of the group that runs. */
  private int next;

  private int groupStart;
  private long changed;

  public BoundBatch(Session session, ParameterRows rows) {
    this.session = session;
    this.rows = rows;
  }

  /**
   * Runs the statement for the next rows.
   *
   * @param rowsEach how many rows each run takes
   */
  public void run(PreparedStatement statement, int runs, int rowsEach) throws SQLException {
    int atOnce = session.database().statementsAtOnce();
    // Rows that were bound before one that could not be are still waiting there.
    statement.clearBatch();
    session.setRunning(statement);
    try {
      groupStart = next;
      for (int count = 1; count <= runs; ++count) {
        bind(statement, rowsEach);
        if (atOnce > 1) statement.addBatch();
        if (count % atOnce != 0 && count != runs) continue;
        session.checkCancelled();
        if (atOnce > 1) {
          add(statement.executeBatch());
        } else {
          add(statement.executeUpdate());
        }
        groupStart = next;
      }
    } finally {
      session.setRunning(null);
    }
  }

  private void bind(PreparedStatement statement, int rowsEach) throws SQLException {
    for (int place = 1; place <= rowsEach * rows.width(); place += rows.width()) rows.bind(next++, statement, place);
  }

  private void add(int... counts) {
    for (int count : counts) {
      boolean isKnown = count != Statement.SUCCESS_NO_INFO && changed != UNKNOWN;
      changed = isKnown ? changed + count : UNKNOWN;
    }
  }

  /** How many rows the runs changed, or {@link #UNKNOWN}. */
  public long changed() {
    return changed;
  }

  /** The row for which {@link #run} failed, one row each, counted from 0; or {@link #UNKNOWN}. */
  public int failedRow(SQLException failure) {
    if (next - groupStart == 1) return groupStart;
    if (!(failure instanceof BatchUpdateException)) return UNKNOWN;
    if (session.database().driver().joinsRowsOfBatch(session.connection())) return UNKNOWN;
    int failed = Batch.failedStatement((BatchUpdateException) failure, next - groupStart, session.database());
    return failed == UNKNOWN ? UNKNOWN : groupStart + failed;
  }
}
