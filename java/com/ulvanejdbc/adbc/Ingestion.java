package com.ulvanejdbc.adbc;

import com.ulvanejdbc.RowInsert;
import com.ulvanejdbc.Session;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Iterator;
import java.util.List;

/** The table that rows are stored in as a whole. */
final class Ingestion {
  static final String MODE = "adbc.ingest.mode.";

  private enum Mode { CREATE, APPEND, REPLACE, CREATE_APPEND }

  private final AdbcConnection connection;
  private final Session session;
  private final String catalog;
  private final String schema;
  private final String table;
  private final boolean temporary;
  private final Mode mode;

  Ingestion(AdbcConnection connection, AdbcStatement.Settings settings) throws SQLException {
    this.connection = connection;
    session = connection.shared();
    catalog = settings.text(AdbcStatement.TARGET_CATALOG);
    schema = settings.text(AdbcStatement.TARGET_SCHEMA);
    table = settings.text(AdbcStatement.TARGET_TABLE);
    temporary = settings.isTrue(AdbcStatement.TEMPORARY);
    mode = Mode.valueOf(settings.text(AdbcStatement.MODE).substring(MODE.length()).toUpperCase(java.util.Locale.ROOT));
    if (temporary && (catalog != null || schema != null)) {
      throw new AdbcException(Status.INVALID_ARGUMENT, "a temporary table cannot have a catalogue or a schema");
    }
  }

  /** Whether making or dropping a table commits the open transaction. */
  boolean definitionCommits() throws SQLException {
    return session.connection().getMetaData().dataDefinitionCausesTransactionCommit();
  }

  /** Makes the table as the mode wants it. @param formats of Arrow, in pre-order */
  void makeTable(String[] formats, String[] names) throws SQLException {
    boolean exists = exists();
    if (mode == Mode.APPEND && !exists) throw new AdbcException(Status.NOT_FOUND, "table " + table + " does not exist");
    if (mode == Mode.CREATE && exists)
      throw new AdbcException(Status.ALREADY_EXISTS, "table " + table + " already exists");
    if (exists && mode != Mode.REPLACE) return;
    String name = name();
    if (exists) run("drop table " + name);
    run(definition(name, columns(formats, names)));
  }

  /** The rows' way into the table. */
  RowInsert insert(String[] names) throws SQLException {
    try {
      return new RowInsert(session, name(), names);
    } catch (SQLException refused) {
      throw new AdbcException(
          Status.ALREADY_EXISTS, "the columns of table " + table + " differ from those of the rows", refused);
    }
  }

  private String name() throws SQLException {
    return connection.qualified(catalog, schema, table);
  }

  /** Asks the driver: a statement that fails would end the transaction on some databases. */
  private boolean exists() throws SQLException {
    DatabaseMetaData database = session.connection().getMetaData();
    boolean other = false;
    // Temporary tables may have a catalogue and a schema of their own.
    String inCatalog = catalog != null || temporary ? catalog : session.connection().getCatalog();
    String inSchema = schema != null || temporary ? schema : session.connection().getSchema();
    try (ResultSet found = database.getTables(inCatalog, inSchema, pattern(table, database), null)) {
      while (found.next()) {
        if (!table.equals(found.getString("TABLE_NAME"))) continue;
        if (temporary == isTemporary(found)) return true;
        other = other || isHere(found);
      }
    }
    // Not every driver lists temporary tables.
    return temporary && !other && answers();
  }

  /** Whether a table that was found is the one that its name alone means. */
  private boolean isHere(ResultSet found) throws SQLException {
    return fits(found.getString("TABLE_CAT"), session.connection().getCatalog())
        && fits(found.getString("TABLE_SCHEM"), session.connection().getSchema());
  }

  /** Many drivers list what is in the current catalogue or schema without its name. */
  private static boolean fits(String found, String current) {
    return found == null || found.isEmpty() || found.equals(current);
  }

  private boolean answers() throws SQLException {
    String query = "select 1 from " + name() + " where 1 = 0";
    try {
      session.ask(onConnection -> run(query));
      return true;
    } catch (SQLException missing) {
      return false;
    }
  }

  private static boolean isTemporary(ResultSet found) throws SQLException {
    return String.valueOf(found.getString("TABLE_TYPE")).contains("TEMPORARY");
  }

  /** Fits more than the name: not every driver reads its own escapes everywhere. */
  private static String pattern(String name, DatabaseMetaData database) throws SQLException {
    String escape = database.getSearchStringEscape();
    return escape == null || escape.isEmpty() ? name : name.replace(escape, "_");
  }

  private String columns(String[] formats, String[] names) throws SQLException {
    String quote = session.connection().getMetaData().getIdentifierQuoteString().trim();
    Iterator<String> left = Arrays.asList(formats).iterator();
    List<String> columns = new ArrayList<>();
    for (String name : names) columns.add(RowInsert.quoted(name, quote) + ' ' + session.database().columnType(left));
    return String.join(", ", columns);
  }

  private String definition(String name, String columns) throws AdbcException {
    if (!temporary) return "create table " + name + " (" + columns + ")";
    String definition = session.database().temporaryTable(name, columns);
    if (definition == null) throw new AdbcException(Status.NOT_IMPLEMENTED, "this database has no temporary tables");
    return definition;
  }

  private void run(String sql) throws SQLException {
    try (Statement statement = session.connection().createStatement()) {
      statement.execute(sql);
    }
  }
}
