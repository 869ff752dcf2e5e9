package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;

/**
 * The transactions opened on this side, for the rows of a query or for a batch, on a connection in auto-commit mode.
 * One that the caller opened in SQL is the caller's to end: in it rows are just read, and a batch gets a savepoint.
 */
final class Transactions {
  private static final String SAVEPOINT = "kivo_batch";

  private final Connection connection;
  private final Database traits;

  /** The open transaction was begun here. */
  private boolean ours;

  /** Auto-commit was switched off inside the caller's transaction. */
  private boolean borrowed;

  /** The batch runs inside the caller's transaction. */
  private boolean nested;

  private boolean undone;

  Transactions(Connection connection, Database traits) {
    this.connection = connection;
    this.traits = traits;
  }

  /** A step that must follow another however that one ends. */
  interface Ending extends AutoCloseable {
    @Override
    void close() throws SQLException;
  }

  void beginRows() throws SQLException {
    if (!traits.readsRowsInTransaction(connection) || !connection.getAutoCommit()) return;
    boolean callers = traits.hasOpenTransaction(connection);
    connection.setAutoCommit(false);
    borrowed = callers;
    ours = !callers;
  }

  /** @param keep whether changes that the query made (through a function, say) stand, as they do in auto-commit mode */
  void endRows(boolean keep) throws SQLException {
    if (ours) endOurs(keep);
    giveBack();
  }

  /** What stands as a whole or not at all, but for what the database commits by itself or cannot undo. */
  interface Work {
    void run(Connection connection) throws SQLException;
  }

  void runAsOne(Work work) throws SQLException {
    beginBatch();
    try {
      work.run(connection);
    } catch (Throwable failure) {
      undo(failure, () -> endBatch(false));
      throw failure;
    }
    endBatch(true);
  }

  /** Whether what failed last was undone. */
  boolean undone() {
    return undone;
  }

  private void beginBatch() throws SQLException {
    nested = !connection.getAutoCommit() || traits.hasOpenTransaction(connection);
    if (nested) {
      run("savepoint " + SAVEPOINT);
    } else {
      connection.setAutoCommit(false);
      ours = true;
    }
  }

  private void endBatch(boolean keep) throws SQLException {
    if (nested) {
      if (!keep) run("rollback to savepoint " + SAVEPOINT);
      release();
    } else {
      endOurs(keep);
    }
  }

  /** A statement that committed by itself, such as MariaDB's "create table", took the savepoint along. */
  private void release() {
    try {
      run("release savepoint " + SAVEPOINT);
    } catch (SQLException gone) {
      return;
    }
  }

  /**
   * Switches auto-commit on again once the caller's transaction is over: before, that would commit it. Due after every
   * statement, since any may be the one that ends it.
   */
  void giveBack() throws SQLException {
    if (!borrowed || traits.hasOpenTransaction(connection)) return;
    borrowed = false;
    connection.setAutoCommit(true);
  }

  @SuppressWarnings("try") // the ending is there to be closed
  private void endOurs(boolean keep) throws SQLException {
    ours = false;
    try (Ending autoCommit = () -> connection.setAutoCommit(true)) {
      if (keep) {
        commit();
      } else {
        connection.rollback();
      }
    }
  }

  /** A refused commit can leave the transaction open, and the caller's next statements would silently join it. */
  @SuppressWarnings("try") // the ending is there to be closed
  private void commit() throws SQLException {
    try {
      connection.commit();
    } catch (Throwable refused) {
      undo(refused, connection::rollback);
      throw refused;
    }
  }

  /** The failure that is to be undone stays the one to be reported. */
  private void undo(Throwable failure, Ending step) {
    undone = false;
    try {
      step.close();
      undone = true;
    } catch (SQLException | RuntimeException alsoFailed) {
      failure.addSuppressed(alsoFailed);
    }
  }

  private void run(String sql) throws SQLException {
    try (Statement statement = connection.createStatement()) {
      statement.execute(sql);
    }
  }
}
