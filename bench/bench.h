#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kivo::bench {

/// How to reach the database: the program's arguments, and the password.
using Target = std::map<std::string, std::string>;

/// A table to read as a whole, or to append to.
struct Work {
  std::string table;
  long rows = 0;  ///< how many to append

  std::string query() const { return "select * from " + table; }
};

/// What was read. Every reader takes each value as text and adds up the lengths.
struct Reading {
  long cells = 0;
  long bytes = 0;
  double firstRow = 0;  ///< seconds until the first row; 0 if that is unknown

  void take(std::string_view text) {
    ++cells;
    bytes += static_cast<long>(text.size());
  }
  void takeNull() { ++cells; }
};

/// A connected client: reads the whole table, or appends rows of (int, varchar, double) in one transaction. Like
/// everything here, it throws std::runtime_error on failure.
using Client = std::function<Reading(const Work&)>;

/// A way to read or to write.
struct Way {
  std::string kind;  ///< "reader" or "writer"
  std::string name;
  std::string about;
  std::function<Client(const Target&)> connect;
};

/// Without Java, on PostgreSQL.
std::vector<Way> nativeWays();

/// Over JDBC, without this library and with it.
std::vector<Way> javaPeers();
std::vector<Way> libraryWays();

/// Starts the Java VM, unless it runs already.
void startVm(const Target& target);

/// Runs a statement over a JDBC connection of its own.
void execute(const Target& target, const std::string& sql);

/// Seconds on a clock that never goes back.
double now();

/// Throws std::runtime_error with the text unless @p done.
void require(bool done, const std::string& what);

}  // namespace kivo::bench
