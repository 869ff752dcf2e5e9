package com.ulvanejdbc.adbc;

import com.ulvanejdbc.Database;
import com.ulvanejdbc.arrow.Fallible;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.sql.SQLException;

/** A failure in the form in which native code reads it. Native code finds this class and its method by name. */
public final class ErrorReport {
  private static final int STATE_LETTERS = 5;

  private ErrorReport() {}

  /**
   * The last failure of an object: the status of ADBC, the five letters of the SQLState (NULs without one), the
   * database's own number in four bytes, the highest first, and the text in UTF-8, one line per exception.
   */
  public static byte[] of(Fallible failed) {
    Throwable thrown = failed.thrown();
    byte[] text = String.valueOf(failed.failure()).getBytes(StandardCharsets.UTF_8);
    ByteBuffer report = ByteBuffer.allocate(1 + STATE_LETTERS + Integer.BYTES + text.length);
    report.put((byte) Status.of(thrown));
    String state = thrown instanceof SQLException ? Database.sqlState((SQLException) thrown) : null;
    byte[] letters = new byte[STATE_LETTERS];
    if (state != null && state.length() == STATE_LETTERS) letters = state.getBytes(StandardCharsets.US_ASCII);
    report.put(letters).putInt(failed.vendorCode()).put(text);
    return report.array();
  }
}
