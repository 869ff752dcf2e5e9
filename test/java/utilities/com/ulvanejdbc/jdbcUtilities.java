package com.ulvanejdbc;

import doubles.Recorder;
import java.util.Arrays;

/** Plays the utilities class: every method records its arguments and answers as scripted. */
public final class jdbcUtilities {
  private jdbcUtilities() {
    enter("<init>", "");
  }

  public boolean setUrl(String type, String host, int port, String instance, String database, String url) {
    return yes("setUrl", type, host, port, instance, database, url);
  }

  public String getUrl() {
    return enter("getUrl", "url");
  }

  public String getVendor() {
    return enter("getVendor", "vendor");
  }

  public boolean getConnection(String user, String password) {
    return yes("getConnection", user, password);
  }

  public boolean closeConnection() {
    return yes("closeConnection");
  }

  public boolean getStatement() {
    return yes("getStatement");
  }

  public boolean executeQuery(String sql, int maxRows) {
    return yes("executeQuery", sql, maxRows);
  }

  public boolean next() {
    return yes("next");
  }

  public int getNumColumns() {
    return number("getNumColumns", "3");
  }

  public String getColumn(int column) {
    return enter("getColumn", "value", column);
  }

  public String getColumnName(int column) {
    return enter("getColumnName", "name", column);
  }

  public int getColumnType(int column) {
    return number("getColumnType", "12", column);
  }

  public int executeUpdate(String sql) {
    return number("executeUpdate", "7", sql);
  }

  public boolean addToBatch(String sql) {
    return yes("addToBatch", sql);
  }

  public int executeBatch() {
    return number("executeBatch", "2");
  }

  /** Names with commas between them; "null" among others is no name, no text is no table. */
  public String[] getTables() {
    String list = enter("getTables", "ORDERS,ITEMS");
    if (list == null) return null;
    if (list.isEmpty()) return new String[0];
    String[] names = list.split(",", -1);
    Arrays.asList(names).replaceAll(name -> name.equals("null") ? null : name);
    return names;
  }

  public int getErrorCode() {
    return number("getErrorCode", "0");
  }

  public String getErrorMessage() {
    return enter("getErrorMessage", "message");
  }

  private static boolean yes(String method, Object... arguments) {
    return enter(method, "true", arguments).equals("true");
  }

  private static int number(String method, String otherwise, Object... arguments) {
    return Integer.parseInt(enter(method, otherwise, arguments));
  }

  private static String enter(String method, String otherwise, Object... arguments) {
    String answer = Recorder.enter(method, otherwise, arguments);
    if ("mute".equals(answer)) {
      throw new Mute();
    }
    return answer;
  }

  /** Cannot even say what it is. */
  private static final class Mute extends Error {
    private static final long serialVersionUID = 1;

    @Override
    public String toString() {
      throw new IllegalStateException("no words");
    }
  }
}
