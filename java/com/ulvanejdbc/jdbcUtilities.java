package com.ulvanejdbc;

import java.sql.SQLException;

/**
 * One database connection through any JDBC driver on the class path, in a form that native code can drive: text and
 * numbers in and out, no exception but from {@link #cancel}, nothing printed. Native code finds this class and its
 * methods by name.
 *
 * <p>A call that fails answers false, null or -1 ({@link #getColumnType}: 0); {@link #getErrorCode} and {@link
 * #getErrorMessage} then tell why, until the next call. The order of use is setUrl, getConnection, getStatement, then
 * queries, updates and batches as they come, then closeConnection. An object serves one thread at a time.
 */
public class jdbcUtilities {
  private static final int NO_ERROR = 0;
  private static final int DATABASE_ERROR = 1;
  private static final int OTHER_ERROR = 2;

  private final Session session = new Session();
  private ConnectionUrl target;
  private int errorCode = NO_ERROR;
  private String errorMessage = "";

  public jdbcUtilities() {}

  /**
   * Takes a ready URL as it stands or, when {@code url} is empty, builds one from the parts by the word of the database
   * type; see {@link ConnectionUrl} for the words. An open connection stays what it is.
   */
  public boolean setUrl(String databaseType, String host, int port, String instance, String database, String url) {
    return attempt(false, () -> {
      target = ConnectionUrl.isEmpty(url)
          ? ConnectionUrl.build(databaseType, new ConnectionUrl.Parts(host, port, instance, database))
          : ConnectionUrl.ready(url);
      if (target.complaint != null) throw new MisuseException(target.complaint);
      return true;
    });
  }

  public String getUrl() {
    return attempt(null, () -> target().url);
  }

  /** The vendor key of the URL: the database type's, or a ready URL's word after "jdbc:". */
  public String getVendor() {
    return attempt(null, () -> target().vendor);
  }

  /**
   * Connects unless a connection is open. An empty user or password is left out. The connection begins in auto-commit
   * mode, whatever the URL says of it; a transaction is opened in SQL.
   */
  public boolean getConnection(String user, String password) {
    return attempt(() -> session.connect(target(), user, password));
  }

  /**
   * Closes the connection and all that depends on it; a batch that has not run is dropped, a transaction of {@link
   * #beginTransaction} rolled back.
   */
  public boolean closeConnection() {
    return attempt(session::close);
  }

  /** Makes the statement that queries, updates and batches need, unless there is one. */
  public boolean getStatement() {
    return attempt(session::prepare);
  }

  /**
   * Runs a query. Its rows come from the database as they are read, until the next query, update or executed batch.
   *
   * <p>What a query changes that does not begin like a read is committed here, on SQLite when its rows end. What a
   * "select" changes, through a function, say, is committed when its rows have been read to their end, at the next
   * query, update or executed batch, or by closeConnection.
   *
   * @param maxRows how many rows to read at most; 0 is no limit
   */
  public boolean executeQuery(String sql, int maxRows) {
    return attempt(() -> session.query(sql, maxRows));
  }

  /** Goes to the next row. Past the last one it answers false without an error. */
  public boolean next() {
    // As the other calls, but spelt out, like getColumn: at millions of cells a second their detour shows.
    try {
      boolean onRow = session.next();
      clearError();
      return onRow;
    } catch (Throwable failure) {
      record(failure);
      return false;
    }
  }

  public int getNumColumns() {
    return attempt(-1, () -> session.rows().count());
  }

  /**
   * The current row's value as text, or null for SQL NULL: dates and times in UTC as {@link datetime} writes them,
   * bytes in lower-case hexadecimal digits, decimal numbers with all their digits, all else as the driver puts it.
   *
   * @param column counted from 1
   */
  public String getColumn(int column) {
    try {
      String text = session.rows().text(column);
      clearError();
      return text;
    } catch (Throwable failure) {
      record(failure);
      return null;
    }
  }

  /** The label of a column, counted from 1. */
  public String getColumnName(int column) {
    return attempt(null, () -> session.rows().label(column));
  }

  /** The database's name for a column's type, counted from 1. */
  public String getColumnTypeName(int column) {
    return attempt(null, () -> session.rows().source().getMetaData().getColumnTypeName(column));
  }

  /** The {@link java.sql.Types} code of a column, counted from 1. */
  public int getColumnType(int column) {
    return attempt(0, () -> session.rows().type(column));
  }

