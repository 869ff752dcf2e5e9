package com.ulvanejdbc.adbc;

import java.sql.Connection;

/** ADBC's isolation levels, and those of JDBC that they mean. */
enum Isolation {
  READ_UNCOMMITTED(Connection.TRANSACTION_READ_UNCOMMITTED),
  READ_COMMITTED(Connection.TRANSACTION_READ_COMMITTED),
  REPEATABLE_READ(Connection.TRANSACTION_REPEATABLE_READ),
  SERIALIZABLE(Connection.TRANSACTION_SERIALIZABLE);

  private static final String PREFIX = "adbc.connection.transaction.isolation.";
  private static final String DEFAULT = PREFIX + "default";

  private final int level;

  Isolation(int level) {
    this.level = level;
  }

  private String adbcName() {
    return PREFIX + name().toLowerCase(java.util.Locale.ROOT);
  }

  static int levelOf(String name, int usual) throws AdbcException {
    if (name == null || name.equals(DEFAULT)) return usual;
    for (Isolation each : values()) {
      if (each.adbcName().equals(name)) return each.level;
    }
    int status = name.startsWith(PREFIX) ? Status.NOT_IMPLEMENTED : Status.INVALID_ARGUMENT;
    throw new AdbcException(status, "unsupported isolation level: " + name);
  }

  static String nameOf(int level) {
    for (Isolation each : values()) {
      if (each.level == level) return each.adbcName();
    }
    return DEFAULT;
  }
}
