#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kivo::bench {

/// Where the rows come from.
struct Target {
  std::string name;  ///< "postgresql" or "h2"
  std::string url;   ///< for JDBC
  std::string host;  ///< these are empty for H2
  std::string port;
  std::string database;
  std::string user;
  std::string password;
  std::string classPath;
  std::string libjvm;
  std::string kivosql;  ///< the command-line program; empty to leave it out
  int heapMb = 3072;    ///< of the Java VM: H2 keeps its tables in it
};

/// What reading a query came to. Every reader takes each value as text and adds its length up.
struct Reading {
  long cells = 0;
  long bytes = 0;
  double firstRow = 0;  ///< seconds until the first row was there; 0 where it cannot be told

  void take(std::string_view text) {
    ++cells;
    bytes += static_cast<long>(text.size());
  }
  void takeNull() { ++cells; }
};

class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(Clock::now() - start).count(); }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start = Clock::now();
};

/// One way to read, connected. Throws std::runtime_error on any failure, as everything here does.
class Reader {
 public:
  virtual ~Reader() = default;
  Reader() = default;
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  virtual Reading read(const std::string& sql) = 0;
};

/// A way to read or to write: the word that names it, what it is, and on which databases it works.
template <class Connected>
struct Way {
  const char* name;
  const char* about;
  bool onH2;
  long mostRows;  ///< where it is too slow for more; 0 is no limit
  std::function<std::unique_ptr<Connected>(const Target&)> connect;
  bool ownProcess = false;
  bool shortValues = false;  ///< it reads no more of a value than the driver tells of the column
};
using ReaderWay = Way<Reader>;

/// One way to write rows of (int, varchar, double) into a table, as one transaction.
class Writer {
 public:
  virtual ~Writer() = default;
  Writer() = default;
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  virtual void write(const std::string& table, int rows) = 0;
};
using WriterWay = Way<Writer>;

std::vector<ReaderWay> nativeReaders();
std::vector<ReaderWay> javaReaders();
std::vector<ReaderWay> processReaders(const Target& target);
std::vector<WriterWay> nativeWriters();
std::vector<WriterWay> javaWriters();

/// Ways to load a CSV file, each a program of its own.
std::vector<WriterWay> processLoaders(const Target& target, const std::string& csv);

/// The second and the third value of the nth written row, as Java writes them too.
std::string note(int row);
std::string half(int row);

/// Starts the process's Java VM once. @return the seconds that it took, now or then.
double startVm(const Target& target);

/// Before a thread ends that has used Java.
void detachThread();

/// Runs a statement on a JDBC connection of the harness's own.
void execute(const Target& target, const std::string& sql);
long countRows(const Target& target, const std::string& table);

/// Throws std::runtime_error with the text unless @p done.
void require(bool done, const std::string& what);

}  // namespace kivo::bench
