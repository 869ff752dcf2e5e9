#include "sql/patterns.h"

#include <regex.h>

namespace kivosql {

namespace {

/// Blanks and comments.
constexpr std::string_view kGap = "([[:space:]]|--[^\n]*\n|/[*]([^*]|[*]+[^*/])*[*]+/)+";

/// Compiles an expression, in which a blank stands for a gap. The C library matches it, since the expressions of C++
/// overflow the stack on a long text.
regex_t compiled(std::string expression) {
  for (std::size_t at = 0; (at = expression.find(' ', at)) != std::string::npos; at += kGap.size()) {
    expression.replace(at, 1, kGap);
  }
  regex_t form;
  regcomp(&form, expression.c_str(), REG_EXTENDED | REG_ICASE | REG_NOSUB);
  return form;
}

bool matches(const std::string& text, const regex_t& form) { return regexec(&form, text.c_str(), 0, nullptr, 0) == 0; }

}  // namespace

bool isTableName(const std::string& text) {
  // Parts, each with a dot after it. A letter may be one of any script.
  static const regex_t form = compiled("^((([^[:space:][:punct:][:cntrl:]]|[_$#])+|\"[^\"]+\"|`[^`]+`)[.])+$");
  return matches(text + '.', form);
}

bool controlsTransaction(const std::string& statement) {
  // Before another word, "begin" begins a block of a procedural language.
  static const regex_t control = compiled(
      "^(commit|rollback|end|abort|start transaction)\\>|^begin( (tran|transaction|work|isolation|read)\\>|$)");
  // A rollback to a savepoint stays in the transaction.
  static const regex_t toSavepoint = compiled("^rollback( [a-z]+)? to\\>");
  return matches(statement, control) && !matches(statement, toSavepoint);
}

bool holdsPassword(const std::string& url) {
  static const regex_t form = compiled(
      "(password|passwd|passphrase|pwd)=|[?&;]pass="
      "|^jdbc:(q|kx):([^:]*:){3}"   // kdb+: host:port:user:password
      "|^jdbc:oracle:[^@]*/[^@]*@"  // thin:user/password@host
      // //user:password@host, but not //host:port/path@ with several hosts or IPv6 addresses.
      "|//(\\[[^]]*]|[^:/?;@[]|:[0-9]*,)*:[0-9]*([^0-9,/?;@][^@]*)?@");
  return matches(url, form);
}

}  // namespace kivosql
