#include "sql/patterns.h"

#include <regex.h>

namespace kivosql {

namespace {

/// Parts of a name, each with a dot after it. A letter may be one of any script.
constexpr const char* kTableName = "^((([^[:space:][:punct:][:cntrl:]]|[_$#])+|\"[^\"]+\"|`[^`]+`)[.])+$";

/// Before another word, "begin" begins a block of a procedural language.
constexpr const char* kTransaction =
    "^(commit|rollback|end|abort|start[[:space:]]+transaction)\\>"
    "|^begin([[:space:]]+(tran|transaction|work|isolation|read)\\>|$)";

/// A rollback to a savepoint stays in the transaction.
constexpr const char* kToSavepoint = "^rollback([[:space:]]+[a-z]+)?[[:space:]]+to\\>";

constexpr const char* kPassword =
    "(password|passwd|passphrase|pwd)=|[?&;]pass="
    "|^jdbc:(q|kx):([^:]*:){3}"   // kdb+: host:port:user:password
    "|^jdbc:oracle:[^@]*/[^@]*@"  // thin:user/password@host
    // //user:password@host, but not //host:port/path@ with several hosts or IPv6 addresses.
    "|//(\\[[^]]*]|[^:/?;@[]|:[0-9]*,)*:[0-9]*([^0-9,/?;@][^@]*)?@";

/// The C library matches, since the expressions of C++ overflow the stack on a long text.
bool matches(const std::string& text, const char* expression) {
  regex_t form;
  const bool found = regcomp(&form, expression, REG_EXTENDED | REG_ICASE | REG_NOSUB) == 0 &&
                     regexec(&form, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&form);
  return found;
}

}  // namespace

bool isTableName(const std::string& text) { return matches(text + '.', kTableName); }

bool controlsTransaction(const std::string& statement) {
  return matches(statement, kTransaction) && !matches(statement, kToSavepoint);
}

bool holdsPassword(const std::string& url) { return matches(url, kPassword); }

}  // namespace kivosql
