#include "JdbcUtils.h"
#include "session/block_rows.h"

namespace kivosql {

namespace {

/// The vendors' own DataSource classes. Rows are read with auto-commit off: some drivers, PostgreSQL's among them,
/// fetch in portions only inside a transaction and otherwise hold the whole result in the Java heap.
class JdbcSession : public Session {
 public:
  std::vector<Column> query(const std::string& sql, int maxRows, int blockRows) override {
    std::string text = toJava(sql);
    failed_ = true;
    check(database_.setAutoCommit(false));
    check(database_.executeQuery(text, maxRows) && rows_.open(database_, 0, blockRows));
    failed_ = false;
    return rows_.columns();
  }

  bool next(Row& row) override {
    failed_ = true;
    const bool more = rows_.next(row);
    failed_ = false;
    return more;
  }

  bool cancel() override { return cancelStatementInJava(database_.statement); }

  bool isBroken() override { return isBrokenInJava(database_.env, database_.connection); }

  void close() override {
    std::optional<Failure> refused;
    if (database_.connection != nullptr && !database_.autoCommit) {
      database_.closeRS();
      refused = attempt([this] { check(database_.commit()); });
    }
    database_.closeConnection();
    if (refused && !failed_) throw Failure(*refused);
  }

 private:
  bool connect(Target& java) override {
    std::string field;
    return database_.javaInit() &&
           database_.setUrl(java.type, java.host, java.port, java.instance, java.database, java.url, field, text_) &&
           database_.getConnection(java.user, java.password, text_) && database_.getStatement();
  }

  bool list(std::vector<std::string>& tables) override { return database_.getTables(tables); }

  std::string typeName(int column) override { return typeNameOf(database_.env, database_.resultSetMetaData, column); }

  void check(bool worked) override { printed_.check(database_.env, worked, fromJava(text_)); }

  JavaErrors printed_;
  JdbcUtils database_;
  std::string text_;     ///< of a failure to connect
  BlockRows rows_;       ///< of the last query; destroyed before the database
  bool failed_ = false;  ///< the last query, whose transaction can then not be committed
};

}  // namespace

std::unique_ptr<Session> makeJdbcSession() { return std::make_unique<JdbcSession>(); }

}  // namespace kivosql
