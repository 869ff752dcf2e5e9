#pragma once

#include <string>

#include "session/session.h"

namespace kivosql {

/// A part of a URL, and the option that gives it.
struct Part {
  const char* name;
  std::string Target::*field;
  const char* about;
};

constexpr Part kParts[] = {
    {"--host", &Target::host, "Its host"},
    {"--port", &Target::port, "Its port; without one, the driver's default"},
    {"--instance", &Target::instance, "Its instance, or database where the kind has no instances"},
    {"--database", &Target::database, "Its database, or database file"},
};

/// The words for --type.
std::string databaseWords();

/// Puts each given part where the library expects it for the word of the type.
/// @return what is wrong with the word or a part; empty when nothing is.
std::string fitParts(Target& target, const Carrier& carrier);

}  // namespace kivosql
