package com.ulvanejdbc.arrow;

import com.ulvanejdbc.OpenResult;
import com.ulvanejdbc.ResultColumn;
import com.ulvanejdbc.Session;
import com.ulvanejdbc.jdbcUtilities;
import java.nio.charset.StandardCharsets;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;

/**
 * Reads an open result batch by batch, each column into memory of its own in Arrow's layout. Native code finds this
 * class and its methods by name. Nothing is thrown to it: a failure is a state, with {@link #failure} for its text.
 *
 * <p>Fields are numbered in pre-order: the field of a list's elements follows the list.
 */
public final class BatchReader extends Fallible {
  /** States of a batch: whether, and why, there is none. */
  private static final int MORE = 0;
  private static final int ENDED = 1;
  private static final int DATABASE_FAILED = 2;
  private static final int OTHER_FAILED = 3;

  /** More rows per round trip are no faster. */
  private static final int ROWS_PER_FETCH = 1024;

  /** Replaces a NUL, which would end the text. */
  private static final char REPLACEMENT = '\uFFFD';

  private static final int HEADER_NUMBERS = 2;
  private static final int FIELD_NUMBERS = 5;

  private final Options options;

  /** The columns and the fields within them, in pre-order. */
  private final List<Column> fields = new ArrayList<>();

  private OpenResult result;

  /** What nobody else closes; may be null. */
  private ResultSet owned;

  private ResultColumn[] sources = {};
  private Column[] columns = {};

  /** The columns whose values differ in size. */
  private Column[] variable = {};

  private int fixedRowBytes;
  private int state = MORE;
  private long rowsBefore;
  private int rowCount;

  /** The column being read, counted from 0; negative between rows. */
  private int current = -1;

  private Slab[] slabs = {};

  private BatchReader(int[] options) {
    this.options = new Options(options);
  }

  /** The class of {@link #slabs}, for native code. */
  public static Class<?> slabClass() {
    return Slab.class;
  }

  /** @param options in the order of {@link Options} */
  public static BatchReader ofResult(ResultSet rows, int[] options) {
    BatchReader reader = new BatchReader(options);
    reader.readOrFail(() -> reader.open(OpenResult.of(rows)));
    return reader;
  }

  /** Of a result that the reader closes at its end. @param options in the order of {@link Options} */
  public static BatchReader ofOwnResult(ResultSet rows, int[] options) {
    BatchReader reader = ofResult(rows, options);
    reader.owned = rows;
    return reader;
  }

  /** @param options in the order of {@link Options} */
  public static BatchReader ofUtilities(jdbcUtilities utilities, int[] options) {
    return ofSession(utilities.session(), options);
  }

  /** @param options in the order of {@link Options} */
  public static BatchReader ofSession(Session session, int[] options) {
    BatchReader reader = new BatchReader(options);
    reader.readOrFail(() -> reader.open(OpenResult.of(session)));
    return reader;
  }

  /**
   * The fields: for each its Arrow format, its name, the database's name of its type and the number of fields in it,
   * four texts in UTF-8 that each end with a NUL. Null after a failure.
   */
  public byte[] schema() {
    if (failure() != null) return null;
    StringBuilder text = new StringBuilder();
    for (int index = 0; index < columns.length; ++index) {
      describe(columns[index], sources[index].label, sources[index].typeName, text);
    }
    return text.toString().getBytes(StandardCharsets.UTF_8);
  }

  /**
   * Reads the next batch. Rows before a failing one come in a batch of their own.
   *
   * @return the state and the number of rows, then for each field its length, its number of nulls, and where in its
   *     slab the validity bits, the second and the third buffer begin, or -1; null when there is no memory even for
   *     that
   */
  public long[] read() {
    rowsBefore += rowCount;
    rowCount = 0;
    slabs = new Slab[0];
    if (state == MORE) readOrFail(this::readRows);
    if (state != MORE) closeOwned();
    try {
      return write();
    } catch (Throwable noMemory) {
      end(noMemory);
      rowCount = 0;
      return new long[] {state, 0};
    }
  }

