package com.ulvanejdbc.adbc;

import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.regex.Pattern;

/**
 * What a database holds, as ADBC's GetObjects nests it: catalogues, schemas, tables, their columns and constraints.
 * Where a database has no catalogues or no schemas, one with the empty name takes their place.
 */
final class ObjectTree {
  private static final int ALL = 0;
  private static final int CATALOGS = 1;
  private static final int SCHEMAS = 2;
  private static final int TABLES = 3;

  private final DatabaseMetaData database;

  /** The catalogue of what is listed without one. */
  private final String current;

  private final int depth;
  private final String[] types;

  /** Patterns, null for all. */
  private final String catalogPattern;
  private final String schemaPattern;
  private final String tablePattern;
  private final String columnPattern;

  private final TreeWriter tree = new TreeWriter();

  /** Schemas by catalogue, tables by schema. */
  private final Map<String, Map<String, List<Table>>> catalogs = new TreeMap<>();

  private static final class Table {
    private final String catalog;
    private final String schema;
    private final String name;
    private final String type;

    private Table(String catalog, String schema, String name, String type) {
      this.catalog = catalog;
      this.schema = schema;
      this.name = name;
      this.type = type;
    }
  }

  /** Columns of a table, as they stand in the tree. */
  private final Map<String, List<byte[]>> columns = new LinkedHashMap<>();

  /** @param names patterns of the catalogue, the schema, the table and the column; null for all */
  ObjectTree(Connection connection, int depth, String[] names, String[] types) throws SQLException {
    if (depth < ALL || depth > TABLES) throw new AdbcException(Status.INVALID_ARGUMENT, "invalid depth: " + depth);
    this.database = connection.getMetaData();
    current = orEmpty(connection.getCatalog());
    this.depth = depth;
    this.types = types;
    catalogPattern = names[0];
    schemaPattern = names[1];
    tablePattern = names[2];
    columnPattern = names[3];
  }

  byte[] list() throws SQLException {
    findCatalogs();
    if (depth != CATALOGS) findSchemas();
    if (depth == TABLES || depth == ALL) findTables();
    tree.count(catalogs.size());
    for (Map.Entry<String, Map<String, List<Table>>> catalog : catalogs.entrySet()) {
      tree.text(catalog.getKey());
      writeSchemas(catalog.getValue());
    }
    return tree.toBytes();
  }

  /** ADBC's patterns have no escape. */
  private static boolean fits(String name, String pattern) {
    if (pattern == null) return true;
    StringBuilder regex = new StringBuilder();
    for (char letter : pattern.toCharArray()) {
      regex.append(letter == '%' ? ".*" : letter == '_' ? "." : Pattern.quote(String.valueOf(letter)));
    }
    return Pattern.compile(regex.toString(), Pattern.DOTALL).matcher(name).matches();
  }

  /** A pattern of JDBC that fits at least what ADBC's does, whose names are looked at again. */
  private String jdbc(String pattern, String all) throws SQLException {
    if (pattern == null || pattern.isEmpty()) return all;
    String escape = database.getSearchStringEscape();
    return escape == null || escape.isEmpty() ? pattern : pattern.replace(escape, "%");
  }

  private static String orNull(String name) {
    return name.isEmpty() ? null : name;
  }

  private static String orEmpty(String name) {
    return name == null ? "" : name;
  }

  private void findCatalogs() throws SQLException {
    try (ResultSet found = database.getCatalogs()) {
      while (found.next()) addCatalog(found.getString("TABLE_CAT"));
    }
    if (catalogs.isEmpty()) addCatalog(current);
  }

  private void addCatalog(String name) {
    if (fits(orEmpty(name), catalogPattern)) catalogs.put(orEmpty(name), new TreeMap<>());
  }

  private void findSchemas() throws SQLException {
    boolean any = false;
    try (ResultSet found = database.getSchemas()) {
      while (found.next()) {
        any = true;
        addSchema(found.getString("TABLE_CATALOG"), orEmpty(found.getString("TABLE_SCHEM")));
      }
    }
    if (any) return;
    for (String catalog : catalogs.keySet()) addSchema(catalog, "");
  }

  private void addSchema(String catalog, String schema) throws SQLException {
    Map<String, List<Table>> schemas = catalogs.get(owner(catalog));
    if (schemas != null && fits(schema, schemaPattern)) schemas.put(schema, new ArrayList<>());
  }

  /** Many drivers list what is in the current catalogue alone, without its name. */
  private String owner(String catalog) {
    return catalog == null ? current : catalog;
  }

  private void findTables() throws SQLException {
    for (String catalog : catalogs.keySet()) ofCatalog(catalog, () -> findTables(catalog));
    if (depth == ALL) {
      for (String catalog : catalogs.keySet()) ofCatalog(catalog, () -> findColumns(catalog));
    }
  }

  private interface Search {
    void run() throws SQLException;
  }

  /** A catalogue that is not the current one may be closed to the user. */
  private void ofCatalog(String catalog, Search search) throws SQLException {
    try {
      search.run();
    } catch (SQLException refused) {
      if (catalog.equals(current)) throw refused;
    }
  }

