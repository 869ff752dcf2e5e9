#pragma once

#include <jni.h>

#include <string>
#include <vector>

#include "kivo_export.h"

/// One connection to any JDBC database, through the Java class com.ulvanejdbc.jdbcUtilities of the companion jar.
///
/// Errors: an operation that returns bool returns false on failure; errorState and errorMessage say more. The next
/// operation clears both, closeConnection() too; javaInit() and checkThreadState() do not. Nothing is printed, and no
/// operation leaves a Java exception of its own pending. Check errorState after construction: an object in state 2
/// fails every operation that it cannot carry out, with the same message.
///
/// Thread: the object belongs to the thread that last ran the constructor, getConnection() or closeConnection(); call
/// one of these two first to move it to another thread. The destructor may run on any thread. Threads are attached to
/// the Java VM and never detached; a host that detaches a thread itself does so after that thread's last use of these
/// objects.
///
/// Text in both directions is JNI's modified UTF-8 (KivoUtf8.h converts). Text into Java ends at its first NUL;
/// standard four-byte UTF-8 sequences are accepted, and a malformed byte arrives as the Latin-1 character of its value.
/// Members throw nothing of their own; std::bad_alloc can escape, with everything released.
///
/// The fields are public because their order is part of the binary interface; hosts read the last two only.
class KIVO_EXPORT jdbcWrapper {
 public:
  /// Attaches the calling thread and creates the Java object. On failure errorState is 2 and errorMessage says why.
  jdbcWrapper();

  /// Releases the Java object. It closes nothing: call closeConnection() before.
  ~jdbcWrapper();

  jdbcWrapper(const jdbcWrapper&) = delete;
  jdbcWrapper& operator=(const jdbcWrapper&) = delete;

  /// Attaches the calling thread to the process's Java VM. @return false when there is no VM.
  bool javaInit();

  /// Attaches the calling thread unless it is the one that this object attached last.
  void checkThreadState();

  /// Records a missing Java method as the error. @return false when @p method is null.
  bool checkMethodPointer(std::string name, jmethodID method);

  /// Takes over the Java object's error, if it has one; else errorState and errorMessage stay as they are.
  void getErrorFromJava();

  /// Sets errorState to 0 and empties errorMessage.
  void clearError();

  /// Takes a ready JDBC URL of any driver, or builds one from its parts when @p url is empty. An open connection is not
  /// affected. docs/urls.md has the URLs of each word. A failure that Java does not report keeps the error of the
  /// operation before.
  /// @param port read as a decimal number; 0 without digits.
  /// @param url  receives the URL in effect on success; keeps the caller's text on failure.
  bool setUrl(std::string dbType, std::string host, std::string port, std::string instance, std::string database,
              std::string& url);

  /// The URL in effect.
  /// @param url receives it; empty on failure.
  bool getUrl(std::string& url);

  /// The vendor key: of a ready URL the word after "jdbc:", else the key of the database type.
  /// @param vendor receives it; empty on failure.
  bool getVendor(std::string& vendor);

  /// Connects, unless a connection is open: that one stays, whatever URL was set meanwhile. Empty credentials are left
  /// out. The connection begins in auto-commit mode, whatever the URL says of it; a transaction is opened in SQL.
  bool getConnection(std::string user, std::string password);

  /// Closes result, statement and connection.
  bool closeConnection();

  /// Makes the statement that queries, updates and batches run on.
  bool getStatement();

  /// Runs a query. The changes of an "insert ... returning" and its like are committed when this returns; on SQLite, at
  /// the end of the rows. The changes of a "select", made by a function that it calls, are committed when its rows have
  /// been read to the end, at the next statement or by closeConnection().
  /// @param maxRows maximum number of rows to return; 0 is no limit.
  bool executeQuery(std::string sql, int maxRows);

  /// Moves to the next row. False with errorState 0 is the end of the rows.
  bool next();

  /// Reads a value of the current row as text; dates and times come in UTC.
  /// @param column counted from 1.
  /// @param value receives a buffer from malloc that the caller frees, or null for SQL NULL and on failure. What it
  ///              held before is not freed.
  bool getColumn(int column, char*& value);

  /// The number of columns of the open result.
  /// @return it, or a negative number on failure.
  int getNumColumns();

  /// The label of a column.
  /// @param column counted from 1.
  /// @param name receives it; empty on failure.
  bool getColumnName(int column, std::string& name);

  /// The type of a column.
  /// @param column counted from 1.
  /// @param type receives its code of java.sql.Types; untouched on failure.
  bool getColumnType(int column, int& type);

  /// The label and the type of a column, as from the two members above.
  bool getColumnInfo(int column, std::string& name, int& type);

  /// Runs a statement that returns no rows.
  /// @return the update count, or a negative number on failure.
  int executeUpdate(std::string sql);

  /// Adds a statement to the batch.
  bool addToBatch(std::string sql);

  /// Executes the batch as one transaction: all of it takes effect or, on failure, none, except what the database
  /// commits by itself (on H2, HSQLDB and MariaDB a "create table" and all before it) or keeps in tables without
  /// transactions. The batch is empty afterwards. In a transaction opened in SQL it becomes part of that one if the
  /// driver reports it, as those of H2, MariaDB, PostgreSQL and SQLite do; otherwise it commits that one.
  /// @param result receives the number of statements executed, always written.
  bool executeBatch(int& result);

  /// Lists the users' tables, without system tables and views. The open result stays open.
  /// @param tables replaced by their names; untouched when Java could not list them, emptied when a name was null or
  ///               memory ran out.
  bool getTables(std::vector<std::string>& tables);

  JNIEnv* env = nullptr;              ///< Environment of the thread that last attached through this object.
  int threadId = -1;                  ///< Low 32 bits of that thread's pthread_self(); negative: none recorded.
  jclass utilitiesClass = nullptr;    ///< Held during construction only.
  jobject utilitiesObject = nullptr;  ///< The Java object, global reference.
  /// A method of that object, looked up at construction.
  /// @{
  jmethodID setUrlMethod = nullptr;
  jmethodID getUrlMethod = nullptr;
  jmethodID getConnectionMethod = nullptr;
  jmethodID getTablesMethod = nullptr;
  jmethodID getStatementMethod = nullptr;
  jmethodID executeQueryMethod = nullptr;
  jmethodID executeUpdateMethod = nullptr;
  jmethodID nextMethod = nullptr;
  jmethodID addToBatchMethod = nullptr;
  jmethodID executeBatchMethod = nullptr;
  jmethodID getColumnMethod = nullptr;
  jmethodID getNumColumnsMethod = nullptr;
  jmethodID getColumnNameMethod = nullptr;
  jmethodID getColumnTypeMethod = nullptr;
  jmethodID closeConnectionMethod = nullptr;
  jmethodID getVendorMethod = nullptr;
  jmethodID getErrorCodeMethod = nullptr;
  jmethodID getErrorMessageMethod = nullptr;
  /// @}
  int errorState = 0;        ///< 0 none, 1 the database's error, 2 any other.
  std::string errorMessage;  ///< Text of the last error; empty without one.
};
