#include <algorithm>
#include <cstdlib>
#include <utility>

#include "JavaConnectionUtils.h"
#include "session/java.h"
#include "session/session.h"

namespace kivosql {

namespace {

/// A Java connection class. Its contract does not say what columns a query has: they are numbered, and the first row
/// shows how many there are.
class BridgeSession : public Session {
 public:
  std::vector<Column> query(const std::string& sql, int maxRows, int /*blockRows*/) override {
    check(setParameters({"query"}, {toJava(sql)}) && java_->query());
    rowsLeft_ = maxRows == 0 ? -1 : maxRows;
    readAhead_ = advance();
    if (readAhead_) return readFirst();
    rowsLeft_ = 0;
    return {};
  }

  bool next(Row& row) override {
    if (rowsLeft_ == 0) return false;
    --rowsLeft_;
    if (!std::exchange(readAhead_, false)) {
      if (!advance()) return false;
      std::size_t column = 0;
      check(std::all_of(values_.begin(), values_.end(), [&](Value& value) { return read(++column, value); }));
    }
    row.clear();
    for (const Value& value : values_) row.push_back({value ? std::string_view(*value) : std::string_view(), !value});
    return true;
  }

  std::vector<Column> describe(const std::string& table) override {
    std::string name = toJava(table);
    std::vector<std::string> names;
    std::vector<std::string> types;
    check(java_->canDiscover() && java_->discoverTable(name, names, types));
    std::vector<Column> columns;
    for (std::size_t column = 0; column < std::min(names.size(), types.size()); ++column) {
      columns.push_back({fromJava(names[column]), 0, fromJava(types[column])});
    }
    return columns;
  }

  // The contract has neither cancel() nor close(); a class may have them all the same.
  bool cancel() override { return cancelInJava(java_->connectionObject); }

  void close() override {
    call<Nothing>(java_->env, java_->connectionObject, "close", "()V");
    check(true);
  }

 private:
  static constexpr std::size_t kMaxColumns = 10000;

  using Texts = std::vector<std::string>;
  using Value = std::optional<std::string>;

  bool connect(Target& java) override {
    std::replace(java.className.begin(), java.className.end(), '.', '/');
    java_.emplace(java.className);
    return java_->javaInit() && setParameters({"url", "user", "password"}, {java.url, java.user, java.password}) &&
           java_->makeConnection();
  }

  bool list(std::vector<std::string>& tables) override { return java_->canDiscover() && java_->discoverTables(tables); }

  void check(bool worked) override { printed_.check(java_->env, worked); }

  bool setParameters(Texts names, Texts values) { return java_->setParams(names, values); }

  /// The end of the rows differs from a failure only in that nothing is printed.
  bool advance() {
    const bool isRow = java_->next();
    const std::string printed = printed_.take();
    if (!isRow && !printed.empty()) throw javaFailure({}, printed);
    return isRow;
  }

  bool read(std::size_t column, Value& value) {
    char* text = nullptr;
    const bool worked = java_->getColumn(static_cast<int>(column), text);
    value.reset();
    if (text != nullptr) value = fromJava(text);
    std::free(text);
    return worked;
  }

  std::vector<Column> readFirst() {
    std::vector<Column> columns;
    Value value;
    values_.clear();
    while (read(columns.size() + 1, value)) {
      if (columns.size() == kMaxColumns) {
        throw Failure("the Java connection class does not say where its columns end");
      }
      values_.push_back(std::move(value));
      columns.push_back({"column " + std::to_string(values_.size()), 0, ""});
    }
    // Past the last column every read fails. If a later column can be read, this value alone has failed.
    const std::string printed = printed_.take();
    if (columns.empty() || read(columns.size() + 2, value)) throw javaFailure({}, printed);
    printed_.take();
    return columns;
  }

  JavaErrors printed_;
  std::optional<JavaConnectionUtils> java_;
  std::vector<Value> values_;  ///< of the current row
  bool readAhead_ = false;     ///< the current row is still to be handed out
  int rowsLeft_ = -1;          ///< negative for no limit
};

}  // namespace

std::unique_ptr<Session> makeBridgeSession() { return std::make_unique<BridgeSession>(); }

}  // namespace kivosql
