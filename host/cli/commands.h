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

struct Command {
  const char* name;
  const char* about;
  const char* arguments[2];   ///< their names; null for none
  bool writes;                ///< needs a session that can
  ExitCode (*run)(Context&);  ///< with an open session; null for the one command that makes its own
};

ExitCode runQuery(Context& context);
ExitCode runUpdate(Context& context);
ExitCode runScript(Context& context);
ExitCode runTables(Context& context);
ExitCode runDescribe(Context& context);
ExitCode runLoad(Context& context);

constexpr Command kCommands[] = {
    {"query", "Run a query and print its rows", {"SQL", nullptr}, false, runQuery},
    {"update", "Run a statement that changes data or tables", {"SQL", nullptr}, true, runUpdate},
    {"run", "Run the statements of a file, or of standard input for -", {"FILE", nullptr}, false, runScript},
    {"tables", "List the tables", {nullptr, nullptr}, false, runTables},
    {"describe", "List a table's columns", {"TABLE", nullptr}, false, runDescribe},
    {"load", "Add a CSV file's rows to a table", {"FILE", "TABLE"}, true, runLoad},
    {"doctor", "Say what works and what does not, with the cure", {nullptr, nullptr}, false, nullptr},
};

/// Opens a file, or standard input for "-". @return null with the fault reported.
std::istream* openInput(const std::string& path, std::ifstream& file);

/// Whether standard input ended by an error, which its stream does not tell from the end. A file's stream throws.
bool standardInputFailed();

/// Reports that a statement failed. @param what comes first; may be empty.
ExitCode failed(const Context& context, const std::string& what);

/// A remark between rows for a person, else on standard error.
void remark(Context& context, const std::string& text);

/// How fast it went, when --timing asks.
void tellTiming(const Context& context, unsigned long long rows, double elapsed);

/// A table's name, qualified or quoted, and nothing else: it stands in SQL as it is.
bool isTableName(const std::string& text);

/// Checks everything, with a session of its own.
ExitCode runDoctor(const Options& options, Output& out);

}  // namespace kivosql
