package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.sql.Connection;
import java.sql.ParameterMetaData;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.Arrays;
import java.util.Collection;

/**
 * Stores rows of text by prepared statements of many rows each, which costs a server far less than a statement for each
 * row. Native code finds this class and its methods by name. Nothing is thrown to it.
 */
public final class RowLoader {
  /** More bring nothing. */
  private static final int ROWS_A_STATEMENT = 128;

  /**
   * The driver sends many statements before it looks at what the server has to say. Were that a remark for each row, by a
   * trigger, both would come to wait for the other to read.
   */
  private static final String WITHOUT_REMARKS = "set local client_min_messages = error";

  /** PostgreSQL's protocol counts them in 16 bits, and its driver took them for signed. */
  private static final int MOST_PARAMETERS = 32767;

  /** Types of which a parameter is read otherwise than a literal: the fields of the one, the decimal point of the other. */
  private static final Collection<String> READ_OTHERWISE = Arrays.asList("interval", "money");

  private final Session session;
  private final String insert;
  private final int columns;
  private final int mostRows;

  private RowLoader(Session session, String insert, int columns) {
    this.session = session;
    this.insert = insert;
    this.columns = columns;
    mostRows = Math.max(1, Math.min(ROWS_A_STATEMENT, MOST_PARAMETERS / columns));
  }

  /**
   * @param insert the statement up to and with its word "values"
   * @param columns of each row, at least one
   * @return null where a parameter might be read otherwise than the text in quotes, or the statement cannot be prepared
   */
  public static RowLoader of(jdbcUtilities utilities, String insert, int columns) {
    try {
      RowLoader loader = new RowLoader(utilities.session(), insert, columns);
      return loader.readsLiterals() ? loader : null;
    } catch (SQLException | RuntimeException refused) {
      return null;
    }
  }

  private boolean readsLiterals() throws SQLException {
    if (!session.traits().readsParametersAsLiterals()) return false;
    boolean[] reads = {true};
    session.runAsOne(connection -> {
      try (PreparedStatement statement = connection.prepareStatement(insert + places(1))) {
        ParameterMetaData parameters = statement.getParameterMetaData();
        for (int place = 1; place <= columns; ++place) {
          reads[0] &= !READ_OTHERWISE.contains(parameters.getParameterTypeName(place));
        }
      }
    });
    return reads[0];
  }

  /**
   * Stores rows as one transaction.
   *
   * @param ends where each value's text ends, row by row, in ints of the machine's byte order; the complement of that
   *     where the value is null
   * @param text the values one behind the other, in standard UTF-8
   * @return null when they are stored; otherwise why none is, unless the connection broke before the answer to the
   *     commit came
   */
  public String store(ByteBuffer ends, ByteBuffer text) {
    try {
      Rows rows = new Rows(ends, text);
      session.runAsOne(connection -> store(connection, rows));
      return null;
    } catch (Throwable failure) {
      return ErrorText.of(failure);
    }
  }

  /** Rows on the Java side, copied as a whole: a copy for each value would cost more. */
  private final class Rows {
    final int count;
    private final int[] ends;
    private final byte[] text;
    private int at;

    Rows(ByteBuffer ends, ByteBuffer text) {
      this.ends = new int[ends.remaining() / Integer.BYTES];
      ends.order(ByteOrder.nativeOrder()).asIntBuffer().get(this.ends);
      this.text = new byte[text.remaining()];
      text.get(this.text);
      count = this.ends.length / columns;
    }

    /** @return the next value, null for null */
    String next() {
      int start = at == 0 ? 0 : end(ends[at - 1]);
      int end = ends[at++];
      return end < 0 ? null : new String(text, start, end - start, StandardCharsets.UTF_8);
    }

    private int end(int mark) {
      return mark < 0 ? ~mark : mark;
    }
  }

  private void store(Connection connection, Rows rows) throws SQLException {
    try (Statement statement = connection.createStatement()) {
      statement.execute(WITHOUT_REMARKS);
    }
    int rest = rows.count % mostRows;
    if (rows.count > rest) store(connection, mostRows, rows.count / mostRows, rows);
    if (rest > 0) store(connection, rest, 1, rows);
  }

  private void store(Connection connection, int rowsEach, int statements, Rows rows) throws SQLException {
    try (PreparedStatement statement = connection.prepareStatement(insert + places(rowsEach))) {
      session.setRunning(statement);
      for (int count = 0; count < statements; ++count) {
        for (int place = 1; place <= rowsEach * columns; ++place) {
          // A null of this type is one, too.
          statement.setObject(place, rows.next(), Types.OTHER);
        }
        statement.addBatch();
      }
      statement.executeBatch();
    } finally {
      session.setRunning(null);
    }
  }

  /** (?, ?), (?, ?) ... */
  private String places(int rows) {
    StringBuilder places = new StringBuilder();
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) places.append(column > 0 ? ",?" : row > 0 ? "),(?" : "(?");
    }
    return places.append(')').toString();
  }
}
