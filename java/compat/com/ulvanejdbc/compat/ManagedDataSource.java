package com.ulvanejdbc.compat;

import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;

/** A DataSource that connects by a URL, through the driver that takes it. */
public abstract class ManagedDataSource {
  private final String vendor;
  private String user;
  private String password;

  /** @param driver its class, for one that does not announce itself */
  protected ManagedDataSource(String vendor, String driver) {
    this.vendor = vendor;
    try {
      Class.forName(driver);
    } catch (ClassNotFoundException absent) {
      return; // getConnection() reports it, unless another class takes the URL
    }
  }

  protected abstract String url();

  public void setUser(String text) {
    user = text;
  }

  public void setPassword(String text) {
    password = text;
  }

  public Connection getConnection() throws SQLException {
    try {
      DriverManager.getDriver(url());
    } catch (SQLException none) {
      throw new SQLException(
          "the driver of " + vendor + " is not on the class path: none takes " + url(), "08001", none);
    }
    return DriverManager.getConnection(url(), user, password);
  }
}
