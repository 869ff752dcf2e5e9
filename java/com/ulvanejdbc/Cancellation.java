package com.ulvanejdbc;

import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.sql.Statement;

/**
 * Ends what runs on a connection, from any thread. Drivers cancel only a statement that the database is working on, and
 * some not even that, so the request is also kept, and checked between two rows and between the statements of a batch.
 */
final class Cancellation {
  private static final String CANCELLED = "57014";

  private final Database database;
  private Statement statement;
  private boolean running;
  private volatile boolean cancelled;

  Cancellation(Database database) {
    this.database = database;
  }

  /** Cancels a statement of the caller's own. Native code finds it by name. */
  static void cancel(Statement statement) throws SQLException {
    String url = statement.getConnection().getMetaData().getURL();
    Database.of(ConnectionUrl.ready(url).vendor).driver().cancel(statement);
  }

  /** @param runs what to cancel from now on; null to keep only the request */
  synchronized void begin(Statement runs) {
    statement = runs;
    running = true;
  }

  /** Waits for a cancel that is under way, which would otherwise hit what the connection does next. */
  synchronized void end() {
    statement = null;
    running = false;
    cancelled = false;
  }

  void check() throws SQLException {
    if (cancelled) throw new SQLException("the statement was cancelled", CANCELLED);
  }

  /** Does nothing when nothing runs. */
  synchronized void cancel() throws SQLException {
    if (!running) return;
    cancelled = true;
    if (statement == null) return;
    try {
      database.driver().cancel(statement);
    } catch (SQLFeatureNotSupportedException onlyTheRequestIsKept) {
      return;
    }
  }
}