  /** Runs a statement that gives no rows. @return how many rows it changed */
  public int executeUpdate(String sql) {
    return attempt(-1, () -> session.update(sql));
  }

  /**
   * Runs a statement that may give rows, which are then read like those of {@link #executeQuery}.
   *
   * @return how many rows it changed; -2 when it gives rows
   */
  public int execute(String sql, int maxRows) {
    return attempt(-1, () -> session.execute(sql, maxRows));
  }

  /**
   * Ends the statement that runs, the rows being read, or the batch, which then fail; does nothing when nothing runs.
   * Any thread; it may come too late. Rows end at the next row and a batch at its next statement also where the driver
   * cannot cancel. It alone throws, since the error of the call that it ends belongs to that call's thread.
   */
  public void cancel() throws SQLException {
    session.cancel();
  }

  /** Whether the connection still works; asks the database. */
  public boolean isValid(int seconds) throws SQLException {
    return session.isValid(seconds);
  }

  /** Keeps a statement for {@link #executeBatch}. Queries and updates may come in between. */
  public boolean addToBatch(String sql) {
    return attempt(() -> session.addToBatch(sql));
  }

  /**
   * Runs the statements of the batch in one transaction: all of them take effect, or none. Either way the batch is
   * empty afterwards. What the database commits by itself (on H2, HSQLDB and MariaDB a "create table" with all before
   * it) or keeps in tables without transactions is not undone.
   *
   * <p>In a transaction that the caller opened in SQL, the batch becomes part of that one if the driver reports it,
   * as those of H2, MariaDB, PostgreSQL and SQLite do; elsewhere, on HSQLDB and a MySQL server, the batch commits it.
   *
   * @return how many statements ran
   */
  public int executeBatch() {
    return attempt(-1, session::runBatch);
  }

  /**
   * Begins a transaction, of which all that follows is a part until it is committed or rolled back. What is said above
   * of commits waits for that end; a batch that fails is undone alone. SQL must not end it.
   */
  public boolean beginTransaction() {
    return attempt(session::beginTransaction);
  }

  /** Commits what {@link #beginTransaction} began. When the database refuses, {@link #rollbackTransaction} is due. */
  public boolean commitTransaction() {
    return attempt(session::commitTransaction);
  }

  /**
   * Rolls back what {@link #beginTransaction} began. It fails, with all undone that can be, where some of it stays:
   * what the database committed by itself, and, where the database tells, what was changed in tables without
   * transactions.
   */
  public boolean rollbackTransaction() {
    return attempt(session::rollbackTransaction);
  }

  /** The names of the users' tables, without system tables and views. The current query's rows stay where they are. */
  public String[] getTables() {
    return attempt(null, () -> session.catalog().tables().toArray(new String[0]));
  }

  /** How the last call ended: 0 well, 1 with the database's error, 2 with any other (misuse, no driver, no memory). */
  public int getErrorCode() {
    return errorCode;
  }

  /** The last call's error: the driver's text with [SQLState/vendor code], then each further exception on a line. */
  public String getErrorMessage() {
    return errorMessage;
  }

  /**
   * Makes a loader of rows, null on failure. Native code finds it by name.
   *
   * @param table its name as it stands in SQL
   * @param columns their names, exactly as the database has them, each with a NUL after it
   */
  RowLoader loader(String table, String columns) {
    return attempt(null, () -> new RowLoader(session, table, columns.split("\0"), this::record));
  }

  /** For classes that read by the block, or with types. */
  public Session session() {
    return session;
  }

  private ConnectionUrl target() {
    if (target == null) throw new MisuseException("no URL: call setUrl first");
    return target;
  }

  private interface Call<T> {
    T run() throws SQLException;
  }

  private interface Step {
    void run() throws SQLException;
  }

  private boolean attempt(Step step) {
    return attempt(false, () -> {
      step.run();
      return true;
    });
  }

  /** Every call goes through here: nothing that it throws gets out, since native code does not look for exceptions. */
  private <T> T attempt(T failed, Call<T> call) {
    try {
      T answer = call.run();
      clearError();
      return answer;
    } catch (Throwable failure) {
      record(failure);
      return failed;
    }
  }

  private void clearError() {
    if (errorCode == NO_ERROR) return;
    errorCode = NO_ERROR;
    errorMessage = "";
  }

  private void record(Throwable failure) {
    errorCode = ErrorText.isOfDatabase(failure) ? DATABASE_ERROR : OTHER_ERROR;
    errorMessage = ErrorText.of(failure);
  }
}
