package com.ulvanejdbc;

import java.sql.BatchUpdateException;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Statements that run together: all of them or none. They wait here and not in the caller's statement, on which some
 * drivers refuse a query while a batch waits.
 */
final class Batch {
  /** Where the update counts do not tell: the first number, from 0, also in the translations of PostgreSQL's driver. */
  private static final Pattern TOLD = Pattern.compile("(?:batch entry|(?=.*getNextException))\\D*(\\d+)",
      Pattern.CASE_INSENSITIVE | Pattern.DOTALL);

  private List<String> waiting = new ArrayList<>();

  void add(String sql) {
    waiting.add(sql);
  }

  void clear() {
    waiting = new ArrayList<>();
  }

  /**
   * Runs what waits, and forgets it whether it worked or not.
   *
   * @param running is told what runs, and null afterwards
   * @return how many statements ran
   */
  int run(Transactions transactions, Consumer<Statement> running) throws SQLException {
    List<String> statements = waiting;
    clear();
    if (statements.isEmpty()) return 0;
    transactions.runAsOne(connection -> execute(connection, statements, running));
    return statements.size();
  }

  private static void execute(Connection connection, List<String> statements, Consumer<Statement> running)
      throws SQLException {
    try (Statement statement = connection.createStatement()) {
      running.accept(statement);
      for (String sql : statements) statement.addBatch(sql);
      statement.executeBatch();
    } catch (BatchUpdateException failure) {
      String text = "nothing of the batch is kept: statement " + failedStatement(failure, statements.size()) + " of "
          + statements.size() + " failed";
      throw new SQLException(text, failure.getSQLState(), failure.getErrorCode(), failure);
    } finally {
      running.accept(null);
    }
  }

  /** Counted from 1. Some drivers tell the statement in their text, some mark it, and some stop at it. */
  private static int failedStatement(BatchUpdateException failure, int size) {
    Matcher told = TOLD.matcher(String.valueOf(failure.getMessage()));
    if (told.lookingAt()) return Integer.parseInt(told.group(1)) + 1;
    int[] counts = failure.getUpdateCounts();
    int index = 0;
    while (index < counts.length && counts[index] != Statement.EXECUTE_FAILED) ++index;
    return Math.min(index + 1, size);
  }
}