  private void findTables(String wanted) throws SQLException {
    try (ResultSet found =
             database.getTables(orNull(wanted), jdbc(schemaPattern, null), jdbc(tablePattern, "%"), types)) {
      while (found.next()) {
        String catalog = found.getString("TABLE_CAT");
        if (!owner(catalog).equals(wanted)) continue;
        String schema = found.getString("TABLE_SCHEM");
        List<Table> tables = tablesOf(catalog, schema);
        String name = found.getString("TABLE_NAME");
        if (tables == null || name == null || !fits(name, tablePattern)) continue;
        tables.add(new Table(catalog, schema, name, orEmpty(found.getString("TABLE_TYPE")).trim()));
      }
    }
  }

  private List<Table> tablesOf(String catalog, String schema) {
    Map<String, List<Table>> schemas = catalogs.get(owner(catalog));
    return schemas == null ? null : schemas.get(orEmpty(schema));
  }

  private static String key(String catalog, String schema, String table) {
    return orEmpty(catalog) + '\0' + orEmpty(schema) + '\0' + table;
  }

  private void findColumns(String wanted) throws SQLException {
    try (ResultSet found = database.getColumns(
             orNull(wanted), jdbc(schemaPattern, null), jdbc(tablePattern, "%"), jdbc(columnPattern, "%"))) {
      while (found.next()) {
        String table = found.getString("TABLE_NAME");
        if (!owner(found.getString("TABLE_CAT")).equals(wanted)) continue;
        if (tablesOf(found.getString("TABLE_CAT"), found.getString("TABLE_SCHEM")) == null) continue;
        if (!fits(table, tablePattern) || !fits(found.getString("COLUMN_NAME"), columnPattern)) continue;
        String key = key(found.getString("TABLE_CAT"), found.getString("TABLE_SCHEM"), table);
        columns.computeIfAbsent(key, none -> new ArrayList<>()).add(column(found));
      }
    }
  }

  private static byte[] column(ResultSet found) throws SQLException {
    TreeWriter column = new TreeWriter().struct();
    column.text(found.getString("COLUMN_NAME"));
    column.int32(number(found, "ORDINAL_POSITION"));
    column.text(textOrNull(found, "REMARKS"));
    column.int16(number(found, "DATA_TYPE"));
    column.text(textOrNull(found, "TYPE_NAME"));
    column.int32(number(found, "COLUMN_SIZE"));
    column.int16(number(found, "DECIMAL_DIGITS"));
    column.int16(number(found, "NUM_PREC_RADIX"));
    column.int16(number(found, "NULLABLE"));
    column.text(textOrNull(found, "COLUMN_DEF"));
    column.int16(number(found, "DATA_TYPE"));
    column.int16(number(found, "SQL_DATETIME_SUB"));
    column.int32(number(found, "CHAR_OCTET_LENGTH"));
    column.text(textOrNull(found, "IS_NULLABLE"));
    column.text(textOrNull(found, "SCOPE_CATALOG"));
    column.text(textOrNull(found, "SCOPE_SCHEMA"));
    column.text(textOrNull(found, "SCOPE_TABLE"));
    column.bool(truth(found, "IS_AUTOINCREMENT"));
    column.bool(truth(found, "IS_GENERATEDCOLUMN"));
    return column.toBytes();
  }

  /** Null where the driver has no such column, or something else in it. */
  private static Integer number(ResultSet found, String name) {
    try {
      int value = found.getInt(name);
      return found.wasNull() ? null : value;
    } catch (SQLException | RuntimeException none) {
      return null;
    }
  }

  private static String textOrNull(ResultSet found, String name) {
    try {
      return found.getString(name);
    } catch (SQLException | RuntimeException none) {
      return null;
    }
  }

  private static Boolean truth(ResultSet found, String name) {
    String answer = textOrNull(found, name);
    return "YES".equals(answer) ? Boolean.TRUE : "NO".equals(answer) ? Boolean.FALSE : null;
  }

  private void writeSchemas(Map<String, List<Table>> schemas) throws SQLException {
    if (depth == CATALOGS) {
      tree.nullList();
      return;
    }
    tree.count(schemas.size());
    for (Map.Entry<String, List<Table>> schema : schemas.entrySet()) {
      tree.struct().text(schema.getKey());
      if (depth == SCHEMAS) {
        tree.nullList();
        continue;
      }
      tree.count(schema.getValue().size());
      for (Table table : schema.getValue()) writeTable(table);
    }
  }

  private void writeTable(Table table) throws SQLException {
    tree.struct().text(table.name).text(table.type);
    if (depth == TABLES) {
      tree.nullList().nullList();
      return;
    }
    List<byte[]> ofTable = columns.getOrDefault(key(table.catalog, table.schema, table.name), new ArrayList<>());
    tree.count(ofTable.size());
    for (byte[] column : ofTable) tree.raw(column);
    writeConstraints(table);
  }

  private void writeConstraints(Table table) {
    List<Constraint> found = new Constraints(database, table.catalog, table.schema, table.name).find();
    tree.count(found.size());
    for (Constraint constraint : found) constraint.write(tree);
  }
}
