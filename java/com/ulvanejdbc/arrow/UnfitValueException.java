package com.ulvanejdbc.arrow;

import java.sql.SQLDataException;

/** A value that its column's Arrow type cannot hold. It may be thrown for many cells, so it has no stack trace. */
final class UnfitValueException extends SQLDataException {
  private static final long serialVersionUID = 1L;

  private static final String DATA_EXCEPTION = "22000";

  UnfitValueException(Object value, String format) {
    super("the value " + value + " does not fit into Arrow's type \"" + format + '"', DATA_EXCEPTION);
  }

  @Override
  public synchronized Throwable fillInStackTrace() {
    return this;
  }
}
