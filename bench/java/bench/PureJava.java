package bench;

import com.ulvanejdbc.datetime;
import com.ulvanejdbc.jdbcUtilities;
import java.nio.charset.StandardCharsets;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;

/** What a Java program would do, and the connections for the native readers that bring none of their own. */
public final class PureJava {
  private final String url;
  private final String user;
  private final String password;
  private final Connection connection;
  private final Statement statement;
  private ResultSet rows;
  private jdbcUtilities utilities;

  /** What the last read came to: cells, bytes of their text, nanoseconds until the first row. */
  public final long[] seen = new long[3];

  public PureJava(String url, String user, String password, int fetchSize, boolean autoCommit) throws SQLException {
    this.url = url;
    this.user = user;
    this.password = password;
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

  /** A loop of its own, and nothing shared: what the others are measured by. */
  public void read(String sql) throws SQLException {
    long start = System.nanoTime();
    query(sql);
    int columns = rows.getMetaData().getColumnCount();
    long cells = 0;
    long bytes = 0;
    while (rows.next()) {
      if (cells == 0) seen[2] = System.nanoTime() - start;
      for (int column = 1; column <= columns; ++column) {
        String text = rows.getString(column);
        if (text != null) bytes += text.length();
        ++cells;
      }
    }
    tell(cells, bytes);
  }

  /** The text in the form that is written to a file or a socket. */
  public void readBytes(String sql) throws SQLException {
    read(sql, (source, type, column) -> {
      String text = source.getString(column);
      return text == null ? 0 : text.getBytes(StandardCharsets.UTF_8).length;
    });
  }

  /** Dates and times by the companion jar, all else by getString. */
  public void readUtc(String sql) throws SQLException {
    read(sql, (source, type, column) -> {
      boolean isTemporal = type >= Types.DATE && type <= Types.TIMESTAMP;
      String text = isTemporal ? datetime.getAsUtcString(source, type, column) : source.getString(column);
      return text == null ? 0 : text.length();
    });
  }

  private interface Cell {
    int size(ResultSet source, int type, int column) throws SQLException;
  }

  private void read(String sql, Cell cell) throws SQLException {
    query(sql);
    ResultSetMetaData columns = rows.getMetaData();
    int[] types = new int[columns.getColumnCount()];
    for (int at = 0; at < types.length; ++at) types[at] = columns.getColumnType(at + 1);
    long cells = 0;
    long bytes = 0;
    while (rows.next()) {
      for (int at = 0; at < types.length; ++at) bytes += cell.size(rows, types[at], at + 1);
      cells += types.length;
    }
    tell(cells, bytes);
  }

  public void readUtilities(String sql) {
    if (utilities == null) {
      utilities = new jdbcUtilities();
      utilities.setUrl("", "", 0, "", "", url);
      utilities.getConnection(user, password);
      utilities.getStatement();
    }
    utilities.executeQuery(sql, 0);
    int columns = utilities.getNumColumns();
    long cells = 0;
    long bytes = 0;
    while (utilities.next()) {
      for (int column = 1; column <= columns; ++column) {
        String text = utilities.getColumn(column);
        if (text != null) bytes += text.length();
        ++cells;
      }
    }
    tell(cells, bytes);
  }

  private void tell(long cells, long bytes) {
    seen[0] = cells;
    seen[1] = bytes;
  }

  public void close() throws SQLException {
    connection.close();
    if (utilities != null) utilities.closeConnection();
  }

  /** Runs a statement, or a piece of work that several make, and commits. */
  public void execute(String sql) throws SQLException {
    if (rows != null) rows.close();
    for (String part : sql.split(";\n")) statement.execute(part);
    if (!connection.getAutoCommit()) connection.commit();
  }

  public long count(String table) throws SQLException {
    try (ResultSet counted = statement.executeQuery("select count(*) from " + table)) {
      counted.next();
      return counted.getLong(1);
    }
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
