package com.ulvanejdbc.arrow;

import java.sql.SQLException;

/** What native code calls: nothing is thrown to it, and a failure is kept for it to read. */
public abstract class Fallible {
  private Failure failure;

  /** A part of a call that may fail in any way. */
  protected interface Step {
    void run() throws SQLException;
  }

  /** @return whether the step worked; if not, {@link #failure} has the text */
  protected final boolean attempt(Step step) {
    failure = null;
    try {
      step.run();
      return true;
    } catch (Throwable thrown) {
      fail(thrown);
      return false;
    }
  }

  /** Keeps a failure. @return it */
  final Failure fail(Throwable thrown) {
    failure = new Failure(thrown, place());
    return failure;
  }

  /** Where in the caller's rows it happened; stands before the text. */
  protected abstract String place();

  /** The text of the last failure, as people read it; null without one. */
  public final String failure() {
    return failure == null ? null : failure.text;
  }

  /** What was thrown; null without a failure. */
  public final Throwable thrown() {
    return failure == null ? null : failure.thrown;
  }

  /** The five letters of its SQLState; null when there are none. */
  public final String sqlState() {
    return failure == null ? null : failure.sqlState;
  }

  /** The database's own number of the failure; 0 when there is none. */
  public final int vendorCode() {
    return failure == null ? 0 : failure.vendorCode;
  }
}
