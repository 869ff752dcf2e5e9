package com.ulvanejdbc;

import com.ulvanejdbc.Transactions.Ending;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.List;

/** One connection with its statement, the rows of its last query and its waiting batch. */
public final class Session {
  /** What stands as a whole or not at all, except what the database commits by itself or cannot undo. */
  public interface Work {
    void run(Connection connection) throws SQLException;
  }

  private static final int GIVES_ROWS = -2;
  private static final int SECONDS_TO_ANSWER = 5;
  private static final String NEGATIVE_LIMIT = "the row limit must not be negative";

  private final Batch batch = new Batch();
  private Connection connection;
  private Database database;
  private Transactions transactions;
  private volatile Cancellation cancellation;
  private Statement statement;
  private Rows rows;

  /** What the rows come from. */
  private Statement rowsStatement;

  /** Connects, unless a live connection is held. */
  void connect(ConnectionUrl target, String user, String password) throws SQLException {
    if (connection != null && !connection.isClosed()) return;
    adopt(Drivers.connect(target, user, password), target.vendor);
  }

  /** Takes a new connection over. @param vendor the word of its URL after "jdbc:" */
  public void adopt(Connection made, String vendor) throws SQLException {
    forget();
    connection = made;
    database = Database.of(vendor);
    transactions = new Transactions(connection, database);
    cancellation = new Cancellation(database);
    try {
      // A URL can switch it off, and nothing here would ever commit.
      if (!connection.getAutoCommit()) connection.setAutoCommit(true);
      database.prepare(connection);
    } catch (Throwable failure) {
      closeQuietly();
      throw failure;
    }
  }

  public boolean isValid(int seconds) throws SQLException {
    return connection != null && connection.isValid(seconds);
  }

  /** Ends the statement that runs, the rows being read or the batch; any thread. It may come too late. */
  public void cancel() throws SQLException {
    Cancellation current = cancellation;
    if (current != null) current.cancel();
  }

  /** Makes the statement, unless there is one. */
  void prepare() throws SQLException {
    if (statement != null && !statement.isClosed()) return;
    statement = connection().createStatement();
  }

  /** @param maxRows how many rows to read at most; 0 is no limit */
  void query(String sql, int maxRows) throws SQLException {
    if (maxRows < 0) throw new MisuseException(NEGATIVE_LIMIT);
    Statement ready = statement();
    endRows();
    openRows(ready, sql, maxRows, () -> ready.executeQuery(sql));
  }

  /**
   * Runs any statement, and keeps its first result.
   *
   * @return how many rows it changed; {@link #GIVES_ROWS} when it gives rows, which are then read like a query's
   */
  int execute(String sql, int maxRows) throws SQLException {
    if (maxRows < 0) throw new MisuseException(NEGATIVE_LIMIT);
    if (database().driver().givesNoRows(connection, sql)) return update(sql);
    Statement ready = statement();
    endRows();
    openRows(ready, sql, maxRows, () -> ready.execute(sql) ? ready.getResultSet() : null);
    if (rows != null) return GIVES_ROWS;
    // A "shutdown" closes it.
    return connection.isClosed() ? 0 : Math.max(0, ready.getUpdateCount());
  }

  /** Runs a prepared query, whose parameters are bound. @param maxRows how many rows to read at most; 0 is no limit */
  public void query(PreparedStatement prepared, String sql, int maxRows) throws SQLException {
    endRows();
    openRows(prepared, sql, maxRows, prepared::executeQuery);
  }

  private interface Execution {
    /** @return null from a statement without rows */
    ResultSet run() throws SQLException;
  }

  private void openRows(Statement ready, String sql, int maxRows, Execution execution) throws SQLException {
    openRows(ready, maxRows, () -> {
      boolean onlyReads = QueryText.onlyReads(sql);
      if (onlyReads) transactions.beginRows();
      database.prepare(ready, onlyReads);
      ready.setMaxRows(maxRows);
      cancellation.begin(ready);
      return execution.run();
    });
  }

  private void openRows(Statement source, int maxRows, Execution execution) throws SQLException {
    rows = null;
    rowsStatement = source;
    try {
      ResultSet result = execution.run();
      if (result != null) rows = new Rows(result, database.anyTypeInAnyCell(), maxRows);
    } catch (Throwable failure) {
      abandonRows(failure);
      throw failure;
    }
    if (rows != null) return;
    cancellation.end();
    transactions.endRows(true);
  }

  /** Goes to the next row; false once past the last one. */
  boolean next() throws SQLException {
    Rows current = rows();
    try {
      cancellation.check();
      if (current.next()) return true;
      // Rows that were cancelled just end in MariaDB's driver.
      cancellation.check();
    } catch (Throwable failure) {
      abandonRows(failure);
      throw failure;
    }
    endRows();
    return false;
  }

  Rows rows() {
    if (rows == null) throw new MisuseException("no rows: no query has been run, or the last one failed");
    return rows;
  }

  /** Ends rows that their reader cannot go on with, unless they have ended already. */
  void abandon(Rows failed, Throwable failure) {
    if (rows == failed) abandonRows(failure);
  }

  /** @return how many rows changed */
  @SuppressWarnings("try") // the endings are there to be closed
  int update(String sql) throws SQLException {
    Statement ready = statement();
    endRows();
    try (Ending ending = transactions::giveBack; Ending notCancelled = cancellation::end) {
      cancellation.begin(ready);
      return ready.executeUpdate(sql);
    }
  }

