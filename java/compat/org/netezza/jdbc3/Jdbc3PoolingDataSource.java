package org.netezza.jdbc3;

import com.ulvanejdbc.compat.ManagedDataSource;

/** The name by which JdbcUtils asks for Netezza. */
public final class Jdbc3PoolingDataSource extends ManagedDataSource {
  private String host;
  private int port;
  private String database;

  public Jdbc3PoolingDataSource() {
    super("Netezza", "org.netezza.Driver");
  }

  public void setServerName(String text) {
    host = text;
  }

  public void setPortNumber(int number) {
    port = number;
  }

  public void setDatabaseName(String text) {
    database = text;
  }

  /** There is one type of driver only. */
  public void setDriverType(int type) {}

  @Override
  protected String url() {
    return "jdbc:netezza://" + host + ':' + port + '/' + database;
  }
}
