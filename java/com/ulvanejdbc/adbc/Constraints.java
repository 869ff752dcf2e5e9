package com.ulvanejdbc.adbc;

import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;

/** Finds the keys of a table. */
final class Constraints {
  private final DatabaseMetaData database;
  private final String catalog;
  private final String schema;
  private final String table;
  private final List<Constraint> found = new ArrayList<>();

  Constraints(DatabaseMetaData database, String catalog, String schema, String table) {
    this.database = database;
    this.catalog = catalog;
    this.schema = schema;
    this.table = table;
  }

  /** What is listed beside tables, a view or an index, may be refused. */
  List<Constraint> find() {
    try {
      List<String> primary = findPrimaryKey();
      findForeignKeys();
      findUniqueKeys(primary);
    } catch (SQLException refused) {
      return found;
    }
    return found;
  }

  /** Drivers list its columns by their names. @return the columns, in the key's order */
  private List<String> findPrimaryKey() throws SQLException {
    Map<Integer, String> columns = new TreeMap<>();
    String name = null;
    try (ResultSet keys = database.getPrimaryKeys(catalog, schema, table)) {
      while (keys.next()) {
        name = keys.getString("PK_NAME");
        columns.put(keys.getInt("KEY_SEQ"), keys.getString("COLUMN_NAME"));
      }
    }
    if (columns.isEmpty()) return new ArrayList<>();
    Constraint key = new Constraint(name, "PRIMARY KEY");
    columns.values().forEach(column -> key.add(column, null));
    found.add(key);
    return key.columns();
  }

  /** Their names may be missing; each begins with its first column. */
  private void findForeignKeys() throws SQLException {
    Constraint key = null;
    try (ResultSet keys = database.getImportedKeys(catalog, schema, table)) {
      while (keys.next()) {
        if (key == null || keys.getInt("KEY_SEQ") == 1) {
          key = new Constraint(keys.getString("FK_NAME"), "FOREIGN KEY");
          found.add(key);
        }
        key.add(keys.getString("FKCOLUMN_NAME"),
            new String[] {keys.getString("PKTABLE_CAT"), keys.getString("PKTABLE_SCHEM"),
                keys.getString("PKTABLE_NAME"), keys.getString("PKCOLUMN_NAME")});
      }
    }
  }

  /** JDBC lists them as indexes, that of the primary key among them. */
  private void findUniqueKeys(List<String> primary) throws SQLException {
    Map<String, Constraint> keys = new LinkedHashMap<>();
    try (ResultSet indexes = database.getIndexInfo(catalog, schema, table, true, true)) {
      while (indexes.next()) {
        String name = indexes.getString("INDEX_NAME");
        if (name == null || indexes.getBoolean("NON_UNIQUE")) continue;
        keys.computeIfAbsent(name, any -> new Constraint(name, "UNIQUE")).add(indexes.getString("COLUMN_NAME"), null);
      }
    }
    keys.values().removeIf(key -> key.columns().equals(primary));
    found.addAll(keys.values());
  }
}
