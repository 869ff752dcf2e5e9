package example;

import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.HashMap;
import java.util.Map;
import java.util.Vector;

/**
 * A Java connection class for JavaConnectionUtils, to copy from: one query with bound values, on any JDBC database.
 *
 * <p>JavaConnectionUtils finds the members below by name and signature. A failure is an exception: the host gets false
 * and the exception's description goes to standard error.
 *
 * <p>Parameters: {@code url}, {@code user} and {@code password}; {@code query}, with a {@code ?} for each value; and
 * {@code 1}, {@code 2} and so on, the values.
 */
public final class BoundQuery {
  private final Map<String, String> parameters = new HashMap<>();
  private Connection connection;
  private ResultSet rows;

  /** The constructor must have no arguments. */
  public BoundQuery() {}

  /** May be called more than once. Both arrays come as the host gave them, also when their lengths differ. */
  public void setParams(String[] names, String[] values) {
    if (names.length != values.length) throw new IllegalArgumentException("not as many values as names");
    for (int index = 0; index < names.length; ++index) parameters.put(names[index], values[index]);
  }

  public void connect() throws SQLException {
    close();
    connection = DriverManager.getConnection(parameters.get("url"), parameters.get("user"), parameters.get("password"));
  }

  /** Whether the two methods that follow are of use. */
  public boolean canDiscover() {
    return true;
  }

  /** Adds the tables' names. @return false for "failed", as an exception does */
  public boolean discoverTables(Vector<String> tables) throws SQLException {
    try (ResultSet found = connection.getMetaData().getTables(null, null, "%", new String[] {"TABLE", "BASE TABLE"})) {
      while (found.next()) tables.add(found.getString("TABLE_NAME"));
    }
    return true;
  }

  /** Adds two lists about a table, whatever the host expects of them: here the columns' names and their types. */
  public boolean discoverTable(String table, Vector<String> names, Vector<String> types) throws SQLException {
    try (ResultSet found = connection.getMetaData().getColumns(null, null, table, "%")) {
      while (found.next()) {
        names.add(found.getString("COLUMN_NAME"));
        types.add(found.getString("TYPE_NAME"));
      }
    }
    return true;
  }

  public void query() throws SQLException {
    if (rows != null) rows.getStatement().close();
    PreparedStatement statement = connection.prepareStatement(parameters.get("query"));
    statement.closeOnCompletion();
    for (int number = 1; parameters.containsKey(String.valueOf(number)); ++number) {
      statement.setString(number, parameters.get(String.valueOf(number)));
    }
    rows = statement.executeQuery();
  }

  /** Goes to the next row; false after the last one. */
  public boolean next() throws SQLException {
    return rows.next();
  }

  /** The current row's value as text, null for none. How columns are counted is this class's choice: here from 1. */
  public String getColumn(int column) throws SQLException {
    return rows.getString(column);
  }

  /** Not called by JavaConnectionUtils, which drops the object without a call. */
  public void close() throws SQLException {
    if (connection != null) connection.close();
  }
}
