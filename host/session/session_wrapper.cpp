#include "jdbcWrapper.h"
#include "session/java_errors.h"
#include "session/java_row_loader.h"
#include "session/session.h"

namespace kivosql {

namespace {

/// Any JDBC driver, errors as text; it streams large results by itself.
class WrapperSession : public WritingSession {
 public:
  bool open(const Target& target) override {
    if (!done(database_.errorState == 0)) return false;
    Target java = toJava(target);
    const bool connected = database_.setUrl(java.type, java.host, java.port, java.instance, java.database, java.url) &&
                           database_.getConnection(java.user, java.password) && database_.getStatement();
    url_ = fromJava(java.url);
    return done(connected);
  }

  bool query(const std::string& sql, int maxRows) override {
    const auto describe = [this](int column, std::string& name, int& type) {
      return database_.getColumnInfo(column + 1, name, type);
    };
    if (!done(database_.executeQuery(toJava(sql), maxRows) && setColumns(database_.getNumColumns(), describe))) {
      return false;
    }
    rows_.open(database_);
    return true;
  }

  Step next(Row& row) override {
    const Step step = rows_.next(row);
    if (step == Step::failed) setError(rows_.error());
    return step;
  }

  int update(const std::string& sql) override {
    const int count = database_.executeUpdate(toJava(sql));
    done(count >= 0);
    return count;
  }

  WritingSession* writing() override { return this; }

  bool prepareRows(const std::string& table, const std::vector<std::string>& columns) override {
    return worked(loader_.prepare(database_.env, database_.utilitiesObject, table, columns));
  }

  bool undoesRows() override { return loader_.undoes(); }

  bool storeRows(PackedRows& rows) override { return worked(loader_.store(rows)); }

  std::optional<std::size_t> failedRow(PackedRows& rows) override {
    const std::optional<std::size_t> row = loader_.failedRow(rows);
    if (row) setError(loader_.error());
    return row;
  }

  bool syncRows() override { return worked(loader_.sync()); }

  bool beginTransaction() override { return transact("beginTransaction"); }

  bool endTransaction(bool commit) override { return transact(commit ? "commitTransaction" : "rollbackTransaction"); }

  bool tables(std::vector<std::string>& names) override {
    if (!done(database_.getTables(names))) return false;
    for (std::string& name : names) name = fromJava(name);
    return true;
  }

  bool cancel() override { return cancelInJava(database_.utilitiesObject); }

  bool isBroken() override { return isBrokenInJava(database_.env, database_.utilitiesObject); }

  bool close() override { return done(database_.closeConnection()); }

 private:
  bool done(bool result) {
    if (result) return true;
    setError(database_.errorMessage);
    return false;
  }

  bool worked(bool result) {
    if (!result) setError(loader_.error());
    return result;
  }

  bool transact(const char* method) {
    std::string why;
    const bool worked = callUtilities(database_.env, database_.utilitiesObject, method, why);
    if (!worked) setError(why);
    return worked;
  }

  void setError(const std::string& message) {
    details_ = fromJava(message);
    error_ = readable(details_, {});
  }

  jdbcWrapper database_;
  BlockRows rows_;        ///< of the last query; goes before the database
  JavaRowLoader loader_;  ///< so does this
};

}  // namespace

std::unique_ptr<Session> makeWrapperSession() { return std::make_unique<WrapperSession>(); }

}  // namespace kivosql
