package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;

/**
 * Which statement of a failed batch it was, where the driver's own answer is not to be relied on. Native code finds
 * this class, its method and its fields by name.
 */
public final class FailedStatement {
  /** Counted from 0. */
  public final int number;

  public final String why;

  private FailedStatement(int number, Throwable failure) {
    this.number = number;
    why = ErrorText.of(failure);
  }

  /**
   * Runs the statements one after the other, up to the one that fails, and undoes them again. Only for statements whose
   * tables have transactions.
   *
   * @param statements the batch that failed last
   * @return null when none fails alone, and when the batch was not undone, since its statements would run twice
   */
  public static FailedStatement find(jdbcUtilities utilities, String[] statements) {
    FailedStatement[] found = {null};
    try {
      Session session = utilities.session();
      if (!session.undone()) return null;
      session.runAsOne(connection -> {
        found[0] = first(session, connection, statements);
        throw new SQLException("only tried");
      });
    } catch (Throwable undone) {
      return found[0];
    }
    return null;
  }

  private static FailedStatement first(Session session, Connection connection, String[] statements) throws SQLException {
    int number = 0;
    try (Statement statement = connection.createStatement()) {
      session.setRunning(statement);
      for (; number < statements.length; ++number) statement.executeUpdate(statements[number]);
      return null;
    } catch (SQLException | RuntimeException failure) {
      return new FailedStatement(number, failure);
    } finally {
      session.setRunning(null);
    }
  }
}