  /** The memory of the batch just read, one for each field. The caller owns it from now on. */
  public Slab[] slabs() {
    return slabs;
  }

  /** Ends the reading. A result that has another owner stays open: that one closes it. */
  public void close() {
    if (state == MORE) state = ENDED;
    closeOwned();
  }

  @SuppressWarnings("try") // the result is there to be closed
  private void closeOwned() {
    try (ResultSet closes = owned) {
      owned = null;
    } catch (SQLException | RuntimeException alreadyBroken) {
      return;
    }
  }

  private void open(OpenResult source) throws SQLException {
    result = source;
    int count = source.rows().getMetaData().getColumnCount();
    sources = new ResultColumn[count];
    columns = new Column[count];
    for (int index = 0; index < count; ++index) {
      sources[index] = new ResultColumn(source.rows(), index + 1);
      columns[index] = ColumnChoice.of(sources[index], options);
      fixedRowBytes += columns[index].fixedBytes();
    }
    variable = Stream.of(columns).filter(Column::isVariable).toArray(Column[] ::new);
    for (Column column : columns) addFields(column);
  }

  private void addFields(Column column) {
    fields.add(column);
    column.children().forEach(this::addFields);
  }

  private static void describe(Column column, String name, String typeName, StringBuilder text) {
    text.append(column.format)
        .append('\0')
        .append(name.replace('\0', REPLACEMENT))
        .append('\0')
        .append(typeName)
        .append('\0');
    text.append(column.children().size()).append('\0');
    for (Column child : column.children()) describe(child, "item", typeName, text);
  }

  private void readRows() throws SQLException {
    for (Column column : columns) column.clear();
    ResultSet rows = result.rows();
    while (rowCount < options.maxRows && batchBytes() < options.maxBytes) {
      current = -1;
      if (!result.next()) {
        state = ENDED;
        return;
      }
      for (current = 0; current < columns.length; ++current) columns[current].append(rows, current + 1);
      ++rowCount;
      if (rowCount % ROWS_PER_FETCH == 0) tuneFetching();
    }
  }

  private void tuneFetching() {
    result.fetchByTheBlock(ROWS_PER_FETCH, (int) (batchBytes() / rowCount), columns.length);
  }

  private long batchBytes() {
    long bytes = (long) rowCount * fixedRowBytes;
    for (Column column : variable) bytes += column.variableBytes();
    return bytes;
  }

  private long[] write() {
    long[] numbers = new long[HEADER_NUMBERS + FIELD_NUMBERS * fields.size()];
    numbers[0] = rowCount > 0 ? MORE : state;
    numbers[1] = rowCount;
    if (rowCount == 0) return numbers;
    for (Column column : columns) column.cut(rowCount);
    Slab[] written = new Slab[fields.size()];
    int[] positions = new int[FIELD_NUMBERS - HEADER_NUMBERS];
    int at = HEADER_NUMBERS;
    for (int index = 0; index < written.length; ++index) {
      Column field = fields.get(index);
      written[index] = field.write(positions);
      numbers[at++] = field.length();
      numbers[at++] = field.nullCount();
      for (int position : positions) numbers[at++] = position;
    }
    slabs = written;
    return numbers;
  }

  private void readOrFail(Step step) {
    try {
      step.run();
    } catch (Throwable thrown) {
      end(thrown);
      if (result != null) result.abandon(thrown);
    }
  }

  private void end(Throwable thrown) {
    state = fail(thrown).isOfDatabase ? DATABASE_FAILED : OTHER_FAILED;
  }

  /** Where the cell is that could not be read. */
  @Override
  protected String place() {
    if (current < 0 || current >= columns.length) return "";
    return "row " + (rowsBefore + rowCount + 1) + ", column \"" + sources[current].label + "\": ";
  }
}
