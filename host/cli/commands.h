#pragma once

#include <fstream>
#include <istream>
#include <string>

#include "cli/args.h"
#include "session/session.h"
#include "terminal/output.h"

namespace kivosql {

/// What a command works with.
struct Context {
  const Options& options;
  Session& session;
  Output& out;
  unsigned long long results = 0;  ///< written so far
};

struct Argument {
  const char* name;
  const char* about;
};

struct Command {
  const char* name;
  const char* about;
  Argument arguments[2];      ///< their names are null for none
  bool writes;                ///< needs a WritingSession
  ExitCode (*run)(Context&);  ///< with an open session; null for the one command that makes its own
};

ExitCode runQuery(Context& context);
ExitCode runUpdate(Context& context);
ExitCode runScript(Context& context);
ExitCode runTables(Context& context);
ExitCode runDescribe(Context& context);
ExitCode runLoad(Context& context);

constexpr Argument kSql = {"SQL", "The statement, or - for standard input"};
constexpr Argument kNoArgument = {nullptr, nullptr};

constexpr Command kCommands[] = {
    {"query", "Run a query and print its rows", {kSql, kNoArgument}, false, runQuery},
    {"update", "Run a statement that changes data or tables", {kSql, kNoArgument}, true, runUpdate},
    {"run",
     "Run the statements of a file",
     {{"FILE", "A file of statements that end with ;, or - for standard input"}, kNoArgument},
     true,
     runScript},
    {"tables", "List the tables", {kNoArgument, kNoArgument}, false, runTables},
    {"describe", "List a table's columns", {{"TABLE", "Its name, as in SQL"}, kNoArgument}, false, runDescribe},
    {"load",
     "Add a CSV file's rows to a table",
     {{"FILE", "A CSV file whose first line names columns of the table, or - for standard input"},
      {"TABLE", "The name of an existing table, as in SQL"}},
     true,
     runLoad},
    {"doctor", "Check the set-up, and say how to fix what does not work", {kNoArgument, kNoArgument}, false, nullptr},
};

/// Opens a file, or standard input for "-". @return null with the fault reported.
std::istream* openInput(const std::string& path, std::ifstream& file);

/// Whether standard input ended by an error, which its stream does not tell from the end. A file's stream throws.
bool standardInputFailed();

/// Reports that a statement failed. @param what comes first; may be empty.
ExitCode failed(const Context& context, const std::string& what);

/// Commits the transaction of --single-transaction, or rolls it back when @p code is a failure or becomes one here.
/// @param place comes first in what is reported. @return why some of it may be stored after a failure; else empty
std::string endTransaction(Context& context, ExitCode& code, const std::string& place);

/// A remark between rows for a person, else on standard error.
void remark(Context& context, const std::string& text);

/// How fast it went, when --timing asks.
void tellTiming(const Context& context, unsigned long long rows, double elapsed);

/// A table's name, qualified or quoted, and nothing else: it stands in SQL as it is.
bool isTableName(const std::string& text);

/// Checks everything, with a session of its own.
ExitCode runDoctor(const Options& options, Output& out);

}  // namespace kivosql
