#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "JavaConnectionUtils.h"
#include "session/java_errors.h"
#include "session/session.h"

namespace kivosql {

namespace {

/// A Java connection class, which alone knows what its rows are. It only reads, and its contract has no question for
/// the columns of a query: they are numbered, and the first row shows how many there are.
class BridgeSession : public Session {
 public:
  bool open(const Target& target) override {
    target_ = toJava(target);
    url_ = target.url;
    std::replace(target_.className.begin(), target_.className.end(), '.', '/');
    java_.emplace(target_.className);
    return done(java_->javaInit()) &&
           setParameters({"url", "user", "password"}, {target_.url, target_.user, target_.password}) &&
           done(java_->makeConnection());
  }

  bool query(const std::string& sql, int maxRows) override {
    columns_.clear();
    rowsLeft_ = maxRows == 0 ? -1 : maxRows;
    if (!setParameters({"query"}, {toJava(sql)}) || !done(java_->query())) return false;
    first_ = advance();
    return first_ == Step::end || (first_ == Step::row && readFirst());
  }

  Step next(Row& row) override {
    if (rowsLeft_ == 0) return Step::end;
    --rowsLeft_;
    if (const Step first = std::exchange(first_, Step::failed); first != Step::failed) {
      show(row);
      return first;
    }
    if (const Step step = advance(); step != Step::row) return step;
    if (!done(readRow())) return Step::failed;
    show(row);
    return Step::row;
  }

  bool tables(std::vector<std::string>& names) override {
    if (!done(java_->canDiscover() && java_->discoverTables(names))) return false;
    for (std::string& name : names) name = fromJava(name);
    return true;
  }

  bool describe(const std::string& table) override {
    std::string name = toJava(table);
    std::vector<std::string> names;
    std::vector<std::string> types;
    if (!done(java_->canDiscover() && java_->discoverTable(name, names, types))) return false;
    columns_.clear();
    for (std::size_t column = 0; column < std::min(names.size(), types.size()); ++column) {
      columns_.push_back({fromJava(names[column]), 0, fromJava(types[column])});
    }
    return true;
  }

  /// Its contract has no cancel(); a class may have one all the same.
  bool cancel() override { return cancelInJava(java_->connectionObject); }

  /// Nor has it a close(), which a class may have too.
  bool close() override {
    const bool closed = done(closeInJava(java_->env, java_->connectionObject));
    java_.reset();
    return closed;
  }

 private:
  static constexpr int kMaxColumns = 10000;

  using Value = std::optional<std::string>;

  /// Takes over a value that the library handed out, and frees it.
  static void take(char* text, Value& value) {
    value = text == nullptr ? Value() : fromJava(text);
    std::free(text);
  }

  void show(Row& row) const {
    row.clear();
    for (const Value& value : values_) row.push_back({value ? std::string_view(*value) : std::string_view(), !value});
  }

  bool done(bool result) {
    details_ = printed_.take();
    if (!result) error_ = readable({}, details_);
    return result;
  }

  bool setParameters(std::vector<std::string> names, std::vector<std::string> values) {
    return done(java_->setParams(names, values));
  }

  /// The end of the rows and a failure differ in what is printed only.
  Step advance() {
    if (java_->next()) return Step::row;
    details_ = printed_.take();
    if (details_.empty()) return Step::end;
    error_ = readable({}, details_);
    return Step::failed;
  }

  bool readRow() {
    int column = 0;
    for (Value& value : values_) {
      char* text = nullptr;
      if (!java_->getColumn(++column, text)) return false;
      take(text, value);
    }
    return true;
  }

  bool readFirst() {
    values_.clear();
    // One more than there may be, to see that there is none.
    for (int column = 1; column <= kMaxColumns + 1; ++column) {
      char* value = nullptr;
      if (!java_->getColumn(column, value)) return isBehindLast(column);
      take(value, values_.emplace_back());
      columns_.push_back({"column " + std::to_string(column), 0, ""});
    }
    error_ = "the Java connection class does not say where its columns end";
    return false;
  }

  /// Whether the column that failed is one too many. A value that cannot be read has a column before or after it.
  bool isBehindLast(int column) {
    done(false);
    char* value = nullptr;
    const bool hasNext = java_->getColumn(column + 1, value);
    std::free(value);
    printed_.take();
    return column > 1 && !hasNext;
  }

  JavaErrors printed_;
  Target target_;
  std::optional<JavaConnectionUtils> java_;
  Step first_ = Step::failed;  ///< of the row read ahead; failed when there is none
  std::vector<Value> values_;  ///< of the current row
  int rowsLeft_ = -1;
};

}  // namespace

std::unique_ptr<Session> makeBridgeSession() { return std::make_unique<BridgeSession>(); }

}  // namespace kivosql
