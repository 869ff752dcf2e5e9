package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.Iterator;
import java.util.function.Predicate;
import java.util.stream.Stream;

/**
 * All that differs from database to database, or from one database's driver to another's: one row for each. No other
 * code asks which database it has.
 */
public enum Database {
  // clang-format off
  ORACLE(new DatabaseRow("oracle", "jdbc:oracle:thin:@{host}:{port}:{instance}")
      .refusingNoInstance("for Oracle the instance name must not be empty")
      .listing("select table_name from user_tables")
      .hidingPrefixes("AQ$", "DEF$", "HELP", "LOGMNRC_", "LOGMNRP_", "LOGMNRT_", "LOGMNR_", "LOGSTDBY$", "MVIEW$",
          "OL$", "REPCAT$", "SQLPLUS_")
      .types("b", "number(1)", "l", "number(19)", "L", "number(20)", "f", "binary_float", "g", "binary_double",
          "u", "varchar2(4000)", "tt", "", "tsn", "timestamp(9)", "tzn", "timestamp(9) with time zone")
      .temporaryTable(null)),

  /** The first driver for SQL Server. */
  MSSQL(new DatabaseRow("mssql", "jdbc:microsoft:sqlserver://{host}[\\{instance}][:{port}][;databaseName={database}]"
      + ";responseBuffering=adaptive").keyed("microsoft").hidingSystemTablesOfSqlServer()),

  /** The driver's own fetch size is the best one. */
  VELMAR(new DatabaseRow("velmar", "jdbc:velmar:Tds:{host}[:{port}][/{database}]")
      .fetching(DatabaseRow.DEFAULT_FETCH_SIZE, DatabaseRow.DEFAULT_FETCH_SIZE)),

  NETEZZA(new DatabaseRow("netezza", "jdbc:netezza://{host}[:{port}][/{database}]")),

  TERADATA(new DatabaseRow("teradata", "jdbc:teradata://{host}/DBS_PORT={port}[,DATABASE={database}]")
      .orWithout("port", "jdbc:teradata://{host}[/DATABASE={database}]")
      .complainingOfInstance("teradata jdbc does not support a specified instance.")
      .listing("select TableName  from DBC.TablesX where TableKind='T' and not CreatorName='DBC'")),

  DB2(new DatabaseRow("db2", "jdbc:db2://{host}[:{port}][/{database}]")
      .types("u", "varchar(8000)", "tz", "timestamp(6)").temporaryTable(null)
      .hidingSchemas("SYSIBM", "SYSCAT", "SYSSTAT", "SYSTOOLS", "SYSIBMADM").qualifyingNames()),

  KDB(new DatabaseRow("kdb", "jdbc:q:{host}:{port}").keyed("kx")),

  POSTGRESQL(new DatabaseRow("postgresql", "jdbc:postgresql://{host}[:{port}]/{database}").classes("org.postgresql.")
      .insertingManyRows().readingParametersAsLiterals()
      .types("u", "text", "z", "bytea", "d", "numeric(%s)", "L", "numeric(20)", "ts", "timestamp", "tz", "timestamptz",
          "+", "%s[]")
      // A cancelled statement ends the rest of its batch, too.
      .statementsAtOnce(4096)
      .times((rows, type, column) -> TemporalCell.ofBytes(rows, type, column, PostgresBinary::toText))
      .driver(new PostgresDriver())),

  SQLSERVER(new DatabaseRow("sqlserver", "jdbc:sqlserver://{host}[\\{instance}][:{port}][;databaseName={database}]")
      .hidingSystemTablesOfSqlServer()
      .types("b", "bit", "C", "tinyint", "u", "nvarchar(max)", "z", "varbinary(max)", "ts", "datetime2(6)",
          "tz", "datetimeoffset(6)").temporaryTable(null)),

