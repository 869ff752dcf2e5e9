#pragma once

#include <jni.h>

#include <set>
#include <string>
#include <vector>

#include "kivo_export.h"

/// One JDBC connection, with at most one statement and one open result, driven from native code.
///
/// Usual order: construct, javaInit(), setUrl(), getConnection(), then statements, rows, updates, batches and listings
/// in any order; closeConnection() or destroy(); destruct.
///
/// Thread: javaInit() binds the object to the calling thread; every later call, the destructor included, runs there.
/// Objects are independent of one another. Before a successful javaInit() no member calls Java: all fail except
/// setUrl() and setAutoCommit(), which records the mode.
///
/// Text in both directions is JNI's modified UTF-8. Text into Java ends at its first NUL; standard four-byte UTF-8
/// sequences are accepted, and a malformed byte arrives as the Latin-1 character of its value.
///
/// Errors: results, plus the description of every Java exception on standard error. next(), getColumn(),
/// getNumColumns(), getColumnInfo(), setAutoCommit(), commit() and NewStringArray() may return with a Java exception
/// pending; the next member that calls Java prints and clears it first. destroy() does so when it releases something.
/// Members throw nothing of their own; std::bad_alloc can escape, with everything released.
///
/// The fields are public because their order is part of the binary interface; hosts do not write to them.
class KIVO_EXPORT JdbcUtils {
 public:
  /// Makes an unattached, unconfigured object. Calls no Java.
  JdbcUtils();

  /// Releases the date helper class only. It closes nothing: call closeConnection() or destroy() before.
  ~JdbcUtils();

  JdbcUtils(const JdbcUtils&) = delete;
  JdbcUtils& operator=(const JdbcUtils&) = delete;

  /// Attaches the calling thread to the process's Java VM. True at once when already attached.
  /// @return false when there is no VM or it refuses the thread; it may be called again.
  bool javaInit();

  /// Drops the references to result, statement and connection without closing them; the object can connect again.
  /// To close them in the database, call closeConnection() instead.
  void destroy();

  /// Builds a Java String[] of strings[0] to strings[count - 1]; a null pointer gives a null element.
  /// @return a local reference that the caller releases, or null on failure, with the Java exception left pending.
  jobjectArray NewStringArray(char** strings, int count);

  /// Takes a ready JDBC URL, or builds the vendor's URL from its parts, and selects the vendor. Calls no Java and works
  /// before javaInit(). An open connection is not affected. docs/urls.md has the URLs of each word.
  /// @param dbType     "oracle", "mssql", "velmar", "netezza", "teradata", "db2", "kdb" or "postgresql"; read only when
  ///                   @p url is empty, as are the next four.
  /// @param host       server name or address, copied unchanged.
  /// @param port       server port, copied unchanged.
  /// @param instance   Oracle SID, SQL Server instance, or the database of "velmar", "netezza", "db2", "postgresql".
  /// @param database   database of "mssql" and "teradata".
  /// @param url        a ready URL, or empty to receive the built one.
  /// @param errorField on failure the input at fault: "url", "instance" or "dbtype"; else untouched.
  /// @param errorText  on failure the message; else untouched.
  bool setUrl(std::string& dbType, std::string& host, std::string& port, std::string& instance, std::string& database,
              std::string& url, std::string& errorField, std::string& errorText);

  /// The vendors' DataSource configuration, called by getConnection(): each hands @p url, or the host, port and
  /// database cut out of it, to the setters of @p dataSource, an object of @p dataSourceClass.
  /// @return false when the URL lacks the vendor's form, or a setter is missing or throws; a Java exception stays
  ///         pending for the caller.
  /// @{
  bool TeradataURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool kdbURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool SqlServerURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool PostgresURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool VelmarURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool DB2URL(jclass dataSourceClass, jobject dataSource, std::string& url);
  bool jdbcURL(jclass dataSourceClass, jobject dataSource, std::string& url);
  /// @}

  /// Opens the connection through the vendor's DataSource class and switches auto-commit on.
  /// True at once, with nothing called, when a connection is held.
  /// @param errorText emptied on success; on failure it says which step failed, or is unchanged when the driver's class
  ///                  could not be found or created. Standard error shows what Java threw.
  bool getConnection(std::string& user, std::string& password, std::string& errorText);

  /// Makes the statement if none is held, with a fetch size of 128 rows (none for the "velmar" database).
  /// @return false without a connection, when Java made none, or when it has no way to set a fetch size; in the last
  ///         case the statement is held and the next call returns true.
  bool getStatement();

  /// Closes the open result and releases it; nothing without one.
  void closeRS();

  /// Closes the open result and the statement; an open batch is discarded.
  void closeST();

  /// Closes result, statement and connection. The recorded auto-commit mode stays.
  void closeConnection();

  /// Moves to the next row. False at the end, without a result, or when Java threw (left pending).
  bool next();

  /// The number of columns of the open result.
  /// @return it; -1 without a result or when it cannot be determined, 0 when Java threw.
  int getNumColumns();

