package bench;

import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/** What a Java program would do, and the connections for the native readers that bring none of their own. */
public final class PureJava {
  private final Connection connection;
  private final Statement statement;
  private ResultSet rows;

  /** What the last read came to: cells, bytes of their text, nanoseconds until the first row. */
  public final long[] seen = new long[3];

  public PureJava(String url, String user, String password, int fetchSize, boolean autoCommit) throws SQLException {
    connection = DriverManager.getConnection(url, user, password);
    connection.setAutoCommit(autoCommit);
    statement = connection.createStatement();
    statement.setFetchSize(fetchSize);
  }

  public Connection connection() {
    return connection;
  }

  public ResultSet query(String sql) throws SQLException {
    if (rows != null) rows.close();
    rows = statement.executeQuery(sql);
    return rows;
  }

  public void read(String sql) throws SQLException {
    long start = System.nanoTime();
    query(sql);
    int columns = rows.getMetaData().getColumnCount();
    long cells = 0;
    long bytes = 0;
    boolean first = true;
    while (rows.next()) {
      if (first) seen[2] = System.nanoTime() - start;
      first = false;
      for (int column = 1; column <= columns; ++column) {
        String text = rows.getString(column);
        if (text != null) bytes += text.length();
        ++cells;
      }
    }
    seen[0] = cells;
    seen[1] = bytes;
  }

  /** Runs a statement, or a piece of work that several make, and commits. */
  public void execute(String sql) throws SQLException {
    if (rows != null) rows.close();
    for (String part : sql.split(";\n")) statement.execute(part);
    if (!connection.getAutoCommit()) connection.commit();
  }

  /** A batch of statements as text, which is what the library takes. */
  public void writeText(String table, int count) throws SQLException {
    for (int row = 0; row < count; ++row) {
      statement.addBatch("insert into " + table + " values (" + row + ", '" + note(row) + "', " + row * 0.5 + ")");
    }
    statement.executeBatch();
    connection.commit();
  }

  public void writePrepared(String table, int count) throws SQLException {
    try (PreparedStatement insert = connection.prepareStatement("insert into " + table + " values (?, ?, ?)")) {
      for (int row = 0; row < count; ++row) {
        insert.setInt(1, row);
        insert.setString(2, note(row));
        insert.setDouble(3, row * 0.5);
        insert.addBatch();
      }
      insert.executeBatch();
    }
    connection.commit();
  }

  private static String note(int row) {
    return "note number " + row;
  }
}
