#include "cli/connection_parts.h"

#include <algorithm>
#include <cstring>

namespace kivosql {

namespace {

struct DatabaseWord {
  const char* name;
  const char* parts;           ///< those that its URL has a place for
  std::string Target::*named;  ///< where the database's name goes if the kind has no instances, else null
  bool isVendor;               ///< known to JdbcUtils too
};

constexpr DatabaseWord kWords[] = {
    {"postgresql", "--host --port --instance", &Target::instance, true},
    {"mariadb", "--host --port --database", &Target::database, false},
    {"sqlite", "--database", &Target::database, false},
    {"h2", "--host --port --database", &Target::database, false},
    {"derby", "--host --port --database", &Target::database, false},
    {"hsqldb", "--host --port --database", &Target::database, false},
    {"oracle", "--host --port --instance", nullptr, true},
    {"sqlserver", "--host --port --instance --database", nullptr, false},
    {"mssql", "--host --port --instance --database", nullptr, true},
    {"db2", "--host --port --instance", &Target::instance, true},
    {"netezza", "--host --port --instance", &Target::instance, true},
    {"teradata", "--host --port --database", &Target::database, true},
    {"velmar", "--host --port --instance", &Target::instance, true},
    {"kdb", "--host --port", nullptr, true},
};

std::string listed(bool vendorsOnly) {
  std::string text;
  for (const DatabaseWord& word : kWords) {
    if (word.isVendor || !vendorsOnly) text += (text.empty() ? "" : ", ") + std::string(word.name);
  }
  return text;
}

/// Without instances, a name given as either is the database's. @return false when two different ones are given.
bool uniteNames(Target& target, std::string Target::*named) {
  std::string& name = target.*named;
  std::string& other = named == &Target::instance ? target.database : target.instance;
  if (!name.empty() && !other.empty() && name != other) return false;
  name += name.empty() ? other : "";
  other.clear();
  return true;
}

}  // namespace

std::string databaseWords() { return listed(false); }

std::string fitParts(Target& target, const Carrier& carrier) {
  const std::string type = "--type " + target.type;
  const auto* const word = std::find_if(std::begin(kWords), std::end(kWords), [&](const DatabaseWord& row) {
    return target.type == row.name && (row.isVendor || !carrier.vendorsOnly);
  });
  if (word == std::end(kWords)) {
    return type + " is not known to --through " + carrier.name + ", which takes " + listed(carrier.vendorsOnly);
  }
  if (word->named != nullptr && !uniteNames(target, word->named)) {
    return type + " has no instances: --instance and --database mean the same, but their values differ";
  }
  for (const Part& part : kParts) {
    const bool fits = (target.*part.field).empty() || std::strstr(word->parts, part.name) != nullptr;
    if (!fits) return type + " has no place for " + part.name;
  }
  return {};
}

}  // namespace kivosql
