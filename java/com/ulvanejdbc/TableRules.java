package com.ulvanejdbc;

import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;

/**
 * Which of a database's tables are its users'. Most drivers tell system tables by their type; rules are for those that
 * do not, and for those whose tables are better asked for in SQL. All names are compared exactly.
 */
final class TableRules {
  private static final Collection<String> SQL_SERVER_SCHEMAS = Arrays.asList("INFORMATION_SCHEMA", "sys");
  private static final Collection<String> SQL_SERVER_TABLES =
      Arrays.asList("dtproperties", "sysalternates", "sysconstraints", "syssegments");
  private static final Collection<String> MARIADB_SCHEMAS =
      Arrays.asList("information_schema", "mysql", "performance_schema", "sys");

  private static final TableRules[] ALL = {
    new TableRules("oracle").asking("select table_name from user_tables")
        .hidingPrefixes("AQ$", "DEF$", "HELP", "LOGMNRC_", "LOGMNRP_", "LOGMNRT_", "LOGMNR_", "LOGSTDBY$", "MVIEW$",
            "OL$", "REPCAT$", "SQLPLUS_"),
    new TableRules("teradata")
        .asking("select TableName  from DBC.TablesX where TableKind='T' and not CreatorName='DBC'"),
    new TableRules("microsoft").hidingSchemas(SQL_SERVER_SCHEMAS).hidingTables(SQL_SERVER_TABLES),
    new TableRules("sqlserver").hidingSchemas(SQL_SERVER_SCHEMAS).hidingTables(SQL_SERVER_TABLES),
    new TableRules("db2").hidingSchemas(Arrays.asList("SYSIBM", "SYSCAT", "SYSSTAT", "SYSTOOLS", "SYSIBMADM"))
        .qualifyingNames(),
    new TableRules("h2").hidingSchemas(Collections.singleton("INFORMATION_SCHEMA")),
    new TableRules("mariadb").hidingSchemas(MARIADB_SCHEMAS),
    new TableRules("mysql").hidingSchemas(MARIADB_SCHEMAS),
  };

  private static final TableRules NONE = new TableRules("");

  private final String vendor;
  private String query;
  private boolean qualified;
  private Collection<String> schemas = Collections.emptySet();
  private Collection<String> tables = Collections.emptySet();
  private Collection<String> prefixes = Collections.emptySet();

  private TableRules(String vendor) {
    this.vendor = vendor;
  }

  static TableRules of(String vendor) {
    for (TableRules rules : ALL) {
      if (rules.vendor.equals(vendor)) return rules;
    }
    return NONE;
  }

  /** The query whose first column names the tables, or null to ask the driver. */
  String query() {
    return query;
  }

  boolean hidesSchema(String schema) {
    return schemas.contains(schema);
  }

  boolean hidesTable(String table) {
    return tables.contains(table) || prefixes.stream().anyMatch(table::startsWith);
  }

  /** A table's name as it is listed. */
  String listed(String schema, String table) {
    return qualified ? schema + "." + table : table;
  }

  private TableRules asking(String sql) {
    query = sql;
    return this;
  }

  private TableRules hidingPrefixes(String... hidden) {
    prefixes = Arrays.asList(hidden);
    return this;
  }

  private TableRules hidingSchemas(Collection<String> hidden) {
    schemas = hidden;
    return this;
  }

  private TableRules hidingTables(Collection<String> hidden) {
    tables = hidden;
    return this;
  }

  private TableRules qualifyingNames() {
    qualified = true;
    return this;
  }
}