  H2(new DatabaseRow("h2", "jdbc:h2:tcp://{host}[:{port}]/{database}").orWithout("host", "jdbc:h2:{database}")
      .classes("org.h2.").readingTimesAsText().hidingSchemas("INFORMATION_SCHEMA")
      .types("c", "tinyint", "u", "varchar", "z", "varbinary", "tt", "time(6)", "ttn", "time(9)", "tsn", "timestamp(9)",
          "tzn", "timestamp(9) with time zone", "+", "%s array")
      .temporaryTable("create local temporary table %s (%s)")
      .settingIfKnown("set lazy_query_execution true").writingWholeNumbersPlainly().makingLocalDates()
      // It goes on with a batch after a statement that was cancelled, and sends each by itself in any case.
      .statementsAtOnce(1).driver(new DatabaseDriver() {
        /** It stores text as a JSON string. */
        @Override
        boolean readsAsBytes(String typeName) {
          return typeName.equals("JSON");
        }

        /** It acknowledges a commit before that is written. */
        @Override
        void sync(Connection connection) throws SQLException {
          try (Statement statement = connection.createStatement()) {
            statement.execute("checkpoint sync");
          }
        }
      })),

  /** It gathers all rows. A database in files keeps those beyond this number on disk, which is several times slower. */
  HSQLDB(new DatabaseRow("hsqldb", "jdbc:hsqldb:hsql://{host}[:{port}]/{database}")
      .orWithout("host", "jdbc:hsqldb:{database}").classes("org.hsqldb.").readingTimesAsText()
      .types("c", "tinyint", "u", "varchar(16777216)", "z", "varbinary(16777216)", "tt", "time(6)", "ttn", "time(9)",
          "tsn", "timestamp(9)", "tzn", "timestamp(9) with time zone", "+", "%s array")
      .temporaryTable("create temporary table %s (%s) on commit preserve rows")
      .settingIfKnown("set session result memory rows 20000").writingWholeNumbersPlainly().endingCountsAtFailure()),

  MARIADB(new DatabaseRow("mariadb", "jdbc:mariadb://{host}[:{port}]/{database}").classes("org.mariadb.")
      .readingTimesAsText().insertingManyRows().types(DatabaseRow.MARIADB_TYPES)
      .times((rows, type, column) -> TemporalCell.ofBytes(rows, type, column, MariaDbBinary::toText))
      .hidingSchemas(DatabaseRow.MARIADB_SCHEMAS).setting("set time_zone = '+00:00'").warningOfKeptChanges()
      // It goes on with a batch after a statement that was cancelled, but is slow when each is sent by itself.
      .statementsAtOnce(16)
      // The server ends and commits a statement when the last of its rows is taken from it.
      .fetching(DatabaseRow.FETCH_SIZE, DatabaseRow.DEFAULT_FETCH_SIZE).driver(new DatabaseDriver() {
        /** A MySQL server, which this driver reaches as well, does not understand the question. */
        @Override
        boolean hasOpenTransaction(Connection connection) {
          try (Statement statement = connection.createStatement();
              ResultSet answer = statement.executeQuery("select @@in_transaction")) {
            return answer.next() && answer.getBoolean(1);
          } catch (SQLException notUnderstood) {
            return false;
          }
        }
      })),

  /** It streams at this fetch size only. */
  MYSQL(new DatabaseRow("mysql", null).readingTimesAsText().insertingManyRows().types(DatabaseRow.MARIADB_TYPES)
      .hidingSchemas(DatabaseRow.MARIADB_SCHEMAS).setting("set time_zone = '+00:00'").warningOfKeptChanges()
      .fetching(Integer.MIN_VALUE, Integer.MIN_VALUE)),

  /** It cannot cancel a statement that runs, only a batch between two. */
  DERBY(new DatabaseRow("derby", "jdbc:derby://{host}[:{port}]/{database}").orWithout("host", "jdbc:derby:{database}")
      .classes("org.apache.derby.").readingTimesAsText().times(TemporalCell::ofCalendar).writingWholeNumbersPlainly()
      .types("u", "varchar(32672)", "ts", "timestamp", "tz", "timestamp").temporaryTable(null)
      .statementsAtOnce(1)),

