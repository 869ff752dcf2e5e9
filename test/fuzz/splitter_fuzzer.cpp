#include <algorithm>
#include <string>
#include <string_view>

#include "fuzzing.h"
#include "sql/statement_splitter.h"

using kivo::fuzz::require;
using kivosql::Dialect;
using kivosql::splitStatements;
using kivosql::Statement;

namespace {

/// A statement cut out of a script is one statement by itself.
void checkAlone(const Statement& statement, Dialect dialect) {
  const std::string script = std::string(statement.text) + ';';
  const std::vector<Statement> alone = splitStatements(script, dialect);
  require(!alone.empty(), "a statement stays one");
  require(!statement.complete || alone[0].text == statement.text, "a complete statement keeps its text");
  require(alone[0].complete == statement.complete, "a statement stays complete");
  require(!statement.complete || alone.size() == 1, "a statement does not become two");
}

void check(std::string_view script, Dialect dialect) {
  const char* endOfLast = script.data();
  bool complete = true;
  for (const Statement& statement : splitStatements(script, dialect)) {
    const char* start = statement.text.data();
    require(complete, "only the last statement is unfinished");
    require(start >= endOfLast && start + statement.text.size() <= script.data() + script.size(),
            "statements in order");
    require(!statement.text.empty(), "a statement has text");
    require(static_cast<std::ptrdiff_t>(statement.line) == 1 + std::count(script.data(), start, '\n'), "its line");
    endOfLast = start + statement.text.size();
    complete = statement.complete;
    checkAlone(statement, dialect);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string script = kivo::fuzz::text(data, size);
  for (const Dialect dialect : {Dialect::standard, Dialect::flat, Dialect::backslash}) check(script, dialect);
  return 0;
}
