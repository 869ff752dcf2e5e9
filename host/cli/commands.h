#pragma once

#include <ext/stdio_filebuf.h>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "session/session_wrapper.h"
#include "terminal/formats.h"

namespace CLI {
class App;
}

namespace kivosql {

/// The command line.
struct Options {
  Target target;
  std::string passwordFile;
  const Carrier* carrier = &kCarriers[0];

  const Format* format = &kFormats[0];
  std::optional<std::string> null;
  bool crlf = false;
  std::size_t maxCells = 60;
  int maxRows = 0;
  bool timing = false;
  bool verbose = false;

  std::string jvm;
  std::vector<std::string> classPath;
  int heapMegabytes = 256;

  bool keepGoing = false;
  bool singleTransaction = false;
  bool noHeader = false;
  std::size_t batchRows = 10000;

  const struct Command* command = nullptr;
  std::vector<std::string> arguments;  ///< the command's own, as many as it has
};

/// What a command works with.
struct Context {
  const Options& options;
  Session& session;
  Output& out;
  unsigned long long results = 0;  ///< written so far
};

struct Argument {
  const char* name = nullptr;  ///< null for none
  const char* about = nullptr;
};

struct Command {
  const char* name;
  const char* about;
  Argument arguments[2];
  bool writes;                ///< needs a session that writes
  ExitCode (*run)(Context&);  ///< with an open session; null for the one command that makes its own
};

ExitCode runQuery(Context& context);
ExitCode runUpdate(Context& context);
ExitCode runScript(Context& context);
ExitCode runTables(Context& context);
ExitCode runDescribe(Context& context);
ExitCode runLoad(Context& context);

constexpr Argument kSql = {"SQL", "The statement, or - for standard input"};
constexpr Argument kScript = {"FILE", "A file of statements that end with ;, or - for standard input"};
constexpr Argument kCsv = {"FILE", "A CSV file whose first line names columns of the table, or - for standard input"};
constexpr Argument kTable = {"TABLE", "The name of an existing table, as in SQL"};

constexpr Command kCommands[] = {
    {"query", "Run a query and print its rows", {kSql}, false, runQuery},
    {"update", "Run a statement that changes data or tables", {kSql}, true, runUpdate},
    {"run", "Run the statements of a file", {kScript}, true, runScript},
    {"tables", "List the tables", {}, false, runTables},
    {"describe", "List a table's columns", {kTable}, false, runDescribe},
    {"load", "Add a CSV file's rows to a table", {kCsv, kTable}, true, runLoad},
    {"doctor", "Check the set-up, and say how to fix what does not work", {}, false, nullptr},
};

/// Describes the command line: the table that --help, the man page and the completions are made of.
void addCommandLine(CLI::App& app, Options& options);

/// Throws Failure on wrong use. @return false when help was shown and nothing is to be done
bool parse(int argc, char** argv, Options& options);

/// Opens the file, or standard input for "-". Whoever reads from it gets an exception when that fails.
__gnu_cxx::stdio_filebuf<char> openInput(const std::string& path);

/// Reports a failure, which may be the effect of an interrupt. @param place comes first. @return the code to end with
ExitCode report(Context& context, const Failure& failure, const std::string& place);

void checkInterrupt();

/// Commits the transaction of --single-transaction. @param path of the file that was run or loaded
void commit(WrapperSession& session, const std::string& path);

/// Rolls it back. @return why some of it may be stored all the same; empty if none is.
std::string rollBack(WrapperSession& session);

/// A remark between rows for a person, else on standard error.
void remark(Context& context, const std::string& text);

/// Checks everything, with a session of its own.
ExitCode runDoctor(const Options& options, Output& out);

}  // namespace kivosql
