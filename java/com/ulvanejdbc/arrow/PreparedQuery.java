package com.ulvanejdbc.arrow;

import com.ulvanejdbc.BoundBatch;
import com.ulvanejdbc.Database;
import com.ulvanejdbc.LoadedColumn;
import com.ulvanejdbc.MisuseException;
import com.ulvanejdbc.RowInsert;
import com.ulvanejdbc.Session;
import com.ulvanejdbc.jdbcUtilities;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.sql.ParameterMetaData;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.SQLWarning;
import java.sql.Statement;
import java.sql.Types;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.List;

/**
 * A statement with parameters, which are bound in Arrow's layout. Native code finds this class and its methods by name.
 * Nothing is thrown to it: a method that fails answers false, null or {@link #FAILED}, and {@link #failure} has the
 * text.
 *
 * <p>It works on the connection of a {@link jdbcUtilities}: in its transaction, if one is open, and its {@code cancel}
 * ends what runs here, too. Only {@link #cancel} may be called from another thread.
 */
public class PreparedQuery extends Fallible {
  /** Returned instead of a row count. */
  public static final long FAILED = -2;

  private static final int NUMBERS_PER_FIELD = 2;

  private final Session session;
  private String sql;
  private PreparedStatement statement;
  private boolean returnsKeys;
  private int timeoutSeconds;
  private int maxRows;
  private BoundRows rows;

  /** Where bound rows go instead of a statement's parameters; or null. */
  private RowInsert insert;

  /** The statement still has the values of an earlier run, which are not to be taken for the next one's. */
  private boolean staleValues;

  protected PreparedQuery(Session session) {
    this.session = session;
  }

  public static PreparedQuery of(jdbcUtilities utilities) {
    return new PreparedQuery(utilities.session());
  }

  /** @param generatedKeys whether {@link #generatedKeys} is to have rows after an insert */
  public boolean prepare(String text, boolean generatedKeys) {
    return attempt(() -> {
      use(text);
      returnsKeys = generatedKeys;
      statement();
    });
  }

  /** Takes another statement, which is prepared when it is first needed. */
  protected final void use(String text) throws SQLException {
    closeStatement();
    sql = text;
  }

  /** Has the rows that are bound from now on inserted into a table. */
  protected final void use(RowInsert target) throws SQLException {
    closeStatement();
    insert = target;
  }

  /** The statement's text; null without one. */
  protected final String sql() {
    return sql;
  }

  /** Limits later runs: in time, and in the rows of a query. 0 is no limit. */
  public boolean limit(int seconds, int rowLimit) {
    return attempt(() -> setLimits(seconds, rowLimit));
  }

  protected final void setLimits(int seconds, int rowLimit) throws SQLException {
    if (statement != null && seconds != timeoutSeconds) statement.setQueryTimeout(seconds);
    timeoutSeconds = seconds;
    maxRows = rowLimit;
  }

  /**
   * The parameters: for each its Arrow format, or "n" where the driver does not say its type, and the database's name
   * of the type, two texts in UTF-8 that each end with a NUL. Null after a failure.
   */
  public byte[] parameters() {
    StringBuilder text = new StringBuilder();
    boolean worked = attempt(() -> {
      ParameterMetaData described = statement().getParameterMetaData();
      for (int place = 1; place <= described.getParameterCount(); ++place) {
        text.append(ParameterType.of(described, place)).append('\0');
        text.append(ParameterType.nameOf(described, place)).append('\0');
      }
    });
    return worked ? text.toString().getBytes(StandardCharsets.UTF_8) : null;
  }

