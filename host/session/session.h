#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "sql/sql_types.h"

namespace kivosql {

/// Where to connect. All text in the host is standard UTF-8; sessions convert it on its way to and from Java.
struct Target {
  std::string url;  ///< a ready JDBC URL; empty to build it from the five parts that follow
  std::string type, host, port, instance, database;
  std::string user, password;
  std::string className = "com.ulvanejdbc.JdbcConnection";  ///< the bridge's Java connection class
};

/// Whether the text reaches Java unchanged.
bool isUtf8(std::string_view text);

/// Reads from a database through one of the library's classes. Members throw Failure. One thread, except cancel().
class Session {
 public:
  virtual ~Session() = default;

  /// Connects. Afterwards url() is the URL in effect, also after a failure.
  void open(const Target& target);
  const std::string& url() const { return url_; }

  /// Starts a query. @param maxRows 0 is no limit. @param blockRows how many rows may be read ahead. @return the
  /// columns
  virtual std::vector<Column> query(const std::string& sql, int maxRows, int blockRows) = 0;

  /// Fills @p row with the next row of the query; its texts are valid until the next call. @return false at the end.
  virtual bool next(Row& row) = 0;

  std::vector<std::string> tables();

  /// @param table a name as it stands in SQL. @return its columns
  virtual std::vector<Column> describe(const std::string& table);

  /// @return null for a session that only reads.
  virtual class WritingSession* writing() { return nullptr; }

  /// Cancels the running statement. Any thread, between open() and close().
  /// @return false if the database cannot be reached.
  virtual bool cancel() = 0;

  /// Whether the connection is lost, and with it the outcome of the last statement.
  virtual bool isBroken() { return false; }

  /// Ends what is open. A database may refuse only now what the last query changed, which is a failure.
  virtual void close() = 0;

 protected:
  // The hooks have Java's text on both sides. They return false on failure, and check() then throws it.
  virtual bool connect(Target& target) = 0;
  virtual bool list(std::vector<std::string>& tables) = 0;
  virtual void check(bool worked) = 0;

 private:
  std::string url_;
};

/// Stores rows of text in one table, many at once.
class RowLoader {
 public:
  virtual ~RowLoader() = default;

  /// Adds a value to the rows that are not stored yet.
  void add(const Cell& value);
  void clear();
  std::size_t bytes() const { return text_.size() + ends_.size() * sizeof(ends_[0]); }

  /// Stores the added rows as one transaction. After a failure none is stored, unless the table cannot undo rows or the
  /// connection is broken.
  virtual void store() = 0;

  /// Finds the row for which store() has just failed: stores the rows one by one and undoes them. Only for a table that
  /// can. @param why receives that row's failure. @return counted from 0; nothing if it is unknown.
  virtual std::optional<std::size_t> failedRow(Failure& why) = 0;

  /// Makes the database write what is stored to disk, if a commit does not wait for that.
  virtual void sync() = 0;

  /// Whether the table can undo rows.
  virtual bool undoes() = 0;

 protected:
  std::vector<std::int32_t> ends_;  ///< where each value's text ends; the complement for NULL
  std::string text_;                ///< the values, one after the other
};

/// A session that also changes data.
class WritingSession : public Session {
 public:
  WritingSession* writing() override { return this; }

  /// @return the number of rows changed.
  virtual int update(const std::string& sql) = 0;

  /// Begins a transaction that includes all that follows, loaded rows too.
  virtual void beginTransaction() = 0;

  /// A refused commit must be followed by a rollback. A rollback fails if something is known to stay stored.
  virtual void endTransaction(bool commit) = 0;

  /// @param table its name as it stands in SQL. @param columns those to fill, with their exact names
  virtual std::unique_ptr<RowLoader> loader(const std::string& table, const std::vector<Column>& columns) = 0;
};

/// A class of the library to go through.
struct Carrier {
  const char* name;
  const char* about;
  bool writes;
  bool takesParts;   ///< of a URL, instead of one
  bool vendorsOnly;  ///< only databases that JdbcUtils has as vendors
  std::unique_ptr<Session> (*make)();
};

std::unique_ptr<Session> makeWrapperSession();
std::unique_ptr<Session> makeJdbcSession();
std::unique_ptr<Session> makeBridgeSession();

constexpr Carrier kCarriers[] = {
    {"wrapper", "jdbcWrapper: any driver", true, true, false, makeWrapperSession},
    {"jdbc", "JdbcUtils: the vendors' own DataSource classes", false, true, true, makeJdbcSession},
    {"bridge", "JavaConnectionUtils: a Java class of yours, --class", false, false, false, makeBridgeSession},
};

}  // namespace kivosql
