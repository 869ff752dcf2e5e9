#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "jdbcWrapper.h"
#include "stderr_capture.h"
#include "test_server.h"

namespace kivo::test {

/// What a host does on PostgreSQL with either class that speaks SQL, and what it is told.
class SqlClient {
 public:
  SqlClient() = default;
  virtual ~SqlClient() = default;
  SqlClient(const SqlClient&) = delete;
  SqlClient& operator=(const SqlClient&) = delete;

  virtual bool connect(const TestServer& server, const std::string& port) = 0;
  /// Its rows are read by portions.
  virtual bool query(std::string sql) = 0;
  virtual bool next() = 0;
  /// After next() said no: whether that was a failure and not the end.
  virtual bool failed() = 0;
  virtual char* column(int number) = 0;
  /// Whether one row was reported as changed.
  virtual bool update(std::string sql) = 0;
  /// Whether all of it was reported as done.
  virtual bool batch(std::vector<std::string> statements) = 0;
  virtual void close() = 0;
};

class JdbcClient : public SqlClient {
 public:
  bool connect(const TestServer& server, const std::string& port) override {
    std::string type = "postgresql";
    std::string host = server.host;
    std::string portText = port;
    std::string database = server.database;
    std::string user = server.user;
    std::string password = server.password;
    std::string none;
    std::string url;
    return utils.javaInit() && utils.setUrl(type, host, portText, database, none, url, none, none) &&
           utils.getConnection(user, password, none);
  }
  bool query(std::string sql) override { return utils.setAutoCommit(false) && utils.executeQuery(sql, 0); }
  bool next() override { return utils.next(); }
  bool failed() override { return utils.env->ExceptionCheck() == JNI_TRUE; }
  char* column(int number) override {
    char* value = nullptr;
    utils.getColumn(static_cast<unsigned long>(number), value);
    return value;
  }
  bool update(std::string sql) override {
    return utils.setAutoCommit(true) && utils.getStatement() && utils.executeUpdate(sql) == 1;
  }
  /// Counts come back although the commit behind them failed: only what is printed tells.
  bool batch(std::vector<std::string> statements) override {
    const StderrCapture printed;
    for (std::string& sql : statements) utils.addToBatch(sql);
    std::vector<int> counts(statements.size());
    const int written = utils.executeBatch(counts.data());
    return written == static_cast<int>(statements.size()) && printed.text().empty();
  }
  void close() override { utils.closeConnection(); }

 private:
  JdbcUtils utils;
};

class WrapperClient : public SqlClient {
 public:
  bool connect(const TestServer& server, const std::string& port) override {
    std::string url = "jdbc:postgresql://" + server.host + ':' + port + '/' + server.database;
    return wrapper.setUrl("", "", "", "", "", url) && wrapper.getConnection(server.user, server.password) &&
           wrapper.getStatement();
  }
  bool query(std::string sql) override { return wrapper.executeQuery(sql, 0); }
  bool next() override { return wrapper.next(); }
  bool failed() override { return wrapper.errorState != 0; }
  char* column(int number) override {
    char* value = nullptr;
    wrapper.getColumn(number, value);
    return value;
  }
  bool update(std::string sql) override { return wrapper.executeUpdate(sql) == 1; }
  bool batch(std::vector<std::string> statements) override {
    for (const std::string& sql : statements) wrapper.addToBatch(sql);
    int count = 0;
    return wrapper.executeBatch(count) && count == static_cast<int>(statements.size());
  }
  void close() override { wrapper.closeConnection(); }

 private:
  jdbcWrapper wrapper;
};

/// @param name of the class
inline std::unique_ptr<SqlClient> newClient(const std::string& name) {
  if (name == "JdbcUtils") return std::make_unique<JdbcClient>();
  return std::make_unique<WrapperClient>();
}

}  // namespace kivo::test
