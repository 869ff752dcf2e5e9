package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;

/** What a database holds: its users' tables and their columns. */
final class Catalog {
  /** Some databases keep a type of its own for a table in parts; drivers pass over the words that they do not know. */
  private static final String[] TABLE_TYPES = {"TABLE", "PARTITIONED TABLE"};

  private final Connection connection;
  private final Database database;

  Catalog(Connection connection, Database database) {
    this.connection = connection;
    this.database = database;
  }

  /** A column's name and the name of its SQL type. */
  static final class Column {
    final String name;
    final String type;

    Column(String name, String type) {
      this.name = name;
      this.type = type;
    }
  }

  /** The tables' names, in the order in which the database gives them. */
  List<String> tables() throws SQLException {
    return database.listing() == null ? tablesFromDriver() : tablesFromQuery();
  }

  /**
   * @param table a name as listed, or in any case where the database itself folds it
   * @return the columns in their order; empty when there is no such table
   */
  List<Column> columns(String table) throws SQLException {
    for (String spelling : spellings(table)) {
      List<Column> columns = columnsOf(null, spelling);
      int dot = spelling.indexOf('.');
      if (columns.isEmpty() && dot > 0) columns = columnsOf(spelling.substring(0, dot), spelling.substring(dot + 1));
      if (!columns.isEmpty()) return columns;
    }
    return Collections.emptyList();
  }

  private List<String> tablesFromDriver() throws SQLException {
    List<String> names = new ArrayList<>();
    try (ResultSet found = connection.getMetaData().getTables(null, null, "%", TABLE_TYPES)) {
      while (found.next()) {
        String schema = schemaOf(found);
        String table = found.getString("TABLE_NAME");
        if (table == null) throw new SQLException("the driver listed a table without a name");
        if (!database.hidesSchema(schema) && !database.hidesTable(table)) names.add(database.listed(schema, table));
      }
    }
    return names;
  }

  private List<String> tablesFromQuery() throws SQLException {
    List<String> names = new ArrayList<>();
    try (Statement statement = connection.createStatement();
         ResultSet found = statement.executeQuery(database.listing())) {
      while (found.next()) {
        String table = found.getString(1);
        if (table != null && !database.hidesTable(table)) names.add(table);
      }
    }
    return names;
  }

  private List<Column> columnsOf(String schema, String table) throws SQLException {
    DatabaseMetaData metaData = connection.getMetaData();
    Map<String, List<Column>> bySchema = new LinkedHashMap<>();
    try (ResultSet found = metaData.getColumns(null, null, pattern(table, metaData.getSearchStringEscape()), "%")) {
      while (found.next()) {
        // The pattern fits more: nothing is escaped, as not every driver reads its own escapes everywhere.
        if (!table.equals(found.getString("TABLE_NAME"))) continue;
        Column column = new Column(found.getString("COLUMN_NAME"), found.getString("TYPE_NAME"));
        bySchema.computeIfAbsent(schemaOf(found), any -> new ArrayList<>()).add(column);
      }
    }
    return choose(bySchema, schema);
  }

  /** Of tables that share a name: the one of the wanted schema, or the one that a plain name means in SQL. */
  private List<Column> choose(Map<String, List<Column>> bySchema, String wanted) throws SQLException {
    if (wanted != null) return bySchema.getOrDefault(wanted, Collections.emptyList());
    bySchema.keySet().removeIf(database::hidesSchema);
    if (bySchema.isEmpty()) return Collections.emptyList();
    List<Column> first = bySchema.values().iterator().next();
    return bySchema.size() == 1 ? first : bySchema.getOrDefault(connection.getSchema(), first);
  }

  /** Where databases stand in for schemas the database's name is the schema's; without either it is "NULL". */
  private static String schemaOf(ResultSet found) throws SQLException {
    String schema = found.getString("TABLE_SCHEM");
    return String.valueOf(schema == null ? found.getString("TABLE_CAT") : schema);
  }

  private Set<String> spellings(String table) throws SQLException {
    Set<String> spellings = new LinkedHashSet<>();
    spellings.add(table);
    DatabaseMetaData metaData = connection.getMetaData();
    if (metaData.storesUpperCaseIdentifiers()) spellings.add(table.toUpperCase(Locale.ROOT));
    if (metaData.storesLowerCaseIdentifiers()) spellings.add(table.toLowerCase(Locale.ROOT));
    return spellings;
  }

  private static String pattern(String name, String escape) {
    return ConnectionUrl.isEmpty(escape) ? name : name.replace(escape, "_");
  }
}
