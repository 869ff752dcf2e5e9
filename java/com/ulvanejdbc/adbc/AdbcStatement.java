package com.ulvanejdbc.adbc;

import com.ulvanejdbc.DescribedRows;
import com.ulvanejdbc.OpenResult;
import com.ulvanejdbc.QueryText;
import com.ulvanejdbc.arrow.BatchReader;
import com.ulvanejdbc.arrow.PreparedQuery;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.HashMap;
import java.util.Map;

/**
 * A statement with ADBC's options, or rows for a table. Native code finds this class and its methods by name. Nothing
 * is thrown to it: a method that fails answers false or null, and {@link #failure} has the text.
 */
public final class AdbcStatement extends PreparedQuery {
  static final String TARGET_TABLE = "adbc.ingest.target_table";
  static final String TARGET_CATALOG = "adbc.ingest.target_catalog";
  static final String TARGET_SCHEMA = "adbc.ingest.target_db_schema";
  static final String TEMPORARY = "adbc.ingest.temporary";
  static final String MODE = "adbc.ingest.mode";

  private static final int UNKNOWN = -1;

  private final AdbcConnection connection;
  private final Settings settings = new Settings();
  private long affected = UNKNOWN;

  AdbcStatement(AdbcConnection connection) {
    super(connection.shared());
    this.connection = connection;
  }

  /** The statement's options, with what they are if they are not set. */
  static final class Settings {
    private static final String TRUE = "true";

    private final Map<String, String> values = new HashMap<>();

    String text(String name) {
      String value = values.get(name);
      return value == null ? StatementOption.of(name) : value;
    }

    int number(String name) {
      return Integer.parseInt(text(name));
    }

    boolean isTrue(String name) {
      return TRUE.equals(text(name));
    }

    void set(String name, String value) throws AdbcException {
      StatementOption.check(name, value);
      if (value == null) {
        values.remove(name);
      } else {
        values.put(name, value);
      }
    }

    /** In the order in which readers take them. */
    int[] forReaders() {
      return new int[] {number(StatementOption.BATCH_ROWS), number(StatementOption.BATCH_BYTES),
          StatementOption.decimals(this), number(StatementOption.DECIMAL_SCALE),
          isTrue(StatementOption.OUT_OF_RANGE) ? 1 : 0, isTrue(StatementOption.MIXED) ? 1 : 0};
    }
  }

  static int[] defaultOptions() {
    return new Settings().forReaders();
  }

  public boolean setOption(String name, String value) {
    return attempt(() -> {
      settings.set(name, value);
      if (name.equals(TARGET_TABLE)) use((String) null);
    });
  }

  /** Null after a failure, and for an option without a value. */
  public String getOption(String name) {
    String[] value = {null};
    attempt(() -> {
      if (!StatementOption.isKnown(name))
        throw new AdbcException(Status.NOT_FOUND, "unknown statement option: " + name);
      value[0] = settings.text(name);
    });
    return value[0];
  }

  public boolean setSql(String text) {
    return attempt(() -> {
      settings.set(TARGET_TABLE, null);
      use(text);
    });
  }

  public boolean prepare() {
    return sql() == null ? attempt(this::requireSql) : prepare(sql(), false);
  }

  private void requireSql() throws AdbcException {
    if (sql() == null) throw new AdbcException(Status.INVALID_STATE, "no SQL is set");
  }

  /** How many rows the last execution changed; -1 if that is not known, and after a query. */
  public long affected() {
    return affected;
  }

  /**
   * Runs with the one bound row, or without parameters.
   *
   * @return the rows; null if there are none, and after a failure
   */
  public BatchReader execute() {
    BatchReader[] reader = {null};
    attempt(() -> {
      requireSql();
      begin();
      try {
        reader[0] = QueryText.onlyReads(sql()) ? read() : run();
      } catch (SQLException failure) {
        throw inTime(failure);
      }
    });
    // Their memory goes with the call.
    unbind();
    return reader[0];
  }

  private void begin() throws SQLException {
    affected = UNKNOWN;
    connection.beginStatement();
    connection.endRun(false);
    setLimits(settings.number(StatementOption.TIMEOUT), settings.number(StatementOption.MAX_ROWS));
  }

  /** Its rows come from the database as they are read. */
  private BatchReader read() throws SQLException {
    runQuery(0);
    int fetchSize = settings.number(StatementOption.FETCH_SIZE);
    if (fetchSize > 0) OpenResult.of(session()).rows().setFetchSize(fetchSize);
    return BatchReader.ofSession(session(), settings.forReaders());
  }

  private BatchReader run() throws SQLException {
    affected = runUpdate(0);
    ResultSet rows = affected == UNKNOWN ? resultSet() : null;
    if (rows == null) return null;
    session().readRows(prepared(), rows, settings.number(StatementOption.MAX_ROWS));
    return BatchReader.ofSession(session(), settings.forReaders());
  }

  /** Many drivers do not tell a statement that was cancelled from one that took too long. */
  private SQLException inTime(SQLException failure) {
    int status = Status.of(failure);
    boolean cancelled = connection.wasCancelled();
    if (cancelled && (status == Status.TIMEOUT || status == Status.UNKNOWN)) {
      return new AdbcException(Status.CANCELLED, "the statement was cancelled", failure);
    }
    if (!cancelled && status == Status.CANCELLED && settings.number(StatementOption.TIMEOUT) > 0) {
      return new AdbcException(Status.TIMEOUT, "the statement timed out", failure);
    }
    return failure;
  }

  @Override
  public boolean cancel() {
    return connection.cancel();
  }

  /**
   * Begins a run with batches of rows, as one transaction or as a part of the caller's: of the statement, or into the
   * target table, which is made if the mode says so.
   *
   * @param formats Arrow's formats, a line each, in pre-order
   */
  public boolean beginRows(String formats, String[] names) {
    return attempt(() -> {
      begin();
      affected = 0;
      try {
        if (settings.text(TARGET_TABLE) == null) {
          requireSql();
          connection.beginRun();
        } else {
          beginIngestion(new Ingestion(connection, settings), formats.split("\n"), names);
        }
      } catch (SQLException | RuntimeException failure) {
        connection.endRun(false);
        throw failure;
      }
    });
  }

  private void beginIngestion(Ingestion ingestion, String[] formats, String[] names) throws SQLException {
    if (!ingestion.definitionCommits()) connection.beginRun();
    ingestion.makeTable(formats, names);
    connection.beginRun();
    use(ingestion.insert(names));
  }

  /** Runs with all rows that are bound. */
  public boolean runRows() {
    return attempt(() -> {
      try {
        long changed = runUpdateAll();
        affected = changed < 0 || affected < 0 ? UNKNOWN : affected + changed;
      } catch (SQLException failure) {
        throw inTime(failure);
      }
    });
  }

  /** Ends the run. @param worked whether its rows are to stay */
  public boolean endRows(boolean worked) {
    unbind();
    return attempt(() -> connection.endRun(worked));
  }

  /**
   * The columns that the rows will have, without running the statement; null if there are none, and after a failure.
   */
  public BatchReader executeSchema() {
    BatchReader[] reader = {null};
    attempt(() -> {
      requireSql();
      ResultSet described = DescribedRows.of(prepared(), session().database());
      if (described != null) reader[0] = BatchReader.ofResult(described, settings.forReaders());
    });
    return reader[0];
  }
}
