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
  /**
   * The first number of the text, as PostgreSQL's driver has it in each of its languages: counted from 0, in the digits
   * and with the grouping of any locale.
   */
  private static final Pattern NUMBER_IN_TEXT = Pattern.compile(
      "(?:batch entry|(?=.*getNextException))[^\\p{Nd}\\[]*(\\p{Nd}+(?:[\\p{P}\\p{Zs}&&[^ ]]\\p{Nd}{2,3})*)",
      Pattern.CASE_INSENSITIVE | Pattern.DOTALL);

  private static final String BROKEN_CONNECTION = "08";
  private static final int UNKNOWN = -1;

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

  /** In groups, between which the batch can be cancelled. */
  static void execute(Connection connection, List<String> statements, Database database, Cancellation cancellation)
      throws SQLException {
    int size = statements.size();
    int atOnce = database.statementsAtOnce();
    for (int first = 0; first < size; first += atOnce) {
      List<String> group = statements.subList(first, Math.min(first + atOnce, size));
      try {
        execute(connection, group, cancellation);
      } catch (BatchUpdateException failure) {
        int failed = failedStatement(failure, group.size(), database);
        String which =
            failed == UNKNOWN ? "one of " + size + " statements" : "statement " + (first + failed + 1) + " of " + size;
        String text = "the batch was rolled back: " + which + " failed";
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

  /** Counted from 0. Some drivers mark the statement, some mark all and name it in their text, and some stop at it. */
  static int failedStatement(BatchUpdateException failure, int size, Database database) {
    if (size == 1) return 0;
    if (String.valueOf(failure.getSQLState()).startsWith(BROKEN_CONNECTION)) return UNKNOWN;
    int[] counts = failure.getUpdateCounts();
    if (counts == null || counts.length > size) counts = new int[0];
    int unmarked = 0;
    while (unmarked < counts.length && counts[unmarked] != Statement.EXECUTE_FAILED) ++unmarked;
    long marks = IntStream.of(counts).filter(count -> count == Statement.EXECUTE_FAILED).count();
    if (marks == 1) return unmarked;
    int named = statementNamedIn(failure, size);
    if (named != UNKNOWN) return named;
    // Where all are marked, or none of all, it may be any.
    boolean stopped = unmarked < size && (unmarked > 0 || database.countsEndAtFailure());
    boolean says = marks == 0 ? stopped : marks < counts.length;
    return says ? unmarked : UNKNOWN;
  }

  /** The statement whose number the text gives. */
  private static int statementNamedIn(BatchUpdateException failure, int size) {
    Matcher number = NUMBER_IN_TEXT.matcher(String.valueOf(failure.getMessage()));
    if (!number.lookingAt()) return UNKNOWN;
    String digits = number.group(1).replaceAll("\\P{Nd}", "");
    boolean longer = digits.length() > String.valueOf(size).length();
    return longer || Integer.parseInt(digits) >= size ? UNKNOWN : Integer.parseInt(digits);
  }
}
