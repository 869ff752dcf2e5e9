#pragma once

#include <string>

namespace kivosql {

/// The first line of @p file, if one is named; else KIVO_PASSWORD, which is wiped from the environment; else, for a
/// user and on a terminal, what is typed at a prompt; else nothing. Throws Failure.
std::string findPassword(const std::string& user, const std::string& file);

}  // namespace kivosql
