#pragma once

#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "session/session.h"
#include "terminal/formats.h"

namespace CLI {
class App;
}

namespace kivosql {

struct Command;

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

  const Command* command = nullptr;
  std::vector<std::string> arguments;  ///< the command's own, as many as it has
};

/// Describes the command line: the table that --help, the man page and the completions are made of.
void addCommandLine(CLI::App& app, Options& options);

/// Throws Failure on wrong use. @return false when help was shown and nothing is to be done
bool parse(int argc, char** argv, Options& options);

}  // namespace kivosql
