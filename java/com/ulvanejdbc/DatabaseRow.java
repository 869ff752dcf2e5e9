package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;

/** The columns of the table {@link Database}. Those that most rows leave at their default are set by name. */
final class DatabaseRow {
  static final String[] MARIADB_SCHEMAS = {"information_schema", "mysql", "performance_schema", "sys"};

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
  int rowsPerInsert = 1;

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
}
