package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.regex.Pattern;

/** The columns of the table {@link Database}. Columns that usually keep their default are set by name. */
final class DatabaseRow {
  static final String[] MARIADB_SCHEMAS = {"information_schema", "mysql", "performance_schema", "sys"};

  static final String[] MARIADB_TYPES = {"c", "tinyint", "C", "tinyint unsigned", "S", "smallint unsigned", "I",
      "int unsigned", "L", "bigint unsigned", "f", "float", "u", "longtext", "z", "longblob", "tt", "time(6)", "ts",
      "datetime(6)", "tz", "timestamp(6) null"};

  /**
   * From 32 to 4096, PostgreSQL is within 5 % of the fastest when rows are read cell by cell. Rows of 64 kB still fit a
   * heap of 64 MB.
   */
  static final int FETCH_SIZE = 256;

  /** The driver's own choice. MariaDB's takes all rows at once. */
  static final int DEFAULT_FETCH_SIZE = 0;

  /** The word that means the database when a URL is built from parts. */
  final String word;

  /** Null when no URL can be built. See {@link ConnectionUrl} for the notation. */
  final String url;

  /** The word of the URL after "jdbc:". */
  String vendor;

  /** The part without which the second template is used. */
  String optionalPart = "";

  String urlWithoutPart;
  String refusalOfNoInstance;
  String complaintOfInstance;

  /** What the names of the driver's classes begin with; null when no value is read in a way of its own. */
  String classPrefix;

  /** The query whose first column names the tables; null to ask the driver. */
  String listing;

  boolean qualifiesNames;
  Collection<String> hiddenSchemas = Collections.emptySet();
  Collection<String> hiddenTables = Collections.emptySet();
  Collection<String> hiddenPrefixes = Collections.emptySet();

  /** SQL that sets up a connection, or null. */
  String setting;

  boolean settingIsKnownToAll;

  /** Null for the driver's own text. */
  Times times;

  boolean warnsOfKeptChanges;
  boolean undoesWhatItEnds;
  boolean writesWholeNumbersPlainly;
  boolean makesLocalDates;
  boolean readsTimesAsText;
  boolean readsParametersAsLiterals;
  boolean countsEndAtFailure;
  boolean anyTypeInAnyCell;
  int rowsPerInsert = 1;
  int fetchSizeOfReads = FETCH_SIZE;
  int fetchSizeOfOthers = FETCH_SIZE;

  /** For new tables. */
  ColumnTypes types = new ColumnTypes();

  /** How a temporary table is made, with its name and its columns as %s; null where there are none of this kind. */
  String temporaryTable = "create temporary table %s (%s)";

  /** SQLStates by what a failure's message has in it, for drivers that do not give them. */
  private final Map<Pattern, String> states = new LinkedHashMap<>();

  /** As many as PostgreSQL's driver sends without an answer. */
  int statementsAtOnce = 256;

  DatabaseDriver driver = new DatabaseDriver();

  /** Reads a date or time as text in UTC, or null for SQL NULL. */
  interface Times {
    String read(ResultSet rows, int type, int column) throws SQLException;
  }

  DatabaseRow(String word, String url) {
    this.word = word;
    this.url = url;
    vendor = word;
  }

  /** The vendor key, when it is not the word. */
  DatabaseRow keyed(String key) {
    vendor = key;
    return this;
  }

  DatabaseRow orWithout(String part, String otherUrl) {
    optionalPart = part;
    urlWithoutPart = otherUrl;
    return this;
  }

  DatabaseRow refusingNoInstance(String refusal) {
    refusalOfNoInstance = refusal;
    return this;
  }

  DatabaseRow complainingOfInstance(String complaint) {
    complaintOfInstance = complaint;
    return this;
  }

  DatabaseRow classes(String prefix) {
    classPrefix = prefix;
    return this;
  }

  DatabaseRow listing(String sql) {
    listing = sql;
    return this;
  }

  DatabaseRow qualifyingNames() {
    qualifiesNames = true;
    return this;
  }

  DatabaseRow hidingSchemas(String... schemas) {
    hiddenSchemas = Arrays.asList(schemas);
    return this;
  }

  DatabaseRow hidingPrefixes(String... prefixes) {
    hiddenPrefixes = Arrays.asList(prefixes);
    return this;
  }

  DatabaseRow hidingSystemTablesOfSqlServer() {
    hiddenTables = Arrays.asList("dtproperties", "sysalternates", "sysconstraints", "syssegments");
    return hidingSchemas("INFORMATION_SCHEMA", "sys");
  }

  /** A setting that every version of the database knows. */
  DatabaseRow setting(String sql) {
    setting = sql;
    settingIsKnownToAll = true;
    return this;
  }

  DatabaseRow settingIfKnown(String sql) {
    setting = sql;
    return this;
  }

  DatabaseRow readingTimesAsText() {
    readsTimesAsText = true;
    return this;
  }

  /** An insert of many rows is much faster than many of one. Larger ones were no faster. */
  DatabaseRow insertingManyRows() {
    rowsPerInsert = 128;
    return this;
  }

  DatabaseRow times(Times reader) {
    times = reader;
    return this;
  }

  /** After a rollback, "show warnings" tells if tables without transactions kept their changes. */
  DatabaseRow warningOfKeptChanges() {
    warnsOfKeptChanges = true;
    return this;
  }

  /** A transaction that the database ends by itself, since a statement was cancelled, say, is rolled back. */
  DatabaseRow undoingWhatItEnds() {
    undoesWhatItEnds = true;
    return this;
  }

  /** The driver's text of a whole number is its digits: MariaDB pads some, and SQLite's column may hold anything. */
  DatabaseRow writingWholeNumbersPlainly() {
    writesWholeNumbersPlainly = true;
    return this;
  }

  /** The driver makes objects of java.time faster than texts. */
  DatabaseRow makingLocalDates() {
    makesLocalDates = true;
    return this;
  }

  DatabaseRow readingParametersAsLiterals() {
    readsParametersAsLiterals = true;
    return this;
  }

  DatabaseRow endingCountsAtFailure() {
    countsEndAtFailure = true;
    return this;
  }

  DatabaseRow takingAnyTypeInAnyCell() {
    anyTypeInAnyCell = true;
    return this;
  }

  /** How many rows to fetch at once: in a query that only reads, and in any other. */
  DatabaseRow fetching(int ofReads, int ofOthers) {
    fetchSizeOfReads = ofReads;
    fetchSizeOfOthers = ofOthers;
    return this;
  }

  /** Formats and column types, in turn, that differ from the standard's. See {@link ColumnTypes}. */
  DatabaseRow types(String... differing) {
    types = new ColumnTypes(differing);
    return this;
  }

  DatabaseRow temporaryTable(String sql) {
    temporaryTable = sql;
    return this;
  }

  /** Patterns of messages and SQLStates, in turn; the first that is found holds. */
  DatabaseRow states(String... byMessage) {
    for (int index = 0; index < byMessage.length; index += 2) {
      states.put(Pattern.compile(byMessage[index]), byMessage[index + 1]);
    }
    return this;
  }

  /** Null if no pattern is found. */
  String stateOf(String message) {
    for (Map.Entry<Pattern, String> state : states.entrySet()) {
      if (message != null && state.getKey().matcher(message).find()) return state.getValue();
    }
    return null;
  }

  DatabaseRow driver(DatabaseDriver ways) {
    driver = ways;
    return this;
  }

  DatabaseRow statementsAtOnce(int statements) {
    statementsAtOnce = statements;
    return this;
  }
}
