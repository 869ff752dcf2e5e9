#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "RowBlocks.h"
#include "sql/sql_types.h"
#include "terminal/messages.h"

namespace kivosql {

/// Where to connect. All text in the host is standard UTF-8; sessions convert it on its way to and from Java.
struct Target {
  std::string url;  ///< a ready JDBC URL; empty to build it from the five parts that follow
  std::string type;
  std::string host;
  std::string port;
  std::string instance;
  std::string database;
  std::string user;
  std::string password;
  std::string className = "com.ulvanejdbc.JdbcConnection";  ///< the bridge's Java connection class
};

struct Column {
  std::string name;
  int type = 0;  ///< code of java.sql.Types; 0 when the session does not know it
  std::string typeName;
};

/// A value. Its text belongs to whoever made the row.
struct Cell {
  std::string_view text;
  bool isNull = false;
};
using Row = std::vector<Cell>;

/// Whether the text reaches Java as it stands.
bool isUtf8(const std::string& text);

/// Text, and a target's texts, on the way to Java.
std::string toJava(const std::string& text);
Target toJava(const Target& target);

/// Text on the way back.
std::string fromJava(const std::string& text);

enum class Step { row, end, failed };

/// The rows of an open result, read by the block.
class BlockRows {
 public:
  /// @param source a JdbcUtils or a jdbcWrapper
  template <typename Source>
  void open(Source& source) {
    RowBlocksOptions options;
    options.standardUtf8 = true;
    // A person sees each row as it comes.
    if (outputOnTerminal()) options.maxRows = 1;
    blocks_.emplace(source, options);
    row_ = 0;
  }

  /// Fills @p row, whose texts are good until the next call. Without open() the rows have ended.
  Step next(Row& row);

  const std::string& error() const { return blocks_->errorMessage; }

 private:
  std::optional<RowBlocks> blocks_;
  int row_ = 0;
};

/// Rows of text on their way to a table.
class PackedRows {
 public:
  void add(const Cell& cell);
  void clear();

  std::vector<std::int32_t> ends;  ///< where each value's text ends; the complement for NULL
  std::string text;                ///< the values, one after the other
};

/// What the commands read from a database, whichever of the library's classes carries it. After a failure error() says
/// why. One thread, save for cancel().
class Session {
 public:
  virtual ~Session() = default;
  Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Connects. The URL in effect is url() from then on.
  virtual bool open(const Target& target) = 0;

  /// Starts a query; columns() then describes its rows. @param maxRows 0 is no limit.
  virtual bool query(const std::string& sql, int maxRows) = 0;

  /// Fills @p row with the next row of the query; its texts are good until the next call.
  virtual Step next(Row& row) = 0;

  /// @return null for one that only reads.
  virtual class WritingSession* writing() { return nullptr; }

  virtual bool tables(std::vector<std::string>& names) = 0;

  /// Makes columns() those of the table. @param table a name as it stands in SQL.
  virtual bool describe(const std::string& table);

  /// Asks the database to give up the statement that runs. Any thread, between open() and close().
  /// @return false when the database cannot be reached.
  virtual bool cancel() = 0;

  /// Whether the connection has gone, and with it the answer to what ran last. error() stays.
  virtual bool isBroken() { return false; }

  /// Ends what is open; that is when a database may refuse what the last query changed.
  /// @return false when it did, or when closing failed in another way.
  virtual bool close() = 0;

  const std::vector<Column>& columns() const { return columns_; }
  const std::string& url() const { return url_; }
  const std::string& error() const { return error_; }
  /// Java's full error output, stack traces included.
  const std::string& details() const { return details_; }

 protected:
  /// Makes columns() of what @p describe(column, name, type) tells, columns counted from 0; false when one fails.
  template <typename Describe>
  bool setColumns(int count, Describe describe) {
    columns_.assign(static_cast<std::size_t>(count < 0 ? 0 : count), {});
    int number = 0;
    for (Column& column : columns_) {
      if (!describe(number++, column.name, column.type)) return false;
      column.name = fromJava(column.name);
      column.typeName = typeName(column.type);
    }
    return count >= 0;
  }

  std::vector<Column> columns_;
  std::string url_;
  std::string error_;
  std::string details_;
};

/// One that changes data as well.
class WritingSession : public Session {
 public:
  /// @return the number of rows changed, negative on failure.
  virtual int update(const std::string& sql) = 0;

  /// Begins a transaction, which all that follows is a part of.
  virtual bool beginTransaction() = 0;

  /// Ends it. @return false when the commit was refused, which a rollback must follow, or when the rollback left
  /// something stored, as far as that can be known.
  virtual bool endTransaction(bool commit) = 0;

  /// Gets ready to store rows. @param table its name as it stands in SQL. @param columns by their exact names
  virtual bool prepareRows(const std::string& table, const std::vector<std::string>& columns) = 0;

  /// Whether the table can undo rows.
  virtual bool undoesRows() = 0;

  /// Stores rows as one transaction. @return whether all are stored; otherwise none is, as far as the table can undo
  /// rows, unless isBroken().
  virtual bool storeRows(PackedRows& rows) = 0;

  /// Finds the row for which storeRows() failed just now; error() is then that row's. The rows are stored one by one,
  /// and undone again: only for a table that can.
  /// @return counted from 0; nothing when it is unknown.
  virtual std::optional<std::size_t> failedRow(PackedRows& rows) = 0;

  /// Has the database write what is stored to disk, where a commit does not wait for that.
  virtual bool syncRows() = 0;
};

/// A way through the library: one class each.
struct Carrier {
  const char* name;
  const char* about;
  bool writes;
  bool takesParts;   ///< of a URL, instead of one
  bool vendorsOnly;  ///< of databases, the vendors of JdbcUtils only
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

/// Calls cancel() of a Java object from a thread that is not attached. @return whether that worked.
bool cancelInJava(void* object);

/// The same for a statement of a driver, in the way that the driver needs.
bool cancelStatementInJava(void* statement);

/// Calls close() of a Java object, if its class has one. @return false, with the exception described, when it threw.
bool closeInJava(JNIEnv* env, void* object);

/// Whether isValid() of a Java object, null for one that is closed, says no.
bool isBrokenInJava(JNIEnv* env, void* object);

}  // namespace kivosql
