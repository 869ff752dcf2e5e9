package com.ulvanejdbc;

import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Types;

/** What the driver says of a result's column, and ways to its values. */
public final class ResultColumn {
  public final ResultSet rows;

  /** Counted from 1. */
  public final int number;

  public final String label;

  /** The database's own name of the type. */
  public final String typeName;

  /** A code of {@link java.sql.Types}. */
  public final int type;

  /** Of a decimal or of PostgreSQL's array of them, or the number of bits; 0 for other types. */
  public final int precision;

  /** Of a decimal or of PostgreSQL's array of them, or the digits of a time's fraction; 0 for other types. */
  public final int scale;

  /** False for whole numbers that are never negative. */
  public final boolean signed;

  /** Whether {@link ResultSet#getBytes} gives the text that the server sent. */
  public final boolean isServerText;

  /** Whether a cell's type may differ from the column's. */
  public final boolean takesAnyType;

  private final int reportedType;
  private final CellKind kind;

  public ResultColumn(ResultSet rows, int number) throws SQLException {
    Database database = Database.of(rows);
    ResultSetMetaData columns = rows.getMetaData();
    this.rows = rows;
    this.number = number;
    label = columns.getColumnLabel(number);
    typeName = String.valueOf(columns.getColumnTypeName(number));
    type = database.driver().typeOf(columns, number);
    // A driver need not have an answer for other types.
    boolean hasDecimals = isDecimal() || typeName.equals("_numeric");
    precision = hasDecimals || type == Types.BIT ? columns.getPrecision(number) : 0;
    scale = hasDecimals || type == Types.TIME ? columns.getScale(number) : 0;
    signed = !isWholeNumber() || columns.isSigned(number);
    isServerText = database.driver().sendsText(rows, number);
    takesAnyType = database.anyTypeInAnyCell();
    reportedType = columns.getColumnType(number);
    kind = CellKind.of(columns, number, takesAnyType);
  }

  private boolean isDecimal() {
    return type == Types.DECIMAL || type == Types.NUMERIC;
  }

  private boolean isWholeNumber() {
    return type == Types.TINYINT || type == Types.SMALLINT || type == Types.INTEGER || type == Types.BIGINT;
  }

  /** The way to the text that {@link jdbcUtilities#getColumn} gives. */
  public BlockCell text() throws SQLException {
    return new BlockCell(rows, number, reportedType, kind);
  }

  /** The way to the numbers of dates and times. */
  public TemporalReader times() throws SQLException {
    return new TemporalReader(rows, reportedType, number);
  }
}