  /**
   * Binds rows of values, a field for each parameter. They are read from native memory when the statement runs, and
   * stay bound until the next call.
   *
   * @param formats Arrow's formats, a line each, in pre-order: that of a list's elements follows the list's
   * @param buffers three for each field: validity, values or offsets, data; null for those that it does without
   * @param numbers two for each field: its length and its offset
   */
  public boolean bind(String formats, ByteBuffer[] buffers, long[] numbers) {
    return attempt(() -> {
      rows = null;
      staleValues = true;
      List<ParameterField> fields = fields(formats.isEmpty() ? new String[0] : formats.split("\n"), buffers, numbers);
      int wanted = insert == null ? ParameterType.count(statement()) : insert.columns().length;
      if (wanted >= 0 && wanted != fields.size()) {
        throw new MisuseException(fields.size() + " columns of values for " + wanted + " parameters");
      }
      ParameterColumn[] columns = new ParameterColumn[fields.size()];
      for (int index = 0; index < columns.length; ++index) columns[index] = column(fields.get(index), index);
      rows = new BoundRows(columns, fields.isEmpty() ? 0 : fields.get(0).length());
      staleValues = false;
    });
  }

  /** Lets go of the bound rows and of their memory. A statement with parameters then needs others to run. */
  public boolean unbind() {
    staleValues = staleValues || (rows != null && rows.width() > 0);
    rows = null;
    return true;
  }

  private static List<ParameterField> fields(String[] formats, ByteBuffer[] buffers, long[] numbers) {
    List<ParameterField> top = new ArrayList<>();
    Deque<ParameterField> lists = new ArrayDeque<>();
    for (int index = 0; index < formats.length; ++index) {
      long length = numbers[NUMBERS_PER_FIELD * index];
      long offset = numbers[NUMBERS_PER_FIELD * index + 1];
      ParameterField field =
          new ParameterField(formats[index], length, offset, buffers, ParameterField.BUFFERS * index);
      if (lists.isEmpty()) {
        top.add(field);
      } else {
        lists.pop().elements = field;
      }
      if (field.isList()) lists.push(field);
    }
    return top;
  }

  private ParameterColumn column(ParameterField field, int index) throws SQLException {
    Database database = session().database();
    if (insert != null) return column(field, insert.columns()[index], insert.type(index), database);
    int place = index + 1;
    ParameterMetaData described = statement().getParameterMetaData();
    int type = ParameterType.codeOf(described, place, field.format);
    String typeName = ParameterType.nameOf(described, place);
    return column(field, new LoadedColumn("", type, typeName, database), type, database);
  }

  private static ParameterColumn column(ParameterField field, LoadedColumn texts, int type, Database database)
      throws SQLException {
    boolean hasZone = type == Types.TIMESTAMP_WITH_TIMEZONE || database.readsParametersAsLiterals();
    return new ParameterColumn(field, texts, hasZone ? "+00:00" : "");
  }

  /** Runs a query with one of the bound rows. Its rows are then the open result of the utilities. */
  public boolean query(int row) {
    return attempt(() -> runQuery(row));
  }

  protected final void runQuery(int row) throws SQLException {
    bindRow(row);
    session().query(statement(), sql, maxRows);
  }

  /**
   * Runs a statement with one of the bound rows, or without parameters.
   *
   * @return how many rows changed; -1 when it has rows, which {@link #resultRows} then reads; {@link #FAILED}
   */
  public long update(int row) {
    long[] count = {FAILED};
    attempt(() -> count[0] = runUpdate(row));
    return count[0];
  }

  protected final long runUpdate(int row) throws SQLException {
    bindRow(row);
    statement().setMaxRows(maxRows);
    return runOrDiscard(() -> session().update(statement()));
  }

  /**
   * Runs a statement for all bound rows, as one transaction of its own or as a part of the caller's: for all of them,
   * or for none, as far as the database can undo it.
   *
   * @return how many rows changed; -1 when the driver does not say; {@link #FAILED}
   */
  public long updateAll() {
    long[] count = {FAILED};
    attempt(() -> count[0] = runUpdateAll());
    return count[0];
  }

  protected final long runUpdateAll() throws SQLException {
    if (rows == null) throw new MisuseException("no parameters are bound");
    if (insert != null) return insertAll();
    BoundBatch batch = new BoundBatch(session(), rows);
    try {
      return runOrDiscard(() -> runAll(batch));
    } catch (SQLException refused) {
      rows.setRefused(batch.failedRow(refused));
      throw refused;
    }
  }

