package com.ulvanejdbc.adbc;

import com.ulvanejdbc.RowInsert;
import com.ulvanejdbc.Session;
import com.ulvanejdbc.arrow.BatchReader;
import com.ulvanejdbc.arrow.TypedConnection;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.SQLWarning;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.List;

/**
 * A connection with ADBC's options and listings. Native code finds this class and its methods by name. Nothing is
 * thrown to it: a method that fails answers false or null, and {@link #failure} has the text.
 */
public final class AdbcConnection extends TypedConnection {
  private static final String AUTO_COMMIT = "adbc.connection.autocommit";
  private static final String READ_ONLY = "adbc.connection.readonly";
  private static final String ISOLATION = "adbc.connection.transaction.isolation_level";
  private static final String CATALOG = "adbc.connection.catalog";
  private static final String SCHEMA = "adbc.connection.db_schema";

  private static final int END_OF_JDBC = "jdbc:".length();

  private final int usualIsolation;

  /** The transaction of a run is open. */
  private boolean runs;

  /** No statement has run yet in the transaction that is open. */
  private boolean untouched;

  /** What failed was cancelled, and did not run out of its time. */
  private volatile boolean cancelled;

  AdbcConnection(Connection connection, String url) throws SQLException {
    super(new Session());
    session().adopt(connection, url.substring(END_OF_JDBC, url.indexOf(':', END_OF_JDBC)));
    usualIsolation = connection.getTransactionIsolation();
  }

  public boolean setOption(String name, String value) {
    switch (name) {
      case AUTO_COMMIT:
        return attempt(() -> requireTruth(name, value)) && setAutoCommit(isTrue(value));
      case READ_ONLY:
        return attempt(() -> requireTruth(name, value)) && change(() -> connection().setReadOnly(isTrue(value)));
      case ISOLATION:
        return change(() -> connection().setTransactionIsolation(Isolation.levelOf(value, usualIsolation)));
      case CATALOG:
        return setCatalog(value);
      case SCHEMA:
        return setSchema(value);
      default:
        return attempt(
            () -> { throw new AdbcException(Status.NOT_IMPLEMENTED, "unknown connection option: " + name); });
    }
  }

  /** Changes what many databases let change between two transactions only. */
  private boolean change(Step step) {
    return attempt(() -> {
      if (autoCommit() || !untouched) {
        step.run();
        return;
      }
      session().rollbackTransaction();
      try {
        step.run();
      } finally {
        session().beginTransaction();
      }
    });
  }

  @Override
  public boolean setAutoCommit(boolean on) {
    boolean begins = autoCommit() && !on;
    boolean worked = super.setAutoCommit(on);
    if (begins) untouched = worked;
    return worked;
  }

  @Override
  public boolean commit() {
    untouched = super.commit();
    return untouched;
  }

  /** What a statement has committed implicitly stays, and that is no failure. */
  @Override
  public boolean rollback() {
    untouched = super.rollback() || thrown() instanceof SQLWarning;
    return untouched;
  }

  private static boolean isTrue(String value) {
    return "true".equals(value);
  }

  private static void requireTruth(String name, String value) throws AdbcException {
    if (isTrue(value) || "false".equals(value)) return;
    throw new AdbcException(Status.INVALID_ARGUMENT, name + " must be true or false, not " + value);
  }

  /** Null after a failure, and for an option that has no value. */
  public String getOption(String name) {
    String[] value = {null};
    attempt(() -> value[0] = option(name));
    return value[0];
  }

  private String option(String name) throws SQLException {
    switch (name) {
      case AUTO_COMMIT:
        return String.valueOf(autoCommit());
      case READ_ONLY:
        return String.valueOf(connection().isReadOnly());
      case ISOLATION:
        return Isolation.nameOf(connection().getTransactionIsolation());
      case CATALOG:
        return connection().getCatalog();
      case SCHEMA:
        return connection().getSchema();
      default:
        throw new AdbcException(Status.NOT_FOUND, "unknown connection option: " + name);
    }
  }

