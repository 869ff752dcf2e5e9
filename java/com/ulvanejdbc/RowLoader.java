package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.util.function.Consumer;

/**
 * Stores rows of text in a table, by prepared statements whose parameters have the columns' types. Native code finds
 * this class's methods by name. Nothing is thrown to it: a method that fails returns false, and the error of {@link
 * jdbcUtilities} then says why.
 */
public final class RowLoader {
  private static final int NONE = -1;

  private final Session session;
  private final String table;
  private RowInsert insert;
  private final Consumer<Throwable> failures;

  /**
   * Finds out what the columns are.
   *
   * @param table its name as it stands in SQL
   * @param names of columns, exactly as the database has them
   * @param failures what records them
   */
  RowLoader(Session session, String table, String[] names, Consumer<Throwable> failures) throws SQLException {
    this.session = session;
    this.table = table;
    this.failures = failures;
    session.runAsOne(connection -> insert = new RowInsert(session, table, names));
  }

  /**
   * Stores rows as one transaction: all of them or, on failure, none, as far as the table can undo them.
   *
   * @param ends where each value's text ends, row by row, in ints of the machine's byte order; the complement of that
   *     where the value is null
   * @param text the values, one after the other, in standard UTF-8
   */
  public boolean store(ByteBuffer ends, ByteBuffer text) {
    return attempt(() -> {
      LoadedRows rows = new LoadedRows(ends, text, insert.columns());
      session.runAsOne(connection -> insert.store(connection, rows));
    });
  }

  /**
   * Finds the row for which {@link #store} failed just now, by storing the rows one by one and undoing them again.
   *
   * @return counted from 0, with that row's error; -1, with the error unchanged, when none fails
   *     alone or the rows were not undone, since they would be stored twice
   */
  public int failedRow(ByteBuffer ends, ByteBuffer text) {
    int[] found = {NONE};
    try {
      if (!session.undone()) return NONE;
      LoadedRows rows = new LoadedRows(ends, text, insert.columns());
      session.runAsOne(connection -> {
        found[0] = firstFailing(connection, rows);
        throw new SQLException("only tried");
      });
    } catch (Throwable undone) {
      return found[0];
    }
    return NONE;
  }

  private int firstFailing(Connection connection, LoadedRows rows) throws SQLException {
    int number = 0;
    database().driver().prepareLoad(connection);
    try (PreparedStatement statement = connection.prepareStatement(insert.oneRow())) {
      session.setRunning(statement);
      for (; number < rows.count(); ++number) {
        rows.bind(number, statement, 1);
        statement.executeUpdate();
      }
      return NONE;
    } catch (SQLException | RuntimeException failure) {
      failures.accept(failure);
      return number;
    } finally {
      session.setRunning(null);
    }
  }

  /** Has the database write to disk what it committed, where a commit alone does not wait for that. */
  public boolean sync() {
    return attempt(() -> database().driver().sync(session.connection()));
  }

  /** Whether the table can undo rows. */
  public boolean undoes() {
    boolean[] undoes = {false};
    return attempt(() -> undoes[0] = database().undoes(session.connection(), table)) && undoes[0];
  }

  private Database database() {
    return session.database();
  }

  private interface Step {
    void run() throws SQLException;
  }

  private boolean attempt(Step step) {
    try {
      step.run();
      return true;
    } catch (Throwable failure) {
      failures.accept(failure);
      return false;
    }
  }
}
