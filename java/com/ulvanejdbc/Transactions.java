package com.ulvanejdbc;

import com.ulvanejdbc.Session.Work;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.sql.SQLWarning;
import java.sql.Savepoint;
import java.sql.Statement;

/**
 * The transactions opened on this side, for the rows of a query, for a batch or by the caller, on a connection in
 * auto-commit mode. The caller ends those that the caller opened, here or in SQL: in them rows are just read, and a
 * batch gets a savepoint.
 */
final class Transactions {
  private static final String SAVEPOINT = "kivo_batch";
  private static final String ENDED_EARLY =
      "not all was rolled back: a statement ended the transaction early, as \"create table\" does in some databases";
  private static final String KEPT = "not all was rolled back: tables without transactions keep what was changed";

  private final Connection connection;
  private final Database database;

  /** The open transaction was begun here. */
  private boolean ours;

  /** Auto-commit was switched off inside the caller's transaction. */
  private boolean borrowed;

  /** The batch runs inside the caller's transaction. */
  private boolean nested;

  private boolean undone;

  /** The caller's transaction was begun here. */
  private boolean begun;

  /** Where it began; null if the driver has no savepoints. Whatever ends the transaction takes it along. */
  private Savepoint beginning;

  /** The caller's transaction has lasted from its beginning to the attempt to commit it. */
  private boolean lasted;

  /** Where the batch inside that transaction began. */
  private Savepoint batchBeginning;

  Transactions(Connection connection, Database database) {
    this.connection = connection;
    this.database = database;
  }

  /** A step that must follow another however that one ends. */
  interface Ending extends AutoCloseable {
    @Override void close() throws SQLException;
  }

  /** Begins a transaction of the caller's, which all that follows is a part of. */
  void begin() throws SQLException {
    if (!connection.getAutoCommit() || database.driver().hasOpenTransaction(connection)) {
      throw new MisuseException("a transaction is open already");
    }
    connection.setAutoCommit(false);
    try {
      beginning = savepoint();
    } catch (Throwable failure) {
      undo(failure, () -> connection.setAutoCommit(true));
      throw failure;
    }
    begun = true;
    lasted = false;
  }

  /** Null if the driver has none: then nobody can see whether the transaction lasts, and no part is undone alone. */
  private Savepoint savepoint() throws SQLException {
    try {
      return connection.setSavepoint();
    } catch (SQLFeatureNotSupportedException none) {
      return null;
    }
  }

  /** Ends the caller's transaction; one that the database refuses to commit waits to be rolled back. */
  void commitCallers() throws SQLException {
    requireBeginning();
    lasted = beginning == null || succeeds(() -> connection.releaseSavepoint(beginning));
    connection.commit();
    endCallers();
  }

  /** Ends the caller's transaction. It is a failure that some of it stays, an {@link SQLWarning}. */
  @SuppressWarnings("try") // the ending is there to be closed
  void rollBackCallers() throws SQLException {
    requireBeginning();
    try (Ending ending = this::endCallers) {
      lasted = lasted || beginning == null || succeeds(() -> connection.rollback(beginning));
      if (!lasted && database.undoesWhatItEnds()) return;
      connection.rollback();
      if (!lasted) throw new SQLWarning(ENDED_EARLY);
      if (database.keptChanges(connection)) throw new SQLWarning(KEPT);
    }
  }

  /** Rolls back what the caller has not ended. Closing the connection would commit it in some drivers. */
  void abandon() throws SQLException {
    if (!begun) return;
    begun = false;
    connection.rollback();
  }

  private void requireBeginning() {
    if (!begun) throw new MisuseException("no transaction: beginTransaction must be called first");
  }

  private void endCallers() throws SQLException {
    begun = false;
    connection.setAutoCommit(true);
  }

  private static boolean succeeds(Ending step) {
    try {
      step.close();
      return true;
    } catch (SQLException refused) {
      return false;
    }
  }

  void beginRows() throws SQLException {
    if (!database.driver().readsRowsInTransaction(connection) || !connection.getAutoCommit()) return;
    boolean callers = database.driver().hasOpenTransaction(connection);
    connection.setAutoCommit(false);
    borrowed = callers;
    ours = !callers;
  }

  /** @param keep whether changes that the query made (through a function, say) stand, as they do in auto-commit mode */
  void endRows(boolean keep) throws SQLException {
    if (ours) endOurs(keep);
    giveBack();
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

  /** Asks the database. On some a statement that fails would end the open transaction. */
  void ask(Work question) throws SQLException {
    Savepoint before = connection.getAutoCommit() ? null : savepoint();
    try {
      question.run(connection);
    } catch (Throwable failure) {
      if (before != null) undo(failure, () -> connection.rollback(before));
      throw failure;
    }
    if (before != null) succeeds(() -> connection.releaseSavepoint(before));
  }

  /** Whether what failed last was undone. */
  boolean undone() {
    return undone;
  }

  private void beginBatch() throws SQLException {
    nested = !connection.getAutoCommit() || database.driver().hasOpenTransaction(connection);
    if (begun) {
      batchBeginning = savepoint();
    } else if (nested) {
      run("savepoint " + SAVEPOINT);
    } else {
      connection.setAutoCommit(false);
      ours = true;
    }
  }

  /** A statement that committed by itself, such as MariaDB's "create table", took the savepoint along. */
  private void endBatch(boolean keep) throws SQLException {
    if (begun) {
      if (!keep && batchBeginning == null) throw new SQLException("the batch cannot be undone alone");
      if (!keep) connection.rollback(batchBeginning);
      succeeds(() -> connection.releaseSavepoint(batchBeginning));
    } else if (nested) {
      if (!keep) run("rollback to savepoint " + SAVEPOINT);
      succeeds(() -> run("release savepoint " + SAVEPOINT));
    } else {
      endOurs(keep);
    }
  }

  /**
   * Switches auto-commit on again once the caller's transaction is over: before, that would commit it. Due after every
   * statement, since any may be the one that ends it.
   */
  void giveBack() throws SQLException {
    if (!borrowed || database.driver().hasOpenTransaction(connection)) return;
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