  void addToBatch(String sql) throws SQLException {
    statement();
    batch.add(sql);
  }

  /** @return how many statements ran */
  int runBatch() throws SQLException {
    statement();
    List<String> statements = batch.take();
    runAsOne(onConnection -> Batch.execute(onConnection, statements, database, cancellation));
    return statements.size();
  }

  public void beginTransaction() throws SQLException {
    connection();
    endRows();
    transactions.begin();
  }

  public void commitTransaction() throws SQLException {
    connection();
    endRows();
    transactions.commitCallers();
  }

  @SuppressWarnings("try") // the ending is there to be closed
  public void rollbackTransaction() throws SQLException {
    connection();
    try (Ending ending = transactions::rollBackCallers) {
      endRows();
    }
  }

  /** Runs a prepared statement, whose parameters are bound. @return how many rows changed; -1 when it gave rows */
  @SuppressWarnings("try") // the endings are there to be closed
  public int update(PreparedStatement prepared) throws SQLException {
    endRows();
    try (Ending ending = transactions::giveBack; Ending notCancelled = cancellation::end) {
      cancellation.begin(prepared);
      return prepared.execute() ? -1 : prepared.getUpdateCount();
    }
  }

  /**
   * Has the rows of a statement that {@link #update(PreparedStatement)} ran read as those of a query, which the next
   * statement ends: SQLite keeps a transaction open for them.
   */
  public void readRows(PreparedStatement ran, ResultSet result, int maxRows) throws SQLException {
    openRows(ran, maxRows, () -> {
      cancellation.begin(ran);
      return result;
    });
  }

  /** Runs statements of the caller's own: all of them or none. */
  @SuppressWarnings("try") // the endings are there to be closed
  public void runAsOne(Work work) throws SQLException {
    connection();
    endRows();
    try (Ending ending = transactions::giveBack) {
      transactions.runAsOne(onConnection -> {
        try (Ending notCancelled = cancellation::end) {
          cancellation.begin(null);
          work.run(onConnection);
        }
      });
    }
  }

  /** Asks the database something that may fail. The rows being read stay where they are, and so does a transaction. */
  public void ask(Work question) throws SQLException {
    connection();
    transactions.ask(question);
  }

  /** Closes a prepared statement, and the rows being read if they are its own. */
  @SuppressWarnings("try") // the statement is there to be closed
  public void close(PreparedStatement prepared) throws SQLException {
    try (Statement closes = prepared) {
      if (rowsStatement == prepared) endRows();
    }
  }

  /** Whether the statements that failed last as one were undone, as far as the database can. */
  boolean undone() {
    return transactions != null && transactions.undone();
  }

  /** What {@link #cancel} cancels while work of the caller's own runs; null for nothing. */
  public void setRunning(Statement runs) {
    cancellation.begin(runs);
  }

  public void checkCancelled() throws SQLException {
    cancellation.check();
  }

  public Database database() {
    connection();
    return database;
  }

  /** What the database holds. Asking leaves the rows being read where they are. */
  Catalog catalog() {
    return new Catalog(connection(), database);
  }

  /**
   * Closes everything, the rest too when a part fails. A waiting batch is dropped, a transaction of {@link
   * #beginTransaction} rolled back.
   */
  @SuppressWarnings("try") // the resources are there to be closed, from the last to the first
  public void close() throws SQLException {
    try (Connection last = connection; Ending third = transactions == null ? null : transactions::abandon;
         Statement second = statement; Ending first = this::endRows) {
      batch.take();
    } finally {
      forget();
    }
  }

  /**
   * Makes room for another connection. That the old one cannot be closed keeps nobody from a new one. Only that it
   * still works but refuses to keep what its last query changed is a failure.
   */
  void leave() throws SQLException {
    try {
      endRows();
    } catch (SQLException refused) {
      if (isValid(SECONDS_TO_ANSWER)) throw refused;
    } finally {
      closeQuietly();
    }
  }

  private void closeQuietly() {
    try {
      close();
    } catch (SQLException | RuntimeException broken) {
      return;
    }
  }

  public Connection connection() {
    if (connection == null) throw new MisuseException("no connection: it must be made first");
    return connection;
  }

  private Statement statement() throws SQLException {
    connection();
    if (statement == null) throw new MisuseException("no statement: getStatement must be called first");
    prepare();
    return statement;
  }

  /** Ends the rows being read, if any. Ending them twice does nothing. */
  @SuppressWarnings("try") // the ending is there to be closed
  private void endRows() throws SQLException {
    if (rows == null) return;
    cancellation.end();
    try (Ending ending = () -> transactions.endRows(true)) {
      rows.close();
    }
  }

  /** Ends the rows after a failure, which stays the one to be reported whatever else fails. */
  @SuppressWarnings("try") // the resources are there to be closed
  private void abandonRows(Throwable failure) {
    cancellation.end();
    // The rows close with the statement. SQLite's would refuse all that follows a query of nothing but a comment.
    try (Ending ending = () -> transactions.endRows(false); Statement spoilt = rowsStatement) {
      rows = null;
    } catch (SQLException | RuntimeException alsoFailed) {
      failure.addSuppressed(alsoFailed);
    }
  }

  private void forget() {
    connection = null;
    transactions = null;
    cancellation = null;
    statement = null;
    rows = null;
    rowsStatement = null;
  }
}
