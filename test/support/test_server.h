#pragma once

#include <string>

namespace kivo::test {

/// A throw-away database server of a test binary, in a temporary folder; ended with the object. Throws
/// std::runtime_error with the reason when it does not start: a missing server is a failure, not a skip.
class TestServer {
 public:
  /// @param kind "postgres" or "mariadb".
  explicit TestServer(const std::string& kind);
  ~TestServer();
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  /// PostgreSQL: runs a statement beside the connections under test. @return what it printed, without the last newline.
  std::string sql(const std::string& statement) const;

  std::string host;
  std::string port;
  std::string database;
  std::string user;
  std::string password;

 private:
  std::string kind_;
  std::string folder_;
};

}  // namespace kivo::test