  SQLITE(new DatabaseRow("sqlite", "jdbc:sqlite:{database}").classes("org.sqlite.").readingTimesAsText()
      .times(TemporalCell::ofAnyType).takingAnyTypeInAnyCell().undoingWhatItEnds()
      .types("u", "text", "L", "numeric", "ts", "timestamp", "tz", "timestamp")
      .states("\\(no such table", "42S02", "\\(table .* already exists\\)", "42S01", "^\\[SQLITE_ERROR\\]", "42000",
          "^\\[SQLITE_CONSTRAINT", "23000", "^\\[SQLITE_INTERRUPT", "57014", "^\\[SQLITE_CANTOPEN", "08001")
      // Its driver does not say which statement of a batch failed, and sends each by itself in any case.
      .statementsAtOnce(1).driver(new DatabaseDriver() {
        /** Its driver takes a DATETIME for a date, and a decimal column for whole numbers if the first value is one. */
        @Override
        int typeOf(ResultSetMetaData columns, int column) throws SQLException {
          switch (columns.getColumnTypeName(column)) {
            case "DATETIME":
              return Types.TIMESTAMP;
            case "DECIMAL":
            case "NUMERIC":
              return Types.DECIMAL;
            default:
              return super.typeOf(columns, column);
          }
        }

        /** After a "create table", for example, execute() keeps the previous statement's count. */
        @Override
        boolean givesNoRows(Connection connection, String sql) {
          try (PreparedStatement statement = connection.prepareStatement(sql)) {
            return DescribedRows.of(statement, Database.SQLITE) == null;
          } catch (SQLException faultyOrEmpty) {
            return true;
          }
        }

        /** It has no way to ask, but refuses a transaction within another. */
        @Override
        boolean hasOpenTransaction(Connection connection) {
          try (Statement statement = connection.createStatement()) {
            statement.execute("begin");
            statement.execute("rollback");
            return false;
          } catch (SQLException refused) {
            return true;
          }
        }
      })),

  /** Only reached by a ready URL. */
  DUCKDB(new DatabaseRow("duckdb", null).classes("org.duckdb.").readingTimesAsText()
      .times(TemporalCell::ofLocalDateTime)
      .types("c", "tinyint", "C", "utinyint", "S", "usmallint", "I", "uinteger", "L", "ubigint", "u", "varchar",
          "ts", "timestamp", "tsn", "timestamp_ns", "tz", "timestamptz", "+", "%s[]")
      .states("^Constraint Error", "23000", "^(Conversion|Out of Range|Invalid Input) Error", "22000",
          "^Catalog Error: .* does not exist", "42S02", "^Catalog Error: .* already exists", "42S01",
          "^(Parser|Catalog|Binder) Error", "42000", "^INTERRUPT Error", "57014", "^TransactionContext Error", "25000",
          "^Not implemented Error", "0A000", "^IO Error", "58030")),

  OTHER(new DatabaseRow("", null)) {
    /** DuckDB's driver throws the JDK's own exceptions, which do not show the driver. */
    @Override
    String stateOf(SQLException failure) {
      return DUCKDB.stateOf(failure);
    }
  };
  // clang-format on

  /** MySQL's and MariaDB's "Some non-transactional changed tables couldn't be rolled back". */
  private static final int NOT_ROLLED_BACK = 1196;

  private static final ClassValue<Database> BY_CLASS = new ClassValue<Database>() {
    @Override
    protected Database computeValue(Class<?> rowsClass) {
      String name = rowsClass.getName();
      return find(database -> database.row.classPrefix != null && name.startsWith(database.row.classPrefix));
    }
  };

  private final DatabaseRow row;

  Database(DatabaseRow row) {
    this.row = row;
  }

  /** @param vendor a URL's word after "jdbc:" */
  static Database of(String vendor) {
    return find(database -> database.row.vendor.equals(vendor));
  }

  /** By the class of a driver's result. */
  static Database of(ResultSet rows) {
    return rows instanceof DescribedRows.Known ? ((DescribedRows.Known) rows).database()
                                               : BY_CLASS.get(rows.getClass());
  }

  /** The five letters of a failure's SQLState; null if neither the driver nor this table has them. */
  public static String sqlState(SQLException failure) {
    return BY_CLASS.get(failure.getClass()).stateOf(failure);
  }

  /** What is done through the driver in ways that differ. */
  public DatabaseDriver driver() {
    return row.driver;
  }

  String stateOf(SQLException failure) {
    String state = failure.getSQLState();
    return state != null ? state : row.stateOf(failure.getMessage());
  }

  /** The type of a new table's column. @param formats of Arrow, in pre-order; takes what belongs to one column */
  public String columnType(Iterator<String> formats) throws SQLException {
    return row.types.next(formats);
  }