  /** Ends what runs; any thread. */
  public boolean cancel() {
    cancelled = true;
    try {
      session().cancel();
      return true;
    } catch (SQLException | RuntimeException tooLate) {
      // It keeps its failure for the thread whose call it ended.
      return true;
    }
  }

  /** Begins the transaction of a run with many rows, unless the caller's is open or the database has none. */
  void beginRun() throws SQLException {
    if (runs || !autoCommit() || !connection().getMetaData().supportsTransactions()) return;
    session().beginTransaction();
    runs = true;
  }

  /** Ends what {@link #beginRun} began; one that its caller could not end is ended by the next. */
  void endRun(boolean keep) throws SQLException {
    if (!runs) return;
    runs = false;
    if (!keep) {
      session().rollbackTransaction();
      return;
    }
    try {
      session().commitTransaction();
    } catch (SQLException refused) {
      session().rollbackTransaction();
      throw refused;
    }
  }

  boolean wasCancelled() {
    return cancelled;
  }

  void beginStatement() {
    untouched = false;
    cancelled = false;
  }

  public boolean close() {
    return attempt(session()::close);
  }

  /** Null after a failure. */
  public AdbcStatement statement() {
    AdbcStatement[] made = {null};
    attempt(() -> made[0] = new AdbcStatement(this));
    return made[0];
  }

  private interface Listing {
    byte[] bytes() throws SQLException;
  }

  private byte[] listed(Listing listing) {
    byte[][] bytes = {null};
    attempt(() -> bytes[0] = listing.bytes());
    return bytes[0];
  }

  /** What is known of the database and of this driver; null after a failure. @param codes null for everything */
  public byte[] info(int[] codes) {
    return listed(() -> Info.of(connection().getMetaData(), codes));
  }

  /** Catalogues and what is in them, as deep as is wanted; null after a failure. Null names and types mean all. */
  public byte[] objects(int depth, String catalog, String schema, String table, String[] types, String column) {
    return listed(
        () -> new ObjectTree(connection(), depth, new String[] {catalog, schema, table, column}, types).list());
  }

  public byte[] tableTypes() {
    return listed(() -> {
      List<String> types = new ArrayList<>();
      try (ResultSet found = connection().getMetaData().getTableTypes()) {
        while (found.next()) types.add(found.getString(1).trim());
      }
      TreeWriter tree = new TreeWriter().count(types.size());
      types.forEach(tree::text);
      return tree.toBytes();
    });
  }

  /** A result with a table's columns and without rows; null after a failure. */
  public BatchReader tableSchema(String catalog, String schema, String table) {
    BatchReader[] reader = {null};
    attempt(() -> session().ask(onConnection -> {
      Statement statement = onConnection.createStatement();
      try {
        String name = qualified(catalog, schema, table);
        ResultSet rows = statement.executeQuery("select * from " + name + " where 1 = 0");
        statement.closeOnCompletion();
        reader[0] = BatchReader.ofOwnResult(rows, AdbcStatement.defaultOptions());
      } catch (SQLException refused) {
        statement.close();
        throw missingOr(refused, table);
      }
    }));
    return reader[0];
  }

  /** Nothing but the table can be missing. */
  private static SQLException missingOr(SQLException refused, String table) {
    int status = Status.of(refused);
    if (status != Status.INVALID_ARGUMENT && status != Status.NOT_FOUND && status != Status.UNAUTHORIZED)
      return refused;
    return new AdbcException(Status.NOT_FOUND, "table " + table + " does not exist", refused);
  }

  /** A table's name as it stands in SQL. Its catalogue and schema may be null. */
  String qualified(String catalog, String schema, String table) throws SQLException {
    String quote = connection().getMetaData().getIdentifierQuoteString().trim();
    StringBuilder name = new StringBuilder();
    for (String part : new String[] {catalog, schema}) {
      if (part != null && !part.isEmpty()) name.append(RowInsert.quoted(part, quote)).append('.');
    }
    return name.append(RowInsert.quoted(table, quote)).toString();
  }

  /** For statements, which share the connection's session. */
  Session shared() {
    return session();
  }
}
