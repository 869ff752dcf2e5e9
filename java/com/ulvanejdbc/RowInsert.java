package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** Inserts rows of values into a table, as many per statement as is fastest on the database. */
public final class RowInsert {
  /** PostgreSQL's protocol counts them in 16 bits, and its driver took them for signed. */
  private static final int MAX_PARAMETERS = 32767;

  private final Session session;
  private final LoadedColumn[] columns;
  private final int[] types;
  private final String insert;
  private final String row;

  /**
   * Finds out what the columns are.
   *
   * @param table its name as it stands in SQL
   * @param names of columns, exactly as the database has them
   */
  public RowInsert(Session session, String table, String... names) throws SQLException {
    this.session = session;
    String quote = session.connection().getMetaData().getIdentifierQuoteString().trim();
    String list = Stream.of(names).map(name -> quoted(name, quote)).collect(Collectors.joining(", "));
    columns = new LoadedColumn[names.length];
    types = new int[names.length];
    String[] places = new String[names.length];
    // A driver need not know the parameters' types of a statement that has not run.
    try (Statement statement = session.connection().createStatement();
         ResultSet none = statement.executeQuery("select " + list + " from " + table + " where 1 = 0")) {
      ResultSetMetaData described = none.getMetaData();
      for (int column = 0; column < names.length; ++column) {
        String typeName = described.getColumnTypeName(column + 1);
        int reported = described.getColumnType(column + 1);
        columns[column] = new LoadedColumn(names[column], reported, typeName, session.database());
        types[column] = session.database().driver().typeOf(described, column + 1);
        places[column] = session.database().driver().place(table, names[column], typeName);
      }
    }
    insert = "insert into " + table + " (" + list + ") values ";
    row = "(" + String.join(", ", places) + ")";
  }

  /** A name in the database's quotes, which are doubled within it. */
  public static String quoted(String name, String quote) {
    return quote + (quote.isEmpty() ? name : name.replace(quote, quote + quote)) + quote;
  }

  /** Binds the text of each column's values. */
  public LoadedColumn[] columns() {
    return columns;
  }

  /** A column's type as a code of {@link java.sql.Types}. */
  public int type(int column) {
    return types[column];
  }

  /** The statement that inserts one row. */
  String oneRow() {
    return insert + row;
  }

  /** Stores all rows. @return how many, or {@link BoundBatch#UNKNOWN} */
  public long store(Connection connection, ParameterRows rows) throws SQLException {
    session.database().driver().prepareLoad(connection);
    BoundBatch batch = new BoundBatch(session, rows);
    int rowsEach = Math.max(1, Math.min(session.database().rowsPerInsert(), MAX_PARAMETERS / columns.length));
    store(connection, batch, rows.count() / rowsEach, rowsEach);
    store(connection, batch, 1, rows.count() % rowsEach);
    return batch.changed();
  }

  private void store(Connection connection, BoundBatch batch, int statements, int rowsEach) throws SQLException {
    if (rowsEach == 0 || statements == 0) return;
    String rows = Stream.generate(() -> row).limit(rowsEach).collect(Collectors.joining(", "));
    try (PreparedStatement statement = connection.prepareStatement(insert + rows)) {
      batch.run(statement, statements, rowsEach);
    }
  }
}
