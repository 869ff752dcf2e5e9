#pragma once

#include <memory>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JdbcUtils.h"
#include "jdbcWrapper.h"
#include "stderr_capture.h"

namespace kivo::test {

/// What a host does with each of the three classes, and the errors that it gets. The bridge only reads.
class SqlClient {
 public:
  SqlClient() = default;
  virtual ~SqlClient() = default;
  SqlClient(const SqlClient&) = delete;
  SqlClient& operator=(const SqlClient&) = delete;

  virtual bool connect(std::string url, std::string user, std::string password) = 0;
  /// Its rows come by portions.
  virtual bool query(std::string sql) = 0;
  virtual bool next() = 0;
  /// After next() said no: whether that was a failure and not the end. Of the bridge only standard error tells.
  virtual bool failed() { return false; }
  virtual bool getColumn(int number, char*& value) = 0;
  /// @return text that the caller frees, or null.
  char* column(int number) {
    char* value = nullptr;
    getColumn(number, value);
    return value;
  }
  /// Whether one row was reported as changed.
  virtual bool update(std::string) { return false; }
  /// Whether all of it was reported as done.
  virtual bool batch(std::vector<std::string>) { return false; }
  /// What the object says of the last failure.
  virtual std::string error() { return {}; }
  virtual void close() {}
};

class JdbcClient : public SqlClient {
 public:
  bool connect(std::string url, std::string user, std::string password) override {
    std::string none;
    return utils.javaInit() && utils.setUrl(none, none, none, none, none, url, none, text) &&
           utils.getConnection(user, password, text);
  }
  bool query(std::string sql) override { return utils.setAutoCommit(false) && utils.executeQuery(sql, 0); }
  bool next() override { return utils.next(); }
  bool failed() override { return utils.env->ExceptionCheck() == JNI_TRUE; }
  bool getColumn(int number, char*& value) override {
    return utils.getColumn(static_cast<unsigned long>(number), value);
  }
  bool update(std::string sql) override {
    return utils.setAutoCommit(true) && utils.getStatement() && utils.executeUpdate(sql) == 1;
  }
  /// Counts come back although the commit after them failed: only standard error shows it.
  bool batch(std::vector<std::string> statements) override {
    const StderrCapture printed;
    for (std::string& sql : statements) utils.addToBatch(sql);
    std::vector<int> counts(statements.size());
    const int written = utils.executeBatch(counts.data());
    return written == static_cast<int>(statements.size()) && printed.text().empty();
  }
  std::string error() override { return text; }
  void close() override { utils.closeConnection(); }

 private:
  JdbcUtils utils;
  std::string text;
};

class WrapperClient : public SqlClient {
 public:
  bool connect(std::string url, std::string user, std::string password) override {
    return wrapper.setUrl("", "", "", "", "", url) && wrapper.getConnection(user, password) && wrapper.getStatement();
  }
  bool query(std::string sql) override { return wrapper.executeQuery(sql, 0); }
  bool next() override { return wrapper.next(); }
  bool failed() override { return wrapper.errorState != 0; }
  bool getColumn(int number, char*& value) override { return wrapper.getColumn(number, value); }
  bool update(std::string sql) override { return wrapper.executeUpdate(sql) == 1; }
  bool batch(std::vector<std::string> statements) override {
    for (const std::string& sql : statements) wrapper.addToBatch(sql);
    int count = 0;
    return wrapper.executeBatch(count) && count == static_cast<int>(statements.size());
  }
  std::string error() override { return wrapper.errorMessage; }
  void close() override { wrapper.closeConnection(); }

  jdbcWrapper wrapper;
};

/// The bridge over the companion's own connection class.
class BridgeClient : public SqlClient {
 public:
  bool connect(std::string url, std::string user, std::string password) override {
    std::vector<std::string> names = {"url", "user", "password"};
    std::vector<std::string> values = {url, user, password};
    return bridge.javaInit() && bridge.setParams(names, values) && bridge.makeConnection();
  }
  bool query(std::string sql) override {
    std::vector<std::string> name = {"query"};
    std::vector<std::string> value = {sql};
    return bridge.setParams(name, value) && bridge.query();
  }
  bool next() override { return bridge.next(); }
  bool getColumn(int number, char*& value) override { return bridge.getColumn(number, value); }

 private:
  std::string className = "com/ulvanejdbc/JdbcConnection";
  JavaConnectionUtils bridge{className};
};

/// @param name of the class
inline std::unique_ptr<SqlClient> newClient(const std::string& name) {
  if (name == "JdbcUtils") return std::make_unique<JdbcClient>();
  if (name == "jdbcWrapper") return std::make_unique<WrapperClient>();
  return std::make_unique<BridgeClient>();
}

}  // namespace kivo::test
