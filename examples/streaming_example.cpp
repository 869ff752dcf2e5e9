// A result larger than the Java heap, read row by row in constant memory.
//
//   streaming_example [URL [ROWS]]          default: two million rows from an H2 database in memory
//
// jdbcWrapper streams on every driver by itself. With JdbcUtils on PostgreSQL, call setAutoCommit(false) before the
// query: that driver fetches by portions only inside a transaction.

#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

#include "example_host.h"
#include "jdbcWrapper.h"

namespace {

void require(const jdbcWrapper& database, bool done) { example::require(done, database.errorMessage); }

/// Reads every value and frees it at once. @return the number of rows.
long readAll(jdbcWrapper& database) {
  const int columns = database.getNumColumns();
  long rows = 0;
  for (; database.next(); ++rows) {
    for (int column = 1; column <= columns; ++column) {
      char* value = nullptr;
      require(database, database.getColumn(column, value));
      std::free(value);
    }
  }
  require(database, database.errorState == 0);
  return rows;
}

long peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

}  // namespace

int main(int argc, char** argv) {
  std::string url = argc > 1 ? argv[1] : "jdbc:h2:mem:example";
  const std::string rows = argc > 2 ? argv[2] : "2000000";
  const std::string source = url.rfind("jdbc:postgresql:", 0) == 0 ? "generate_series(1, " + rows + ") as t(x)"
                                                                   : "system_range(1, " + rows + ")";
  example::startJavaVm(64);
  jdbcWrapper database;
  require(database, database.setUrl("", "", "", "", "", url));
  require(database, database.getConnection("", ""));
  require(database, database.getStatement());

  const auto start = std::chrono::steady_clock::now();
  require(database, database.executeQuery("select x, cast(x as varchar(20)) || ' of many rows' from " + source, 0));
  const long read = readAll(database);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::cout << read << " rows in " << seconds.count() << " s, peak resident memory " << peakMegabytes()
            << " MB, Java heap at most 64 MB\n";
  require(database, database.closeConnection());
  return read == std::stol(rows) ? 0 : 1;
}
