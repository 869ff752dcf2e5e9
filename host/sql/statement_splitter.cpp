#include "sql/statement_splitter.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace kivosql {

namespace {

enum class TokenKind { blank, text, unfinished };

struct Token {
  TokenKind kind;
  std::size_t end;
};

constexpr std::size_t kNone = std::string_view::npos;

bool startsAt(std::string_view text, std::size_t at, std::string_view start) {
  return text.substr(at, start.size()) == start;
}

bool isBlank(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

bool isDigit(char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; }

/// Up to and including @p mark, which is searched for from @p from.
Token through(std::string_view sql, std::string_view mark, std::size_t from, TokenKind kind) {
  const std::size_t at = sql.find(mark, from);
  if (at == kNone) return {TokenKind::unfinished, sql.size()};
  return {kind, at + mark.size()};
}

Token nestedComment(std::string_view sql, std::size_t at) {
  int depth = 0;
  do {
    at = sql.find_first_of("/*", at);
    const std::string_view mark = sql.substr(std::min(at, sql.size()), 2);
    if (mark.size() < 2) return {TokenKind::unfinished, sql.size()};
    if (mark == "/*") ++depth;
    if (mark == "*/") --depth;
    at += mark == "/*" || mark == "*/" ? 2 : 1;
  } while (depth > 0);
  return {TokenKind::blank, at};
}

/// A doubled quote reads as two quoted texts in a row, which splits the script at the same places.
Token quoted(std::string_view sql, std::size_t at, bool backslashes) {
  const char quote = sql[at];
  const char stops[] = {quote, backslashes ? '\\' : quote, '\0'};
  for (at = sql.find_first_of(stops, at + 1); at < sql.size(); at = sql.find_first_of(stops, at + 2)) {
    if (sql[at] == quote) return {TokenKind::text, at + 1};
  }
  return {TokenKind::unfinished, sql.size()};
}

/// "$$ ... $$" or "$tag$ ... $tag$". Any other dollar is a symbol.
Token dollarQuoted(std::string_view sql, std::size_t at) {
  std::size_t mark = at + 1;
  while (mark < sql.size() && isWordByte(sql[mark]) && sql[mark] != '$') ++mark;
  if (mark == sql.size() || sql[mark] != '$' || isDigit(sql[at + 1])) return {TokenKind::text, at + 1};
  return through(sql, sql.substr(at, mark + 1 - at), mark + 1, TokenKind::text);
}

bool beginsLineComment(std::string_view sql, std::size_t at, Dialect dialect) {
  if (dialect != Dialect::backslash) return startsAt(sql, at, "--");
  return sql[at] == '#' || (startsAt(sql, at, "--") && (at + 2 == sql.size() || isBlank(sql[at + 2])));
}

Token tokenAt(std::string_view sql, std::size_t at, Dialect dialect) {
  const bool backslashes = dialect == Dialect::backslash;
  const char byte = sql[at];
  if (isBlank(byte)) return {TokenKind::blank, at + 1};
  // A byte order mark, which stands within a script where two files were joined.
  if (startsAt(sql, at, "\xEF\xBB\xBF")) return {TokenKind::blank, at + 3};
  if (beginsLineComment(sql, at, dialect)) return {TokenKind::blank, std::min(sql.find('\n', at), sql.size() - 1) + 1};
  // After these marks comes code that some servers alone run: MySQL's and MariaDB's.
  const bool isCode = startsAt(sql, at, "/*!") || startsAt(sql, at, "/*M!");
  if (backslashes && isCode) return {TokenKind::text, sql.find('!', at) + 1};
  if (startsAt(sql, at, "/*")) {
    return dialect == Dialect::standard ? nestedComment(sql, at) : through(sql, "*/", at + 2, TokenKind::blank);
  }
  if (byte == '\'' || byte == '"' || byte == '`') return quoted(sql, at, backslashes && byte != '`');
  if (byte == '$' && !backslashes) return dollarQuoted(sql, at);
  if (!isWordByte(byte)) return {TokenKind::text, at + 1};
  const std::size_t begin = at;
  while (at < sql.size() && isWordByte(sql[at])) ++at;
  // PostgreSQL's E'...' knows backslashes whatever the settings.
  const bool escapes = at == begin + 1 && (byte == 'e' || byte == 'E') && startsAt(sql, at, "'");
  if (escapes) return quoted(sql, at, true);
  return {TokenKind::text, at};
}

}  // namespace

bool isWordByte(char byte) {
  const auto unsignedByte = static_cast<unsigned char>(byte);
  return std::isalnum(unsignedByte) != 0 || byte == '_' || byte == '$' || unsignedByte >= 0x80;
}

Dialect dialectOf(std::string_view url) {
  constexpr std::size_t kWord = 5;  // after "jdbc:"
  const std::string_view word = url.size() < kWord ? "" : url.substr(kWord, url.find(':', kWord) - kWord);
  if (word == "mariadb" || word == "mysql") return Dialect::backslash;
  if (word == "oracle" || word == "hsqldb" || word == "sqlite") return Dialect::flat;
  return Dialect::standard;
}

std::vector<Statement> splitStatements(std::string_view script, Dialect dialect) {
  std::vector<Statement> statements;
  Statement current;
  std::size_t start = 0;
  std::size_t line = 1;
  for (std::size_t at = 0; at < script.size();) {
    const Token token = tokenAt(script, at, dialect);
    const bool isSemicolon = script[at] == ';';
    if (!isSemicolon && token.kind != TokenKind::blank) {
      if (current.text.empty()) {
        start = at;
        current.line = line;
      }
      current.text = script.substr(start, token.end - start);
      current.complete = token.kind != TokenKind::unfinished;
    }
    line += static_cast<std::size_t>(std::count(script.begin() + at, script.begin() + token.end, '\n'));
    at = token.end;
    if ((isSemicolon || at == script.size()) && !current.text.empty()) statements.push_back(std::exchange(current, {}));
  }
  return statements;
}

}  // namespace kivosql
