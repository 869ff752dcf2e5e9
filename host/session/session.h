#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "sql/rows.h"

namespace kivosql {

/// Where to connect. All text in the host is standard UTF-8; sessions convert it on its way to and from Java.
struct Target {
  std::string url;  ///< a ready URL; empty to build it from the five parts that follow
  std::string type, host, port, instance, database;
  std::string user, password;
  std::string className = "com.ulvanejdbc.JdbcConnection";  ///< the bridge's Java connection class
};

/// Whether the text reaches Java unchanged.
bool isUtf8(std::string_view text);

/// Reads from a database through one of the library's classes. Members throw Failure. One thread, except cancel().
/// WrapperSession also writes.
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
  virtual class WrapperSession* writing() { return nullptr; }

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

  /// The database's name for the type of a column of the query, counted from 1.
  virtual std::string typeName(int /*column*/) { return {}; }

 private:
  std::string url_;
};

/// A class of the library to go through.
struct Carrier {
  const char* name;
  const char* about;
  bool isComplete;      ///< writes too, and builds a URL from its parts
  bool takesAnyScheme;  ///< its URLs need not be JDBC's
  std::unique_ptr<Session> (*make)();
};

std::unique_ptr<Session> makeWrapperSession();
std::unique_ptr<Session> makeJdbcSession();
std::unique_ptr<Session> makeBridgeSession();

constexpr Carrier kCarriers[] = {
    {"wrapper", "jdbcWrapper: any driver", true, false, makeWrapperSession},
    {"jdbc", "JdbcUtils: the vendors' own DataSource classes", false, false, makeJdbcSession},
    {"bridge", "JavaConnectionUtils: a Java class of yours, --class", false, true, makeBridgeSession},
};

}  // namespace kivosql
