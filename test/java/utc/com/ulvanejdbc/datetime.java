package com.ulvanejdbc;

import java.sql.ResultSet;

/** Shows what the library asks the date helper for; a TIME is SQL NULL here. */
public final class datetime {
  private datetime() {}

  public static String getAsUtcString(ResultSet rows, int type, int column) {
    return type == 92 ? null : "type " + type + " of column " + column;
  }
}
