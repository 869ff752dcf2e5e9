package com.ulvanejdbc;

import java.lang.reflect.InvocationHandler;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;

/** Stands for the rows of a statement that has not run: it has their columns, and no row. */
public final class DescribedRows implements InvocationHandler {
  /** Of a proxy, whose class does not show the database. */
  interface Known {
    Database database();
  }

  private final PreparedStatement statement;
  private final ResultSetMetaData columns;
  private final Database database;

  private DescribedRows(PreparedStatement statement, ResultSetMetaData columns, Database database) {
    this.statement = statement;
    this.columns = columns;
    this.database = database;
  }

  /** @return null if the statement has no rows, or the driver cannot say before it runs */
  public static ResultSet of(PreparedStatement statement, Database database) throws SQLException {
    ResultSetMetaData columns = statement.getMetaData();
    if (columns == null || count(columns) == 0) return null;
    Class<?>[] faces = {ResultSet.class, Known.class};
    return (ResultSet) Proxy.newProxyInstance(
        DescribedRows.class.getClassLoader(), faces, new DescribedRows(statement, columns, database));
  }

  /** SQLite's driver refuses to count none. */
  private static int count(ResultSetMetaData columns) {
    try {
      return columns.getColumnCount();
    } catch (SQLException none) {
      return 0;
    }
  }

  @Override
  public Object invoke(Object proxy, Method method, Object[] arguments) throws SQLException {
    switch (method.getName()) {
      case "getMetaData":
        return columns;
      case "getStatement":
        return statement;
      case "database":
        return database;
      case "next":
      case "isClosed":
        return false;
      case "close":
        return null;
      default:
        throw new SQLFeatureNotSupportedException("the statement has not run");
    }
  }
}
