package com.ulvanejdbc.arrow;

import com.ulvanejdbc.ErrorText;
import java.sql.SQLException;

/** Why a call failed, for native code, to which nothing is thrown. */
final class Failure {
  final Throwable thrown;

  /** Whether the database failed, and not the caller or this VM. */
  final boolean isOfDatabase;

  /** As people read it. */
  final String text;

  /** The five letters of the SQLState, or null. */
  final String sqlState;

  final int vendorCode;

  /** @param place where it happened, in front of the text; may be empty */
  Failure(Throwable thrown, String place) {
    this.thrown = thrown;
    isOfDatabase = ErrorText.isOfDatabase(thrown) && !(thrown instanceof UnfitValueException);
    text = place + ErrorText.of(thrown);
    boolean isSql = thrown instanceof SQLException;
    sqlState = isSql ? ((SQLException) thrown).getSQLState() : null;
    vendorCode = isSql ? ((SQLException) thrown).getErrorCode() : 0;
  }
}
