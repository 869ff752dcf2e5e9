package bench;

import java.io.BufferedReader;
import java.math.BigDecimal;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.time.LocalDate;
import java.time.LocalDateTime;

/** What a Java program would do. It also connects for those native clients that cannot do it themselves. */
public final class PureJava {
  private static final int ROWS_PER_BATCH = 1000;

  private final Connection connection;
  private final Statement statement;
  private ResultSet rows;

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

  /** The types of the open result's columns. */
  public int[] types() throws SQLException {
    ResultSetMetaData columns = rows.getMetaData();
    int[] types = new int[columns.getColumnCount()];
    for (int at = 0; at < types.length; ++at) types[at] = columns.getColumnType(at + 1);
    return types;
  }

  /**
   * The loop that the others are compared with; it shares nothing with them.
   *
   * @return cells, bytes of their text, nanoseconds until the first row
   */
  public long[] read(String table, int count) throws SQLException {
    return read(table, (type, column) -> {
      String text = rows.getString(column);
      return text == null ? 0 : text.length();
    });
  }

  /** The same loop with the getters of the columns' types, as a program reads that computes with the values. */
  public long[] readTyped(String table, int count) throws SQLException {
    long[] seen = read(table, this::value);
    seen[1] = 0;
    return seen;
  }

  private interface Cell {
    long read(int type, int column) throws SQLException;
  }

  private long[] read(String table, Cell cell) throws SQLException {
    long start = System.nanoTime();
    query("select * from " + table);
    int[] types = types();
    long[] seen = new long[3];
    while (rows.next()) {
      if (seen[0] == 0) seen[2] = System.nanoTime() - start;
      for (int column = 1; column <= types.length; ++column) {
        seen[1] += cell.read(types[column - 1], column);
        ++seen[0];
      }
    }
    return seen;
  }

  private long value(int type, int column) throws SQLException {
    switch (type) {
      case Types.INTEGER:
        return rows.getInt(column) + (rows.wasNull() ? 1 : 0);
      case Types.BIGINT:
        return rows.getLong(column) + (rows.wasNull() ? 1 : 0);
      case Types.DOUBLE:
        return (long) rows.getDouble(column) + (rows.wasNull() ? 1 : 0);
      case Types.NUMERIC:
        BigDecimal number = rows.getBigDecimal(column);
        return number == null ? 0 : number.scale();
      case Types.DATE:
        LocalDate date = rows.getObject(column, LocalDate.class);
        return date == null ? 0 : date.getDayOfMonth();
      case Types.TIMESTAMP:
        LocalDateTime time = rows.getObject(column, LocalDateTime.class);
        return time == null ? 0 : time.getSecond();
      default:
        String text = rows.getString(column);
        return text == null ? 0 : text.length();
    }
  }

  public void close() throws SQLException {
    connection.close();
  }

  /** A batch of statements as text, which is what the library takes. */
  public long[] writeText(String table, int count) throws SQLException {
    for (int row = 0; row < count; ++row) {
      statement.addBatch(
          "insert into " + table + " values (" + row + ", 'note number " + row + "', " + row * 0.5 + ")");
    }
    statement.executeBatch();
    connection.commit();
    return new long[3];
  }

  public long[] writePrepared(String table, int count) throws SQLException {
    try (PreparedStatement insert = prepare(table)) {
      for (int row = 0; row < count; ++row) add(insert, row, "note number " + row, row * 0.5);
      insert.executeBatch();
    }
    connection.commit();
    return new long[3];
  }

  private PreparedStatement prepare(String table) throws SQLException {
    return connection.prepareStatement("insert into " + table + " values (?, ?, ?)");
  }

  private static void add(PreparedStatement insert, int id, String note, double half) throws SQLException {
    insert.setInt(1, id);
    insert.setString(2, note);
    insert.setDouble(3, half);
    insert.addBatch();
  }

  /**
   * Loads a CSV file with typed parameters, batches and one transaction.
   *
   * @param arguments URL, user, file, table; the password is in the environment
   */
  public static void main(String[] arguments) throws Exception {
    PureJava java = new PureJava(arguments[0], arguments[1], System.getenv("KIVO_PASSWORD"), 0, false);
    try (BufferedReader file = Files.newBufferedReader(Paths.get(arguments[2]), StandardCharsets.UTF_8);
         PreparedStatement insert = java.prepare(arguments[3])) {
      file.readLine();
      int added = 0;
      for (String line = file.readLine(); line != null; line = file.readLine()) {
        String[] fields = line.split(",");
        add(insert, Integer.parseInt(fields[0]), fields[1], Double.parseDouble(fields[2]));
        if (++added % ROWS_PER_BATCH == 0) insert.executeBatch();
      }
      insert.executeBatch();
    }
    java.connection.commit();
    java.close();
  }
}
