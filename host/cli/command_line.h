#pragma once

#include <CLI/CLI.hpp>

#include "cli/args.h"

namespace kivosql {

/// Describes the command line: the table that --help, the man page and the completions are made of.
void addCommandLine(CLI::App& app, Options& options);

}  // namespace kivosql
