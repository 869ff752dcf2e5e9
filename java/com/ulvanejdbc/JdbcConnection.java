package com.ulvanejdbc;

import java.sql.SQLException;
import java.util.Arrays;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Vector;

/**
 * A connection class for native code that drives one by name: any JDBC database, one query, its rows as text, and
 * discovery. Failures are exceptions.
 *
 * <p>Parameters: {@code url}, a JDBC URL whose driver is on the class path; {@code user} and {@code password}, left out
 * when empty; {@code query}, the SQL of the query, needed by {@link #query} alone.
 *
 * <p>Values, streaming and table names are those of {@link jdbcUtilities}. An object serves one thread at a time.
 * Native code need not call {@link #close}: without it, the connection closes when another object of this class is made
 * after this one was collected as garbage.
 */
public final class JdbcConnection {
  private static final List<String> KNOWN = Arrays.asList("url", "user", "password", "query");

  private final Map<String, String> parameters = new HashMap<>();
  private final Session session = new Session();

  public JdbcConnection() {
    Abandoned.watch(this, session);
  }

  /** Takes parameters by name. Those given before stay, or are replaced by a new value of the same name. */
  public void setParams(String[] names, String[] values) {
    if (names.length != values.length) {
      throw new MisuseException(names.length + " parameter names, but " + values.length + " values");
    }
    for (String name : names) {
      if (!KNOWN.contains(name)) throw new MisuseException("unknown parameter \"" + name + "\": there are " + KNOWN);
    }
    for (int index = 0; index < names.length; ++index) parameters.put(names[index], values[index]);
  }

  /** Connects; a connection held before is closed. */
  public void connect() throws SQLException {
    ConnectionUrl target = ConnectionUrl.ready(required("url"));
    session.leave();
    session.connect(target, parameters.get("user"), parameters.get("password"));
    session.prepare();
  }

  public boolean canDiscover() {
    return true;
  }

  /** Adds the names of the users' tables. */
  public boolean discoverTables(Vector<String> tables) throws SQLException {
    tables.addAll(session.catalog().tables());
    return true;
  }

  /** Adds the names of a table's columns to the first list, and the names of their SQL types to the second. */
  public boolean discoverTable(String table, Vector<String> names, Vector<String> types) throws SQLException {
    List<Catalog.Column> columns = session.catalog().columns(table);
    if (columns.isEmpty()) throw new MisuseException("no table \"" + table + "\"");
    for (Catalog.Column column : columns) {
      names.add(column.name);
      types.add(column.type);
    }
    return true;
  }

  /** Runs the query of the parameters. */
  public void query() throws SQLException {
    session.query(required("query"), 0);
  }

  /** Goes to the next row; false past the last one. */
  public boolean next() throws SQLException {
    return session.next();
  }

  /** The current row's value as text, or null for SQL NULL. Columns are counted from 1. */
  public String getColumn(int column) throws SQLException {
    return session.rows().text(column);
  }

  /** Ends the query that runs or the rows being read; see {@link jdbcUtilities#cancel}. */
  public void cancel() throws SQLException {
    session.cancel();
  }

  /** Closes the connection, if one is held. What the last query changed is committed first, which may fail. */
  public void close() throws SQLException {
    session.close();
  }

  private String required(String name) {
    String value = parameters.get(name);
    if (ConnectionUrl.isEmpty(value)) throw new MisuseException("missing parameter \"" + name + "\"");
    return value;
  }
}
