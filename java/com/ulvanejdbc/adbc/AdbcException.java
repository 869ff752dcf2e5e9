package com.ulvanejdbc.adbc;

import com.ulvanejdbc.Database;
import java.sql.SQLException;

/** A failure of the driver's own, with ADBC's status. */
final class AdbcException extends SQLException {
  private static final long serialVersionUID = 1L;

  final int status;

  AdbcException(int status, String message) {
    super(message);
    this.status = status;
  }

  /** With the codes of its cause. */
  AdbcException(int status, String message, SQLException cause) {
    super(message, Database.sqlState(cause), cause.getErrorCode(), cause);
    this.status = status;
  }
}
