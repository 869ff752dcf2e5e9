package com.ulvanejdbc;

import java.sql.PreparedStatement;
import java.sql.SQLException;

/** Rows of values for the parameters of a statement. */
public interface ParameterRows {
  /** How many rows there are. */
  int count();

  /** How many values a row has. */
  int width();

  /** @param place where the row's first value goes, counted from 1 */
  void bind(int row, PreparedStatement statement, int place) throws SQLException;
}
