package com.ulvanejdbc;

import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/**
 * What a driver needs so that a query's rows are not gathered in memory before the first is read, and come in UTC, and
 * how it tells that a transaction was opened in SQL, which its auto-commit flag does not show.
 */
enum DriverTraits {
  POSTGRESQL("postgresql") {
    /** It reads by cursor only with auto-commit off, which must not be touched in a transaction that cannot be seen. */
    @Override
    boolean readsRowsInTransaction(Connection connection) {
      return state(connection) != null;
    }

    /** What has the type OTHER goes without one, and the server infers it as it does a literal's. */
    @Override
    boolean readsParametersAsLiterals() {
      return true;
    }

    @Override
    boolean hasOpenTransaction(Connection connection) {
      String state = state(connection);
      return state != null && !state.equals("IDLE") && !state.equals(IDLE_IN_OLD_DRIVERS);
    }

    /** Its statements cancel nothing while the next rows of theirs are fetched. */
    @Override
    void cancel(Statement statement) throws SQLException {
      Connection connection = statement.getConnection();
      try {
        connection.getClass().getMethod("cancelQuery").invoke(connection);
      } catch (ReflectiveOperationException unknown) {
        statement.cancel();
      }
    }

    /** Known to the driver from the server's last answer: asking would cost each query a round trip. Null when not told. */
    private String state(Connection connection) {
      try {
        return String.valueOf(connection.getClass().getMethod("getTransactionState").invoke(connection));
      } catch (ReflectiveOperationException unknown) {
        return null;
      }
    }
  },

  H2("h2", "set lazy_query_execution true") {
    /** It goes on with a batch after a statement that was cancelled, and sends each by itself in any case. */
    @Override
    int statementsAtOnce() {
      return 1;
    }
  },

  /** It gathers all rows, a database in files on disk beyond so many; below that many it is several times faster. */
  HSQLDB("hsqldb", "set session result memory rows 20000") {
    @Override
    boolean countsEndAtFailure() {
      return true;
    }
  },

  MARIADB("mariadb", DriverTraits.IN_UTC) {
    /** It goes on with a batch after a statement that was cancelled, but is slow when each is sent by itself. */
    @Override
    int statementsAtOnce() {
      return 16;
    }

    /** A MySQL server, which this driver reaches as well, does not understand the question. */
    @Override
    boolean hasOpenTransaction(Connection connection) {
      try (Statement statement = connection.createStatement();
          ResultSet answer = statement.executeQuery("select @@in_transaction")) {
        return answer.next() && answer.getBoolean(1);
      } catch (SQLException notUnderstood) {
        return false;
      }
    }

    /** The server ends and commits a statement when the last of its rows is taken from it. */
    @Override
    int fetchSize(boolean onlyReads) {
      return onlyReads ? FETCH_SIZE : DEFAULT_FETCH_SIZE;
    }
  },

  /** It streams at this fetch size alone. */
  MYSQL("mysql", DriverTraits.IN_UTC) {
    @Override
    int fetchSize(boolean onlyReads) {
      return Integer.MIN_VALUE;
    }
  },

  /** It cannot cancel a statement that runs, only a batch between two. */
  DERBY("derby") {
    @Override
    int statementsAtOnce() {
      return 1;
    }
  },

  SQLITE("sqlite") {
    @Override
    boolean anyTypeInAnyCell() {
      return true;
    }

    /** It cannot be asked, but refuses a transaction within another. */
    @Override
    boolean hasOpenTransaction(Connection connection) {
      try (Statement statement = connection.createStatement()) {
        statement.execute("begin");
        statement.execute("rollback");
        return false;
      } catch (SQLException refused) {
        return true;
      }
    }
  },

  /** Its own default serves best. */
  VELMAR("velmar") {
    @Override
    int fetchSize(boolean onlyReads) {
      return DEFAULT_FETCH_SIZE;
    }
  },

  OTHER("");

  private static final String IDLE_IN_OLD_DRIVERS = "0";

  /** A TIMESTAMP comes in the session's zone, with nothing to tell which that is. */
  private static final String IN_UTC = "set time_zone = '+00:00'";

  /** Of 32 to 4096 on PostgreSQL within 5 % of the fastest for rows read cell by cell, and rows of 64 kB still fit a heap of 64 MB. */
  private static final int FETCH_SIZE = 256;

  /** The driver's own choice. MariaDB's takes all rows at once. */
  private static final int DEFAULT_FETCH_SIZE = 0;

  private static final int STATEMENTS_AT_ONCE = 256;

  private final String vendor;
  private final String setting;

  DriverTraits(String vendor) {
    this(vendor, null);
  }

  /** @param setting SQL that makes a session's queries stream, or its times come in UTC */
  DriverTraits(String vendor, String setting) {
    this.vendor = vendor;
    this.setting = setting;
  }

  static DriverTraits of(String vendor) {
    for (DriverTraits traits : values()) {
      if (traits.vendor.equals(vendor)) return traits;
    }
    return OTHER;
  }

  /** Sets up a new connection. */
  void prepare(Connection connection) throws SQLException {
    if (setting == null) return;
    try (Statement statement = connection.createStatement()) {
      statement.execute(setting);
    } catch (SQLException failure) {
      // A version that does not know how to stream works without, in more memory. Every version knows the zone.
      if (setting.equals(IN_UTC)) throw failure;
    }
  }

  /** Sets up a statement for a query. The fetch size is a hint: a driver that refuses it still reads. */
  final void prepare(Statement statement, boolean onlyReads) {
    try {
      statement.setFetchSize(fetchSize(onlyReads));
    } catch (SQLException | RuntimeException | LinkageError refused) {
      return;
    }
  }

  int fetchSize(boolean onlyReads) {
    return FETCH_SIZE;
  }

  boolean readsRowsInTransaction(Connection connection) {
    return false;
  }

  /** Whether a text parameter of the type OTHER comes to what the text in quotes does, but for {@link RowLoader}'s exceptions. */
  boolean readsParametersAsLiterals() {
    return false;
  }

  /** Any thread. */
  void cancel(Statement statement) throws SQLException {
    statement.cancel();
  }

  /** How many statements of a batch to hand over together: as many as PostgreSQL's driver sends without an answer. */
  int statementsAtOnce() {
    return STATEMENTS_AT_ONCE;
  }

  /** Whether no update counts mean that the first statement failed; in other drivers they may mean anything. */
  boolean countsEndAtFailure() {
    return false;
  }

  /** Whether a cell's type may differ from its column's. */
  boolean anyTypeInAnyCell() {
    return false;
  }

  /** Whether a transaction is open although the driver counts as being in auto-commit mode; false when not told. */
  boolean hasOpenTransaction(Connection connection) throws SQLException {
    return false;
  }
}