  /// Runs a query, closing the previous result first; makes the statement when none is held. PostgreSQL's driver holds
  /// the whole result in the Java heap unless auto-commit is off.
  /// @param maxRows maximum number of rows to return; 0 is no limit. When the driver does not know or refuses the
  ///                limit, standard error shows it and the query runs without one.
  /// @return whether a result is open. Also false, although the query ran, when the companion jar is not on the class
  ///         path: every result needs its date helper.
  bool executeQuery(std::string& sql, int maxRows);

  /// Reads a value of the current row as text. DATE, TIME and TIMESTAMP come in UTC.
  /// @param columnIndex counted from 1.
  /// @param value receives a buffer from malloc that the caller frees, or null for SQL NULL.
  /// @return true also when Java threw (value null, the exception left pending). False without a result (@p value
  ///         untouched), for a column outside the result or when memory ran out (@p value null).
  bool getColumn(unsigned long columnIndex, char*& value);

  /// Describes a column of the open result.
  /// @param columnNumber counted from 0.
  /// @param name receives the column's name, @p type its code of java.sql.Types; untouched on failure.
  /// @return true also when Java threw on asking for the type (0 then, the exception left pending).
  bool getColumnInfo(int columnNumber, std::string& name, int& type);

  /// Records the mode and switches the connection to it. Does neither when that mode is recorded already, so after a
  /// refusal, set the other mode before trying again. getConnection() sets the mode to true.
  /// @return true when that mode was recorded already, with or without a connection, or when Java was called, even if
  ///         Java refused (the exception is left pending). False when the mode was recorded but there is no connection.
  bool setAutoCommit(bool on);

  /// Commits; true when Java was called.
  bool commit();

  /// Runs a statement that returns no rows. It needs a held statement: call getStatement() before.
  /// @return the update count, -1 on failure.
  int executeUpdate(std::string& sql);

  /// Adds a statement to the batch; the first one switches auto-commit off. It needs a held statement.
  /// @return 0 even if Java rejected the switch or the statement; only standard error shows it. A rejected statement is
  ///         missing from the batch. -1 without a held statement.
  int addToBatch(std::string& sql);

  /// Executes the batch, commits and switches auto-commit on, also when the batch failed.
  /// @param updateCounts the caller's array with room for one entry per added statement; receives JDBC's counts and
  ///                     status codes in order. Null when they are not wanted.
  /// @return the number of counts, -1 when the batch failed. If the batch ran but the commit after it failed, only
  ///         standard error shows it: a host that must know runs its statements with executeUpdate() and auto-commit
  ///         off, a final "commit" included.
  int executeBatch(int* updateCounts);

  /// Appends the names of the database's tables to @p tables: Oracle and Teradata through a catalogue query, all others
  /// through DatabaseMetaData. System tables are left out; DB2 names are qualified by their schema. The open result
  /// and statement are not disturbed.
  /// @return false on failure. Through DatabaseMetaData, a row whose name or type is null or cannot be read empties
  ///         @p tables; every other failure leaves what was appended.
  /// @{
  bool getTables(std::vector<std::string>& tables);
  bool getTeradataTables(std::vector<std::string>& tables);
  bool getOracleTables(std::vector<std::string>& tables);
  /// @}

  JNIEnv* env = nullptr;                     ///< Environment of the owning thread; null until javaInit().
  jobject connection = nullptr;              ///< java.sql.Connection, global reference or null.
  jobject statement = nullptr;               ///< java.sql.Statement, global reference or null.
  jobject resultSet = nullptr;               ///< java.sql.ResultSet, global reference or null.
  jobject resultSetMetaData = nullptr;       ///< Its ResultSetMetaData, set and released with it.
  jmethodID nextMethod = nullptr;            ///< ResultSet.next, looked up by executeQuery().
  jmethodID setAutoCommitMethod = nullptr;   ///< Connection.setAutoCommit, looked up by getConnection().
  jmethodID commitMethod = nullptr;          ///< Connection.commit, looked up by getConnection().
  bool autoCommit = false;                   ///< The mode recorded by setAutoCommit().
  jmethodID getStringMethod = nullptr;       ///< ResultSet.getString, looked up by executeQuery().
  jmethodID getObjectMethod = nullptr;       ///< ResultSet.getObject, looked up by executeQuery().
  jmethodID getAsUtcStringMethod = nullptr;  ///< Static com.ulvanejdbc.datetime.getAsUtcString.
  jclass datetimeClass = nullptr;            ///< com.ulvanejdbc.datetime, global reference or null.
  std::string vendor;                        ///< Vendor key chosen by setUrl().
  std::string url;                           ///< JDBC URL chosen by setUrl().
  std::vector<int> columnTypes;  ///< java.sql.Types code of each column of the open result; entry 0 is column 1.
  std::set<std::string> oracleSystemTablePrefixes;  ///< Table name prefixes hidden by getOracleTables().
};
