package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.Locale;
import java.util.regex.Pattern;

/** What PostgreSQL's driver offers beyond JDBC. It is called by name, as the jar is built without the driver. */
final class PostgresDriver extends DatabaseDriver {
  private static final int YEAR_DIGITS = 4;
  private static final Pattern SIGNED_YEAR = Pattern.compile("-?\\d{4,9}");

  private static final String IDLE_IN_OLD_VERSIONS = "0";

  /** It reads by cursor only with auto-commit off, which must stay as it is in a transaction that cannot be seen. */
  @Override
  boolean readsRowsInTransaction(Connection connection) {
    return transactionState(connection) != null;
  }

  @Override
  boolean hasOpenTransaction(Connection connection) {
    Object state = transactionState(connection);
    return state != null && !state.toString().equals("IDLE") && !state.toString().equals(IDLE_IN_OLD_VERSIONS);
  }

  /** Whether the setting is on by which an insert's rows in a batch become few inserts; the URL alone shows it. */
  @Override
  boolean joinsRowsOfBatch(Connection connection) {
    try {
      return connection.getMetaData().getURL().contains("reWriteBatchedInserts=true");
    } catch (SQLException | RuntimeException unknown) {
      return true;
    }
  }

  /** Statements cancel nothing while their next rows are fetched; the connection does. */
  @Override
  void cancel(Statement statement) throws SQLException {
    Connection connection = statement.getConnection();
    try {
      connection.getClass().getMethod("cancelQuery").invoke(connection);
    } catch (ReflectiveOperationException unknown) {
      statement.cancel();
    }
  }

  /**
   * The driver sends many statements before it looks at what the server has to say. Were that a remark for each row, by
   * a trigger, both would wait for the other to read.
   */
  @Override
  void prepareLoad(Connection connection) throws SQLException {
    try (Statement statement = connection.createStatement()) {
      statement.execute("set local client_min_messages = error");
    }
  }

  /** Reads a parameter as a literal is read, where that differs: the fields of an interval, the decimals of money. */
  @Override
  String place(String table, String column, String typeName) {
    if (!typeName.equals("interval") && !typeName.equals("money")) return "?";
    String text = "'" + column.replace("'", "''") + "'";
    String name = "\"" + column.replace("\"", "\"\"") + "\"";
    return "(json_populate_record(null::" + table + ", json_build_object(" + text + ", ?::text)))." + name;
  }

  /** The form in which the server reads a date of any year from the library's, which has signed years. */
  @Override
  String dateLiteral(String text) {
    if (text.startsWith("+")) return text.substring(1);
    int end = text.indexOf('-', 1);
    boolean isDate = end >= YEAR_DIGITS && SIGNED_YEAR.matcher(text.substring(0, end)).matches();
    int year = isDate ? Integer.parseInt(text.substring(0, end)) : 1;
    // The year before 1 is 0 to the library and 1 BC to the server.
    return year > 0 ? text : String.format(Locale.ROOT, "%04d%s BC", 1 - year, text.substring(end));
  }

  /** The driver reports types that JDBC has no code for under the code of another. */
  @Override
  int typeOf(ResultSetMetaData columns, int column) throws SQLException {
    switch (columns.getColumnTypeName(column)) {
      case "timestamptz":
        return Types.TIMESTAMP_WITH_TIMEZONE;
      case "timetz":
        return Types.TIME_WITH_TIMEZONE;
      case "money":
      case "bit":
        return Types.OTHER;
      default:
        return columns.getColumnType(column);
    }
  }

  /** Whether the driver's bytes are the server's text. Those of binary values are decoded from hexadecimal digits. */
  @Override
  boolean sendsText(ResultSet rows, int column) throws SQLException {
    ResultSetMetaData columns = rows.getMetaData();
    return isTextOnTheWire(columns, column) && columns.getColumnType(column) != Types.BINARY && isUtf8(rows);
  }

  /** The server sends some columns in binary form when a statement is run often. */
  private static boolean isTextOnTheWire(ResultSetMetaData columns, int column) {
    return Integer.valueOf(0).equals(call(columns, "getFormat", int.class, column));
  }

  /** The driver lets a URL's setting allow other encodings; its strings are right in any. */
  private static boolean isUtf8(ResultSet rows) throws SQLException {
    Connection connection = rows.getStatement().getConnection();
    return "UTF8".equals(call(connection, "getParameterStatus", String.class, "client_encoding"));
  }

  /** The server refuses to run a plan that it keeps, as it does after a few runs, once its columns have changed. */
  @Override
  public void planEachRun(PreparedStatement statement) {
    call(statement, "setPrepareThreshold", int.class, 0);
  }

  /** Known to the driver from the server's last answer: asking would cost each query a round trip. */
  private static Object transactionState(Connection connection) {
    try {
      return connection.getClass().getMethod("getTransactionState").invoke(connection);
    } catch (ReflectiveOperationException unknown) {
      return null;
    }
  }

  private static Object call(Object target, String method, Class<?> type, Object argument) {
    try {
      return target.getClass().getMethod(method, type).invoke(target, argument);
    } catch (ReflectiveOperationException unknown) {
      return null;
    }
  }
}
