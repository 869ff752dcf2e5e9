#include <mutex>

#include "JdbcUtils.h"
#include "session/java_errors.h"
#include "session/session.h"

namespace kivosql {

namespace {

/// The vendors' own DataSource classes. Rows are read with auto-commit off, as some drivers, PostgreSQL's among them,
/// fetch by portions only inside a transaction and otherwise hold the whole result in the Java heap.
class JdbcSession : public Session {
 public:
  bool open(const Target& target) override {
    Target java = toJava(target);
    std::string field;
    std::string text;
    const bool connected =
        database_.javaInit() &&
        database_.setUrl(java.type, java.host, java.port, java.instance, java.database, java.url, field, text) &&
        database_.getConnection(java.user, java.password, text) && database_.getStatement();
    url_ = fromJava(java.url);
    return done(connected, fromJava(text));
  }

  bool query(const std::string& sql, int maxRows) override {
    const auto describe = [this](int column, std::string& name, int& type) {
      return database_.getColumnInfo(column, name, type);
    };
    std::string text = toJava(sql);
    if (!endTransaction() || !done(database_.setAutoCommit(false))) return false;
    setRunning(true);
    if (done(database_.executeQuery(text, maxRows) && setColumns(database_.getNumColumns(), describe))) {
      rows_.open(database_);
      return true;
    }
    keepError([this] { endTransaction(); });
    return false;
  }

  Step next(Row& row) override {
    const Step step = rows_.next(row);
    if (step == Step::end) return endTransaction() ? Step::end : Step::failed;
    if (step == Step::failed) {
      details_ = fromJava(rows_.error());
      error_ = readable(details_, {});
      keepError([this] { endTransaction(); });
    }
    return step;
  }

  bool tables(std::vector<std::string>& names) override {
    if (!endTransaction() || !done(database_.getTables(names))) return false;
    for (std::string& name : names) name = fromJava(name);
    return true;
  }

  bool cancel() override {
    const std::lock_guard<std::mutex> lock(cancelling_);
    return !running_ || cancelStatementInJava(database_.statement);
  }

  bool isBroken() override { return isBrokenInJava(database_.env, database_.connection); }

  bool close() override {
    const bool ended = endTransaction();
    database_.closeConnection();
    return ended;
  }

 private:
  bool threw() const { return database_.env != nullptr && database_.env->ExceptionCheck() == JNI_TRUE; }

  /// The library reports a failure by its result, by an exception that it leaves pending, or by both.
  bool done(bool result, const std::string& text = {}) {
    const bool failed = !result || threw();
    if (threw()) database_.env->ExceptionDescribe();
    details_ = printed_.take();
    if (failed) error_ = readable(text, details_);
    return !failed;
  }

  /// Nothing to do when none is open.
  bool endTransaction() {
    setRunning(false);
    if (database_.connection == nullptr || database_.autoCommit) return true;
    database_.closeRS();
    if (done(database_.commit())) return done(database_.setAutoCommit(true));
    keepError([this] { done(database_.setAutoCommit(true)); });
    return false;
  }

  /// Waits for a cancel on its way, which would otherwise hit what the connection does next.
  void setRunning(bool running) {
    const std::lock_guard<std::mutex> lock(cancelling_);
    running_ = running;
  }

  /// Runs clean-up whose own failure matters less than the one that led to it.
  template <typename Cleanup>
  void keepError(Cleanup cleanup) {
    const std::string error = error_;
    const std::string details = details_;
    cleanup();
    error_ = error;
    details_ = details;
  }

  JavaErrors printed_;
  JdbcUtils database_;
  BlockRows rows_;  ///< of the last query; goes before the database
  std::mutex cancelling_;
  bool running_ = false;  ///< what cancel() is to end
};

}  // namespace

std::unique_ptr<Session> makeJdbcSession() { return std::make_unique<JdbcSession>(); }

}  // namespace kivosql
