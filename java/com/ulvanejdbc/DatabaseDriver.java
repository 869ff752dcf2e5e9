package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;

/**
 * What is done through a database's driver in ways that differ, and that a plain value cannot say; here as JDBC has it.
 * A row of {@link Database} has an object of a subclass where its driver or its SQL differs.
 */
public class DatabaseDriver {
  /** A column's type as a code of the standard, corrected where the driver reports another type. */
  int typeOf(ResultSetMetaData columns, int column) throws SQLException {
    return CellKind.standardType(columns.getColumnType(column));
  }

  /** Whether the bytes of a column are the server's text, in standard UTF-8. */
  boolean sendsText(ResultSet rows, int column) throws SQLException {
    return false;
  }

  /** Whether a statement gives no rows; always false where execute() returns the right count for those. */
  boolean givesNoRows(Connection connection, String sql) {
    return false;
  }

  /** Any thread. */
  void cancel(Statement statement) throws SQLException {
    statement.cancel();
  }

  /** Whether a transaction is open although the driver counts as being in auto-commit mode; false if unknown. */
  boolean hasOpenTransaction(Connection connection) throws SQLException {
    return false;
  }

  /** Whether rows come in portions only in a transaction, which must then be opened for them. */
  boolean readsRowsInTransaction(Connection connection) {
    return false;
  }

  /** Keeps no plan of a statement for its next run, before which its tables may be replaced. */
  public void planEachRun(PreparedStatement statement) {}

  /** Sets up a transaction that loads rows. */
  void prepareLoad(Connection connection) throws SQLException {}

  /** Whether a batch is sent as fewer inserts of many rows each, so that a failure names one of those. */
  boolean joinsRowsOfBatch(Connection connection) {
    return false;
  }

  /** The place of a column's parameter in an insert. */
  String place(String table, String column, String typeName) {
    return "?";
  }

  /** A date, with a time or without, in the form that the database reads. @param text in the library's form */
  String dateLiteral(String text) {
    return text;
  }

  /** Whether a text for this type must be bound as its bytes. */
  boolean readsAsBytes(String typeName) {
    return false;
  }

  /** Has the database write to disk what it committed, where a commit does not wait for that. */
  void sync(Connection connection) throws SQLException {}
}