  /** The statement that makes a temporary table; null where there are none. */
  public String temporaryTable(String name, String columns) {
    return row.temporaryTable == null ? null : String.format(row.temporaryTable, name, columns);
  }

  /** @return the row by which a URL is built for this word, or null */
  static DatabaseRow urlRow(String word) {
    DatabaseRow row = find(database -> database.row.word.equals(word)).row;
    return row.url == null ? null : row;
  }

  private static Database find(Predicate<Database> wanted) {
    return Stream.of(values()).filter(wanted).findFirst().orElse(OTHER);
  }

  /** Sets up a new connection, so that queries stream or that times come in UTC. */
  void prepare(Connection connection) throws SQLException {
    if (row.setting == null) return;
    try (Statement statement = connection.createStatement()) {
      statement.execute(row.setting);
    } catch (SQLException failure) {
      // A version that does not know how to stream works without, in more memory.
      if (row.settingIsKnownToAll) throw failure;
    }
  }

  /** Sets up a statement for a query. The fetch size is a hint: a driver that refuses it still reads. */
  final void prepare(Statement statement, boolean onlyReads) {
    try {
      statement.setFetchSize(onlyReads ? row.fetchSizeOfReads : row.fetchSizeOfOthers);
    } catch (SQLException | RuntimeException | LinkageError refused) {
      return;
    }
  }

  /** Whether a parameter without a type is read like a literal in quotes. */
  public boolean readsParametersAsLiterals() {
    return row.readsParametersAsLiterals;
  }

  /** Whether a date or a time may be bound as text; otherwise the driver converts it. */
  boolean readsTimesAsText() {
    return row.readsTimesAsText;
  }

  int rowsPerInsert() {
    return row.rowsPerInsert;
  }

  /** Whether a rollback takes rows of the table back. */
  boolean undoes(Connection connection, String table) throws SQLException {
    if (!row.warnsOfKeptChanges) return true;
    try (Statement statement = connection.createStatement();
         ResultSet definition = statement.executeQuery("show create table " + table)) {
      return definition.next() && definition.getString(2).contains("\n) ENGINE=InnoDB");
    }
  }

  /** How many statements of a batch to hand over together. */
  int statementsAtOnce() {
    return row.statementsAtOnce;
  }

  /** Whether no update counts mean that the first statement failed; in other drivers they may mean anything. */
  boolean countsEndAtFailure() {
    return row.countsEndAtFailure;
  }

  /** Whether a cell's type may differ from its column's. */
  boolean anyTypeInAnyCell() {
    return row.anyTypeInAnyCell;
  }

  /** Whether a transaction that the database ended by itself was rolled back for certain, and not committed. */
  boolean undoesWhatItEnds() {
    return row.undoesWhatItEnds;
  }

  /** Whether the rollback just done left changes in place; false if unknown. */
  boolean keptChanges(Connection connection) throws SQLException {
    if (!row.warnsOfKeptChanges) return false;
    try (Statement statement = connection.createStatement();
         ResultSet warnings = statement.executeQuery("show warnings")) {
      while (warnings.next()) {
        if (warnings.getInt("Code") == NOT_ROLLED_BACK) return true;
      }
      return false;
    }
  }

  /** The query whose first column names the users' tables, or null to ask the driver. */
  String listing() {
    return row.listing;
  }

  boolean hidesSchema(String schema) {
    return row.hiddenSchemas.contains(schema);
  }

  boolean hidesTable(String table) {
    return row.hiddenTables.contains(table) || row.hiddenPrefixes.stream().anyMatch(table::startsWith);
  }

  /** A table's name as it is listed. */
  String listed(String schema, String table) {
    return row.qualifiesNames ? schema + "." + table : table;
  }

  /** A date or time as text in UTC, or null for SQL NULL. */
  String readTime(ResultSet rows, int type, int column) throws SQLException {
    return row.times == null ? TemporalCell.ofText(rows, type, column) : row.times.read(rows, type, column);
  }

  boolean writesWholeNumbersPlainly() {
    return row.writesWholeNumbersPlainly;
  }

  boolean makesLocalDates() {
    return row.makesLocalDates;
  }
}
