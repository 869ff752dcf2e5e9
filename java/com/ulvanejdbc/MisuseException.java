package com.ulvanejdbc;

/** A call that cannot be carried out as it was made: the caller's mistake, never the database's answer. */
public final class MisuseException extends IllegalStateException {
  private static final long serialVersionUID = 1L;

  public MisuseException(String message) {
    super(message);
  }
}
