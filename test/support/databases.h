#pragma once

#include <string>
#include <vector>

#include "test_server.h"

namespace kivo::test {

/// A database under test, by its word in the golden tables.
struct Database {
  std::string word;
  std::string url;
  std::string user;
  std::string password;
  std::string driver;  ///< the driver's class, as JNI names it
};

/// All six, their servers started once for the binary.
inline const std::vector<Database>& databases() {
  static const TestServer postgres("postgres");
  static const TestServer mariadb("mariadb");
  const auto served = [](const char* scheme, const TestServer& server) {
    return std::string("jdbc:") + scheme + "://" + server.host + ":" + server.port + "/" + server.database;
  };
  static const std::vector<Database> all = {
      {"h2", "jdbc:h2:mem:test;DB_CLOSE_DELAY=-1", "", "", "org/h2/Driver"},
      {"hsqldb", "jdbc:hsqldb:mem:test", "SA", "", "org/hsqldb/jdbc/JDBCDriver"},
      {"derby", "jdbc:derby:memory:test;create=true", "", "", "org/apache/derby/jdbc/EmbeddedDriver"},
      {"sqlite", "jdbc:sqlite:file:test?mode=memory&cache=shared", "", "", "org/sqlite/JDBC"},
      {"mariadb", served("mariadb", mariadb), mariadb.user, mariadb.password, "org/mariadb/jdbc/Driver"},
      {"postgresql", served("postgresql", postgres), postgres.user, postgres.password, "org/postgresql/Driver"},
  };
  return all;
}

}  // namespace kivo::test
