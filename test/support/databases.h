#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "jdbcWrapper.h"
#include "test_server.h"

namespace kivo::test {

/// A database under test, by its word in the golden tables.
struct Database {
  std::string word;
  std::string url;
  std::string user;
  std::string password;
};

/// All six, their servers started once for the binary.
inline const std::vector<Database>& databases() {
  static const TestServer postgres("postgres");
  static const TestServer mariadb("mariadb");
  const auto served = [](const char* scheme, const TestServer& server) {
    return std::string("jdbc:") + scheme + "://" + server.host + ":" + server.port + "/" + server.database;
  };
  static const std::vector<Database> all = {
      {"h2", "jdbc:h2:mem:test;DB_CLOSE_DELAY=-1", "", ""},
      {"hsqldb", "jdbc:hsqldb:mem:test", "SA", ""},
      {"derby", "jdbc:derby:memory:test;create=true", "", ""},
      {"sqlite", "jdbc:sqlite:file:test?mode=memory&cache=shared", "", ""},
      {"mariadb", served("mariadb", mariadb), mariadb.user, mariadb.password},
      {"postgresql", served("postgresql", postgres), postgres.user, postgres.password},
  };
  return all;
}

/// The text of a column of the current row; nothing for SQL NULL.
inline std::optional<std::string> cell(jdbcWrapper& wrapper, int column) {
  char* value = nullptr;
  EXPECT_TRUE(wrapper.getColumn(column, value)) << wrapper.errorMessage;
  std::optional<std::string> text;
  if (value != nullptr) text = value;
  std::free(value);
  return text;
}

/// The database of that word.
inline const Database& database(const std::string& word) {
  const auto& all = databases();
  return *std::find_if(all.begin(), all.end(), [&word](const Database& one) { return one.word == word; });
}

/// A wrapper that is connected while it lives.
struct ConnectedWrapper : jdbcWrapper {
  explicit ConnectedWrapper(const Database& database) {
    std::string url = database.url;
    EXPECT_TRUE(setUrl("", "", "", "", "", url) && getConnection(database.user, database.password) && getStatement())
        << errorMessage;
  }
  ~ConnectedWrapper() { EXPECT_TRUE(closeConnection()) << errorMessage; }
  ConnectedWrapper(const ConnectedWrapper&) = delete;
  ConnectedWrapper& operator=(const ConnectedWrapper&) = delete;

  bool query(const std::string& sql) { return executeQuery(sql, 0); }
};

}  // namespace kivo::test