  private long insertAll() throws SQLException {
    long[] count = {BoundBatch.UNKNOWN};
    session().runAsOne(connection -> count[0] = insert.store(connection, rows));
    return count[0];
  }

  private long runAll(BoundBatch batch) throws SQLException {
    PreparedStatement ready = statement();
    session().runAsOne(connection -> batch.run(ready, rows.count(), 1));
    return batch.changed();
  }

  private interface Execution {
    long run() throws SQLException;
  }

  /** After a failure the statement is made again: SQLite's driver runs none again that was interrupted. */
  @SuppressWarnings("try") // the statement is there to be closed
  private long runOrDiscard(Execution execution) throws SQLException {
    try {
      return execution.run();
    } catch (Throwable failure) {
      try (Statement spoilt = statement) {
        statement = null;
      } catch (SQLException alsoFailed) {
        failure.addSuppressed(alsoFailed);
      }
      throw failure;
    }
  }

  /** The rows that the last {@link #update} has, or null. @param options in the order of {@link Options} */
  public BatchReader resultRows(int[] options) {
    return reader(() -> resultSet(), options);
  }

  /** Goes to the next result of the last {@link #update}. @return as there; -1 also after the last result */
  public long nextResult() {
    long[] count = {FAILED};
    attempt(() -> count[0] = statement().getMoreResults() ? -1 : statement().getUpdateCount());
    return count[0];
  }

  /** The keys that the last insert made. @param options in the order of {@link Options} */
  public BatchReader generatedKeys(int[] options) {
    return reader(() -> statement().getGeneratedKeys(), options);
  }

  /** The rows of the last {@link #runUpdate}; or null. */
  protected final ResultSet resultSet() throws SQLException {
    return statement().getResultSet();
  }

  protected final PreparedStatement prepared() throws SQLException {
    return statement();
  }

  private interface Rows {
    ResultSet get() throws SQLException;
  }

  private BatchReader reader(Rows source, int[] options) {
    BatchReader[] reader = {null};
    attempt(() -> {
      ResultSet open = source.get();
      if (open != null) reader[0] = BatchReader.ofResult(open, options);
    });
    return reader[0];
  }

  /** The warnings of the last run, one per line, which are then cleared; null if there are none. */
  public String warnings() {
    StringBuilder text = new StringBuilder();
    attempt(() -> {
      for (SQLWarning each = statement().getWarnings(); each != null; each = each.getNextWarning()) {
        text.append(text.length() == 0 ? "" : "\n").append(each.getMessage());
      }
      statement().clearWarnings();
    });
    return text.length() == 0 ? null : text.toString();
  }

  /** Ends what runs; any thread. */
  public boolean cancel() {
    try {
      session().cancel();
      return true;
    } catch (SQLException | RuntimeException refused) {
      return false;
    }
  }

  public boolean close() {
    return attempt(this::closeStatement);
  }

  protected final Session session() {
    return session;
  }

  /** Prepares again if a failed query has closed the statement. */
  private PreparedStatement statement() throws SQLException {
    if (sql == null) throw new MisuseException("no statement: prepare must be called first");
    if (statement != null && !statement.isClosed()) return statement;
    statement = returnsKeys ? session().connection().prepareStatement(sql, Statement.RETURN_GENERATED_KEYS)
                            : session().connection().prepareStatement(sql);
    if (timeoutSeconds > 0) statement.setQueryTimeout(timeoutSeconds);
    return statement;
  }

  private void bindRow(int row) throws SQLException {
    if (staleValues) throw new MisuseException("no parameters are bound: the last ones were refused or used up");
    if (rows == null) {
      session().database().driver().planEachRun(statement());
      return;
    }
    if (row < 0 || row >= Math.max(rows.count(), 1)) throw new MisuseException("no row " + (row + 1) + " is bound");
    rows.bind(row, statement(), 1);
  }

  private void closeStatement() throws SQLException {
    PreparedStatement last = statement;
    statement = null;
    rows = null;
    staleValues = false;
    sql = null;
    insert = null;
    if (last != null) session().close(last);
  }

  @Override
  protected String place() {
    return rows == null ? "" : rows.place();
  }
}
