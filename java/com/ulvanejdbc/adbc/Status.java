package com.ulvanejdbc.adbc;

import com.ulvanejdbc.Database;
import com.ulvanejdbc.MisuseException;
import java.io.IOException;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.sql.SQLTimeoutException;
import java.util.HashMap;
import java.util.Map;

/** ADBC's status of a failure. */
final class Status {
  static final int UNKNOWN = 1;
  static final int NOT_IMPLEMENTED = 2;
  static final int NOT_FOUND = 3;
  static final int ALREADY_EXISTS = 4;
  static final int INVALID_ARGUMENT = 5;
  static final int INVALID_STATE = 6;
  static final int INVALID_DATA = 7;
  static final int INTEGRITY = 8;
  static final int INTERNAL = 9;
  static final int IO = 10;
  static final int CANCELLED = 11;
  static final int TIMEOUT = 12;
  static final int UNAUTHENTICATED = 13;
  static final int UNAUTHORIZED = 14;

  private static final int MAX_CHAIN = 20;
  private static final int CLASS_LETTERS = 2;

  /** By a whole SQLState, or by its class. */
  private static final Map<String, Integer> BY_STATE = new HashMap<>();

  static {
    put(INVALID_ARGUMENT, "42", "07", "21", "2A", "37");
    // No such table, schema, catalogue or type.
    put(NOT_FOUND, "42P01", "42S02", "42S04", "42704", "3D000", "3F000", "42X05", "42Y07", "42Y55", "90079");
    put(ALREADY_EXISTS, "42P07", "42P06", "42P04", "42710", "42S01", "42504", "X0Y32", "90078");
    put(INTEGRITY, "23");
    put(INVALID_DATA, "22");
    put(INVALID_STATE, "24", "25", "26", "2D", "3B");
    put(UNAUTHENTICATED, "28", "08004");
    put(UNAUTHORIZED, "42501", "42502", "42506");
    put(IO, "08", "58", "57P01", "57P02", "57P03");
    put(CANCELLED, "57014", "70100");
    put(TIMEOUT, "HYT00", "HYT01");
    put(NOT_IMPLEMENTED, "0A");
  }

  private Status() {}

  private static void put(int status, String... states) {
    for (String state : states) BY_STATE.put(state, status);
  }

  /** Of the first exception in the chain that shows it. */
  static int of(Throwable failure) {
    int left = MAX_CHAIN;
    for (Throwable each = failure; each != null && left > 0; each = next(each), --left) {
      int status = ofOne(each);
      if (status != UNKNOWN) return status;
    }
    return failure instanceof SQLException ? UNKNOWN : INTERNAL;
  }

  private static Throwable next(Throwable failure) {
    SQLException next = failure instanceof SQLException ? ((SQLException) failure).getNextException() : null;
    return next == null ? failure.getCause() : next;
  }

  private static int ofOne(Throwable failure) {
    if (failure instanceof AdbcException) return ((AdbcException) failure).status;
    if (failure instanceof MisuseException) return INVALID_STATE;
    if (failure instanceof OutOfMemoryError) return INTERNAL;
    if (failure instanceof IOException) return IO;
    if (failure instanceof SQLFeatureNotSupportedException) return NOT_IMPLEMENTED;
    int status = failure instanceof SQLException ? ofState(Database.sqlState((SQLException) failure)) : UNKNOWN;
    // Some drivers report what was cancelled as a timeout; the SQLState tells the two apart.
    return status == UNKNOWN && failure instanceof SQLTimeoutException ? TIMEOUT : status;
  }

  private static int ofState(String state) {
    if (state == null || state.length() < CLASS_LETTERS) return UNKNOWN;
    Integer status = BY_STATE.get(state);
    return status != null ? status : BY_STATE.getOrDefault(state.substring(0, CLASS_LETTERS), UNKNOWN);
  }
}
