#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace kivosql {

/// What the parser found wrong, with the argument's name and the nearest right one.
std::string usageFault(const CLI::App& app, const CLI::ParseError& error);

}  // namespace kivosql
