package com.ulvanejdbc;

import com.ulvanejdbc.Transactions.Ending;
import java.sql.BatchUpdateException;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.IntStream;

/**
 * Statements that run together: all of them or none, as far as the database can undo them. They wait here and not in
 * the caller's statement, on which some drivers refuse a query while a batch waits.
 */
final class Batch {
  /** Where the update counts do not tell: the first number, from 0, also in the translations of PostgreSQL's driver. */
  private static final Pattern TOLD = Pattern.compile("(?:batch entry|(?=.*getNextException))[^\\d\\[]*(\\d{1,9})",
      Pattern.CASE_INSENSITIVE | Pattern.DOTALL);

  private List<String> waiting = new ArrayList<>();

  void add(String sql) {
    waiting.add(sql);
  }

  /** What waits, which is forgotten here. */
  List<String> take() {
    List<String> taken = waiting;
    waiting = new ArrayList<>();
    return taken;
  }

  /** @param atOnce how many statements to hand to the driver together; between such groups the batch can be cancelled */
  static void execute(Connection connection, List<String> statements, int atOnce, Cancellation cancellation)
      throws SQLException {
    int size = statements.size();
    for (int first = 0; first < size; first += atOnce) {
      List<String> group = statements.subList(first, Math.min(first + atOnce, size));
      try {
        execute(connection, group, cancellation);
      } catch (BatchUpdateException failure) {
        String text = "the batch was rolled back: statement " + (first + failedStatement(failure, group.size())) + " of "
            + size + " failed";
        throw new SQLException(text, failure.getSQLState(), failure.getErrorCode(), failure);
      }
    }
  }

  @SuppressWarnings("try") // the ending is there to be closed
  private static void execute(Connection connection, List<String> group, Cancellation cancellation)
      throws SQLException {
    try (Statement statement = connection.createStatement(); Ending closes = () -> cancellation.begin(null)) {
      for (String sql : group) statement.addBatch(sql);
      cancellation.begin(statement);
      cancellation.check();
      statement.executeBatch();
    } catch (BatchUpdateException failure) {
      cancellation.check();
      throw failure;
    }
  }

  /** Counted from 1. Some drivers mark the statement, some mark all and tell it in their text, and some stop at it. */
  private static int failedStatement(BatchUpdateException failure, int size) {
    int[] counts = failure.getUpdateCounts();
    int index = 0;
    while (index < counts.length && counts[index] != Statement.EXECUTE_FAILED) ++index;
    long marks = IntStream.of(counts).filter(count -> count == Statement.EXECUTE_FAILED).count();
    int told = marks == 1 ? index : told(failure);
    return told < size ? told + 1 : Math.min(index + 1, size);
  }

  /** The statement that the text tells, counted from 0; far beyond all when it tells none. */
  private static int told(BatchUpdateException failure) {
    Matcher told = TOLD.matcher(String.valueOf(failure.getMessage()));
    return told.lookingAt() ? Integer.parseInt(told.group(1)) : Integer.MAX_VALUE;
  }
}
