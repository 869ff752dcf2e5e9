package com.ulvanejdbc;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Types;
import java.util.Arrays;

/**
 * Reads an open result by the block: each {@link #pack} reads up to a number of rows into one buffer, which native code
 * then reads in place. Native code finds this class and its methods by name. Nothing is thrown to it: a failure is a
 * state, with {@link #failure} for its text.
 *
 * <p>The buffer, in the machine's byte order: four ints, which are the state, the number of rows, the number of columns
 * and a zero; then an int for each cell, row by row, which is where the cell's text ends, or the complement of that
 * where the cell is null; then the text, in which each cell begins where the one before ends.
 */
public final class RowPacker {
  /** States of a block: whether, and why, it is the last one. */
  private static final int MORE = 0;
  private static final int ENDED = 1;
  private static final int DATABASE_FAILED = 2;
  private static final int OTHER_FAILED = 3;

  private static final int HEADER_INTS = 4;

  /** A block ends with the row that takes it beyond this, so that wide rows do not pile up in memory. */
  private static final int ENOUGH_BYTES = 1 << 20;

  private final BlockText text;
  private final int maxRows;
  private OpenResult result;
  private BlockCell[] cells = {};

  private int[] block = new int[HEADER_INTS];
  private ByteBuffer buffer = newBuffer(HEADER_INTS * Integer.BYTES);
  private int state = MORE;
  private int rowCount;
  private int rowStart;

  private String failure;

  private RowPacker(int maxRows, boolean standard, int maxRowBytes) {
    this.maxRows = maxRows;
    text = new BlockText(standard, maxRowBytes);
  }

  /**
   * Cells as the per-cell way over the result itself gives them: dates and times in UTC, all else as the driver does.
   *
   * @param types the columns' types by which that way goes
   */
  public static RowPacker ofResult(ResultSet rows, int[] types, int maxRows, boolean standard, int maxRowBytes) {
    RowPacker packer = new RowPacker(maxRows, standard, maxRowBytes);
    packer.attempt(() -> {
      packer.open(OpenResult.of(rows), types.length);
      for (int column = 1; column <= types.length; ++column) {
        int type = types[column - 1];
        boolean isTemporal = type == Types.DATE || type == Types.TIME || type == Types.TIMESTAMP;
        packer.setCell(column, type, isTemporal ? CellKind.TEMPORAL : CellKind.TEXT);
      }
    });
    return packer;
  }

  /** Cells as {@link jdbcUtilities#getColumn} gives them. */
  public static RowPacker ofUtilities(jdbcUtilities utilities, int maxRows, boolean standard, int maxRowBytes) {
    RowPacker packer = new RowPacker(maxRows, standard, maxRowBytes);
    packer.attempt(() -> {
      OpenResult result = OpenResult.of(utilities);
      Rows source = result.sessionRows();
      packer.open(result, source.count());
      for (int column = 1; column <= source.count(); ++column) {
        packer.setCell(column, source.type(column), source.kind(column));
      }
    });
    return packer;
  }

  /**
   * Reads the next rows. The block of a failing row holds those before it.
   *
   * @return the buffer, valid until the next call
   */
  public ByteBuffer pack() {
    rowCount = 0;
    rowStart = 0;
    text.clear();
    if (state == MORE) attempt(this::packRows);
    if (state == MORE && rowCount > 0) result.fetchByTheBlock(maxRows, rowStart / rowCount, cells.length);
    write();
    return buffer;
  }

  /** The text of the failure that ended the rows, as people read it. */
  public String failure() {
    return failure;
  }

  private void open(OpenResult source, int columns) {
    result = source;
    cells = new BlockCell[columns];
  }

  private void setCell(int column, int type, CellKind kind) throws SQLException {
    cells[column - 1] = new BlockCell(result.rows(), column, type, kind);
  }

  private void packRows() throws SQLException {
    int at = HEADER_INTS;
    while (rowCount < maxRows && at * Integer.BYTES + rowStart < ENOUGH_BYTES) {
      if (!result.next()) {
        state = ENDED;
        return;
      }
      reserve(at + cells.length);
      text.beginRow();
      for (int index = 0; index < cells.length; ++index) {
        boolean isValue = cells[index].pack(text);
        block[at++] = isValue ? text.length() : ~text.length();
      }
      rowStart = text.length();
      ++rowCount;
    }
  }

  /** The block grows with the rows: few results fill one. */
  private void reserve(int needed) {
    if (needed > block.length) block = Arrays.copyOf(block, Math.max(needed, 2 * block.length));
  }

  /** Makes the block; when there is no memory for all of it, of the rows that the buffer can take. */
  private void write() {
    attempt(() -> {
      int size = size(rowCount);
      if (size > buffer.capacity()) buffer = newBuffer(size + size / 4);
    });
    while (size(rowCount) > buffer.capacity()) --rowCount;
    int ints = HEADER_INTS + rowCount * cells.length;
    block[0] = state;
    block[1] = rowCount;
    block[2] = cells.length;
    buffer.clear();
    buffer.asIntBuffer().put(block, 0, ints);
    buffer.position(ints * Integer.BYTES);
    buffer.put(text.bytes(), 0, textSize(rowCount));
  }

  private int size(int count) {
    return Math.addExact((HEADER_INTS + count * cells.length) * Integer.BYTES, textSize(count));
  }

  private int textSize(int count) {
    int end = block[HEADER_INTS + count * cells.length - 1];
    return end < 0 ? ~end : end;
  }

  private static ByteBuffer newBuffer(int size) {
    return ByteBuffer.allocateDirect(size).order(ByteOrder.nativeOrder());
  }

  private interface Step {
    void run() throws SQLException;
  }

  private void attempt(Step step) {
    try {
      step.run();
    } catch (Throwable thrown) {
      if (result != null) result.abandon(thrown);
      state = ErrorText.isOfDatabase(thrown) ? DATABASE_FAILED : OTHER_FAILED;
      failure = ErrorText.of(thrown);
    }
  }
}
