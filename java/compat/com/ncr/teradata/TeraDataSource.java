package com.ncr.teradata;

import java.lang.reflect.InvocationTargetException;
import java.sql.Connection;
import java.sql.SQLException;
import javax.sql.DataSource;

/** The name by which JdbcUtils asks for Teradata; the driver has the class under another name today. */
public final class TeraDataSource {
  private static final String PRESENT = "com.teradata.jdbc.TeraDataSource";

  private final DataSource present;

  public TeraDataSource() {
    try {
      present = (DataSource) Class.forName(PRESENT).getDeclaredConstructor().newInstance();
    } catch (ReflectiveOperationException absent) {
      throw new IllegalStateException("the driver of Teradata is not on the class path: no " + PRESENT, absent);
    }
  }

  public void setDSName(String host) {
    set("setDSName", host);
  }

  public void setDBS_PORT(String port) {
    set("setDBS_PORT", port);
  }

  public void setDATABASE(String database) {
    set("setDATABASE", database);
  }

  public void setuser(String user) {
    set("setuser", user);
  }

  public void setpassword(String password) {
    set("setpassword", password);
  }

  public Connection getConnection() throws SQLException {
    return present.getConnection();
  }

  private void set(String setter, String value) {
    try {
      present.getClass().getMethod(setter, String.class).invoke(present, value);
    } catch (InvocationTargetException refused) {
      throw new IllegalArgumentException(setter + ": " + refused.getCause().getMessage(), refused.getCause());
    } catch (ReflectiveOperationException absent) {
      throw new IllegalStateException("this version of Teradata's driver has no " + setter, absent);
    }
  }
}
