package com.ulvanejdbc.arrow;

import com.ulvanejdbc.MisuseException;
import com.ulvanejdbc.Session;
import com.ulvanejdbc.jdbcUtilities;
import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.SQLException;

/**
 * The connection of a {@link jdbcUtilities} as standard interfaces need it: consecutive transactions, settings, and
 * what the database holds. Native code finds this class and its methods by name. Nothing is thrown to it: a method that
 * fails answers false or null, and {@link #failure} has the text. One thread uses it at a time.
 */
public class TypedConnection extends Fallible {
  private final Session session;
  private boolean autoCommit = true;

  protected TypedConnection(Session session) {
    this.session = session;
  }

  public static TypedConnection of(jdbcUtilities utilities) {
    return new TypedConnection(utilities.session());
  }

  public boolean autoCommit() {
    return autoCommit;
  }

  /** With auto-commit off, a transaction is always open. Switching it on commits the open one. */
  public boolean setAutoCommit(boolean on) {
    return attempt(() -> {
      if (on == autoCommit) return;
      if (on) {
        session().commitTransaction();
      } else {
        session().beginTransaction();
      }
      autoCommit = on;
    });
  }

  /**
   * Commits, and begins the next transaction. If the database refuses, the transaction is still open and must be
   * rolled back.
   */
  public boolean commit() {
    return attempt(() -> {
      requireTransaction();
      session().commitTransaction();
      session().beginTransaction();
    });
  }

  /** Rolls back, and begins the next transaction. Also fails if some changes could not be undone. */
  public boolean rollback() {
    return attempt(() -> {
      requireTransaction();
      try {
        session().rollbackTransaction();
      } finally {
        session().beginTransaction();
      }
    });
  }

  private void requireTransaction() {
    if (autoCommit) throw new MisuseException("there is no transaction to end in auto-commit mode");
  }

  /** A constant of {@link Connection}; negative after a failure. */
  public int isolation() {
    int[] level = {-1};
    attempt(() -> level[0] = connection().getTransactionIsolation());
    return level[0];
  }

  /** @param level a constant of {@link Connection}; most databases take it between two transactions only */
  public boolean setIsolation(int level) {
    return attempt(() -> connection().setTransactionIsolation(level));
  }

  public boolean isReadOnly() {
    boolean[] readOnly = {false};
    attempt(() -> readOnly[0] = connection().isReadOnly());
    return readOnly[0];
  }

  public boolean setReadOnly(boolean readOnly) {
    return attempt(() -> connection().setReadOnly(readOnly));
  }

  /** Null if there is none, and after a failure. */
  public String catalog() {
    String[] name = {null};
    attempt(() -> name[0] = connection().getCatalog());
    return name[0];
  }

  public boolean setCatalog(String name) {
    return attempt(() -> connection().setCatalog(name));
  }

  /** Null if there is none, and after a failure. */
  public String schema() {
    String[] name = {null};
    attempt(() -> name[0] = connection().getSchema());
    return name[0];
  }

  public boolean setSchema(String name) {
    return attempt(() -> connection().setSchema(name));
  }

  /** What can be listed; the columns are those of the method of {@link DatabaseMetaData} with that name. */
  public enum Listing {
    CATALOGS((database, names) -> database.getCatalogs()),
    SCHEMAS((database, names) -> database.getSchemas(names[0], names[1])),
    TABLE_TYPES((database, names) -> database.getTableTypes()),
    TABLES((database, names) -> database.getTables(names[0], names[1], names[2], null)),
    COLUMNS((database, names) -> database.getColumns(names[0], names[1], names[2], names[3])),
    PRIMARY_KEYS((database, names) -> database.getPrimaryKeys(names[0], names[1], names[2])),
    UNIQUE_KEYS((database, names) -> database.getIndexInfo(names[0], names[1], names[2], true, true)),
    FOREIGN_KEYS((database, names) -> database.getImportedKeys(names[0], names[1], names[2]));

    private interface Question {
      ResultSet ask(DatabaseMetaData database, String[] names) throws SQLException;
    }

    private final Question question;

    Listing(Question question) {
      this.question = question;
    }
  }

  /**
   * Lists what the database holds; the rows being read stay where they are.
   *
   * @param listing the name of a {@link Listing}
   * @param names catalogue, schema, table, column; patterns as JDBC has them, null for all. Keys take exact names.
   * @param options in the order of {@link Options}
   * @return null after a failure
   */
  public BatchReader list(String listing, String[] names, int[] options) {
    BatchReader[] reader = {null};
    attempt(() -> {
      ResultSet rows = Listing.valueOf(listing).question.ask(connection().getMetaData(), names);
      reader[0] = BatchReader.ofOwnResult(rows, options);
    });
    return reader[0];
  }

  protected final Session session() {
    return session;
  }

  protected final Connection connection() {
    return session.connection();
  }

  @Override
  protected String place() {
    return "";
  }
}
