package com.kx;

import com.ulvanejdbc.compat.ManagedDataSource;

/** The name by which JdbcUtils asks for kdb+. */
public final class kdbDataSource extends ManagedDataSource {
  private String url;

  public kdbDataSource() {
    super("kdb+", "jdbc");
  }

  public void setURL(String text) {
    url = text;
  }

  @Override
  protected String url() {
    return url;
  }
}
