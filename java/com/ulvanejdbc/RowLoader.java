package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * Stores rows of text in a table, by prepared statements whose parameters have the columns' types. Native code finds
 * this class's methods by name. Nothing is thrown to it: a method that fails returns false, and {@link
 * #getErrorMessage} then says why.
 */
public final class RowLoader {
  /** PostgreSQL's protocol counts them in 16 bits, and its driver took them for signed. */
  private static final int MAX_PARAMETERS = 32767;

  private static final int NONE = -1;

  private final Session session;
  private final String table;
  private final String[] names;
  private LoadedColumn[] columns;
  private String insert;
  private String row;
  private String error = "";

  /**
   * Finds out what the columns are.
   *
   * @param table its name as it stands in SQL
   * @param names of columns, exactly as the database has them
   */
  RowLoader(Session session, String table, String[] names) throws SQLException {
    this.session = session;
    this.table = table;
    this.names = names;
    session.runAsOne(this::prepare);
  }

  public String getErrorMessage() {
    return error;
  }

  private void prepare(Connection connection) throws SQLException {
    String quote = connection.getMetaData().getIdentifierQuoteString().trim();
    String list = Stream.of(names).map(name -> quoted(name, quote)).collect(Collectors.joining(", "));
    columns = new LoadedColumn[names.length];
    String[] places = new String[names.length];
    // A driver need not know the parameters' types of a statement that has not run.
    try (Statement statement = connection.createStatement();
         ResultSet none = statement.executeQuery("select " + list + " from " + table + " where 1 = 0")) {
      ResultSetMetaData described = none.getMetaData();
      for (int column = 0; column < names.length; ++column) {
        int type = described.getColumnType(column + 1);
        String typeName = described.getColumnTypeName(column + 1);
        columns[column] = new LoadedColumn(names[column], type, typeName, database());
        places[column] = database().place(table, names[column], typeName);
      }
    }
    insert = "insert into " + table + " (" + list + ") values ";
    row = "(" + String.join(", ", places) + ")";
  }

  private static String quoted(String name, String quote) {
    return quote + (quote.isEmpty() ? name : name.replace(quote, quote + quote)) + quote;
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
      LoadedRows rows = new LoadedRows(ends, text, columns);
      session.runAsOne(connection -> store(connection, rows));
    });
  }

  private void store(Connection connection, LoadedRows rows) throws SQLException {
    database().prepareLoad(connection);
    BoundBatch batch = new BoundBatch(session, rows);
    int rowsEach = Math.max(1, Math.min(database().rowsPerInsert(), MAX_PARAMETERS / columns.length));
    store(connection, batch, rows.count() / rowsEach, rowsEach);
    store(connection, batch, 1, rows.count() % rowsEach);
  }

  private void store(Connection connection, BoundBatch batch, int statements, int rowsEach) throws SQLException {
    if (rowsEach == 0 || statements == 0) return;
    try (PreparedStatement statement = connection.prepareStatement(insert + rowPlaces(rowsEach))) {
      batch.run(statement, statements, rowsEach);
    }
  }

  private String rowPlaces(int rowsEach) {
    return Stream.generate(() -> row).limit(rowsEach).collect(Collectors.joining(", "));
  }

  /**
   * Finds the row for which {@link #store} failed just now, by storing the rows one by one and undoing them again.
   *
   * @return counted from 0, with {@link #getErrorMessage} that row's; -1, with the error unchanged, when none fails
   *     alone or the rows were not undone, since they would be stored twice
   */
  public int failedRow(ByteBuffer ends, ByteBuffer text) {
    int[] found = {NONE};
    try {
      if (!session.undone()) return NONE;
      LoadedRows rows = new LoadedRows(ends, text, columns);
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
    database().prepareLoad(connection);
    try (PreparedStatement statement = connection.prepareStatement(insert + row)) {
      session.setRunning(statement);
      for (; number < rows.count(); ++number) {
        rows.bind(number, statement, 1);
        statement.executeUpdate();
      }
      return NONE;
    } catch (SQLException | RuntimeException failure) {
      error = ErrorText.of(failure);
      return number;
    } finally {
      session.setRunning(null);
    }
  }

  /** Has the database write to disk what it committed, where a commit alone does not wait for that. */
  public boolean sync() {
    return attempt(() -> database().sync(session.connection()));
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
      error = ErrorText.of(failure);
      return false;
    }
  }
}
