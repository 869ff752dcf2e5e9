#include "sql/statement_splitter.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace kivosql {

namespace {

enum class TokenKind { blank, quoted, word, symbol, unfinished };

struct Token {
  TokenKind kind;
  std::size_t end;
};

constexpr std::size_t kNone = std::string_view::npos;

bool startsAt(std::string_view text, std::size_t at, std::string_view start) {
  return text.substr(at, start.size()) == start;
}

bool isBlank(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

/// Letters of any script count: their bytes are beyond ASCII.
bool isWordByte(char byte) {
  const auto unsignedByte = static_cast<unsigned char>(byte);
  return std::isalnum(unsignedByte) != 0 || byte == '_' || byte == '$' || unsignedByte >= 0x80;
}

std::size_t endOfWord(std::string_view sql, std::size_t at) {
  while (at < sql.size() && isWordByte(sql[at])) ++at;
  return at;
}

Token lineComment(std::string_view sql, std::size_t at) {
  const std::size_t end = sql.find('\n', at);
  return {TokenKind::blank, end == kNone ? sql.size() : end + 1};
}

/// Block comments nest in the standard's SQL.
Token blockComment(std::string_view sql, std::size_t at, bool nests) {
  int depth = 0;
  for (; at < sql.size(); ++at) {
    if (startsAt(sql, at, "/*")) {
      depth = nests ? depth + 1 : 1;
      ++at;
    } else if (startsAt(sql, at, "*/")) {
      ++at;
      if (--depth == 0) return {TokenKind::blank, at + 1};
    }
  }
  return {TokenKind::unfinished, sql.size()};
}

/// What begins code for those servers that know of it: MySQL's "/*!", MariaDB's "/*M!", both followed by a version
/// them.
/// @return where it ends, @p at when there is none.
std::size_t endOfCodeMark(std::string_view sql, std::size_t at) {
  for (std::string_view mark : {"/*!", "/*M!"}) {
    if (startsAt(sql, at, mark)) return std::min(sql.find_first_not_of("0123456789", at + mark.size()), sql.size());
  }
  return at;
}

/// A doubled quote reads as two quoted texts in a row, which cuts the script at the same places.
Token quoted(std::string_view sql, std::size_t at, bool backslashes) {
  const char quote = sql[at];
  for (++at; at < sql.size(); ++at) {
    if (sql[at] == quote) return {TokenKind::quoted, at + 1};
    if (backslashes && sql[at] == '\\') ++at;
  }
  return {TokenKind::unfinished, sql.size()};
}

/// "$$ ... $$" or "$tag$ ... $tag$"; a dollar that begins none of them is a symbol.
Token dollarQuoted(std::string_view sql, std::size_t at) {
  std::size_t mark = at + 1;
  while (mark < sql.size() && isWordByte(sql[mark]) && sql[mark] != '$') ++mark;
  const bool isNumber = mark > at + 1 && std::isdigit(static_cast<unsigned char>(sql[at + 1])) != 0;
  if (mark == sql.size() || sql[mark] != '$' || isNumber) return {TokenKind::symbol, at + 1};
  const std::string_view tag = sql.substr(at, mark + 1 - at);
  const std::size_t end = sql.find(tag, mark + 1);
  if (end == kNone) return {TokenKind::unfinished, sql.size()};
  return {TokenKind::quoted, end + tag.size()};
}

bool beginsLineComment(std::string_view sql, std::size_t at, Dialect dialect) {
  if (dialect != Dialect::backslash) return startsAt(sql, at, "--");
  const bool dashes = startsAt(sql, at, "--") && (at + 2 == sql.size() || isBlank(sql[at + 2]));
  return dashes || sql[at] == '#';
}

Token tokenAt(std::string_view sql, std::size_t at, Dialect dialect) {
  const bool backslashes = dialect == Dialect::backslash;
  const char byte = sql[at];
  if (isBlank(byte)) return {TokenKind::blank, at + 1};
  if (beginsLineComment(sql, at, dialect)) return lineComment(sql, at);
  if (const std::size_t end = endOfCodeMark(sql, at); backslashes && end > at) return {TokenKind::symbol, end};
  if (startsAt(sql, at, "/*")) return blockComment(sql, at, dialect == Dialect::standard);
  if (byte == '\'' || byte == '"') return quoted(sql, at, backslashes);
  if (byte == '`') return quoted(sql, at, false);
  if (byte == '$' && !backslashes) return dollarQuoted(sql, at);
  if (!isWordByte(byte)) return {TokenKind::symbol, at + 1};
  const std::size_t end = endOfWord(sql, at);
  // PostgreSQL's E'...' knows backslashes whatever the settings.
  const bool escapes = end == at + 1 && (byte == 'e' || byte == 'E') && end < sql.size() && sql[end] == '\'';
  return escapes ? quoted(sql, end, true) : Token{TokenKind::word, end};
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char byte) { return std::tolower(byte); });
  return lower;
}

/// Steps through the words outside all parentheses.
class OuterWords {
 public:
  OuterWords(std::string_view sql, Dialect dialect) : sql_(sql), dialect_(dialect) {}

  /// @return the next word in lower case, empty after the last.
  std::string next() {
    while (at_ < sql_.size()) {
      const std::size_t start = at_;
      const Token token = tokenAt(sql_, at_, dialect_);
      at_ = token.end;
      seen_ = seen_ || token.kind == TokenKind::word;
      if (token.kind == TokenKind::word && depth_ == 0) return lowerCase(sql_.substr(start, at_ - start));
      // Parentheses around the whole statement, before its first word, do not count.
      if (sql_[start] == '(' && seen_) ++depth_;
      if (sql_[start] == ')' && depth_ > 0) --depth_;
    }
    return {};
  }

  bool find(std::string_view wanted) {
    std::string word = next();
    while (!word.empty() && word != wanted) word = next();
    return word == wanted;
  }

 private:
  std::string_view sql_;
  Dialect dialect_;
  std::size_t at_ = 0;
  int depth_ = 0;
  bool seen_ = false;
};

bool isOneOf(const std::string& word, std::initializer_list<const char*> words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

Dialect dialectOf(std::string_view url) {
  constexpr std::size_t kWord = 5;  // after "jdbc:"
  const std::string_view word = url.size() < kWord ? "" : url.substr(kWord, url.find(':', kWord) - kWord);
  if (word == "mariadb" || word == "mysql") return Dialect::backslash;
  if (word == "oracle" || word == "hsqldb" || word == "sqlite") return Dialect::flat;
  return Dialect::standard;
}

bool StatementSplitter::next(Statement& statement) {
  std::size_t start = kNone;
  std::size_t end = at_;
  statement = {};
  while (at_ < script_.size() && (start == kNone || script_[at_] != ';')) {
    const Token token = tokenAt(script_, at_, dialect_);
    const bool counts = token.kind != TokenKind::blank && script_[at_] != ';';
    if (counts && start == kNone) {
      start = at_;
      statement.line = line_;
    }
    if (token.kind == TokenKind::unfinished) statement.complete = false;
    line_ += static_cast<std::size_t>(std::count(script_.begin() + static_cast<std::ptrdiff_t>(at_),
                                                 script_.begin() + static_cast<std::ptrdiff_t>(token.end), '\n'));
    at_ = token.end;
    if (counts) end = at_;
  }
  if (at_ < script_.size()) ++at_;
  if (start == kNone) return false;
  statement.text = script_.substr(start, end - start);
  return true;
}

bool givesRows(std::string_view statement, Dialect dialect) {
  OuterWords words(statement, dialect);
  std::string word = words.next();
  if (word == "with") {
    do {
      word = words.next();
    } while (!word.empty() && !isOneOf(word, {"select", "values", "table", "insert", "update", "delete", "merge"}));
  }
  if (isOneOf(word, {"values", "table", "show", "explain", "describe", "desc", "fetch"})) return true;
  if (word == "pragma") return statement.find('=') == kNone;
  if (word == "select") return !words.find("into");
  return isOneOf(word, {"insert", "update", "delete", "merge", "replace"}) && words.find("returning");
}

bool leavesTransaction(std::string_view statement, bool open) {
  OuterWords words(statement, Dialect::standard);
  const std::string first = words.next();
  std::string word = words.next();
  // After another word, "begin" begins a block of a procedural language.
  if (first == "begin" && isOneOf(word, {"", "transaction", "tran", "work", "isolation", "read"})) return true;
  if (first == "start" && word == "transaction") return true;
  if (!isOneOf(first, {"commit", "rollback", "end", "abort"})) return open;
  // To a savepoint, or into the next transaction.
  while (!word.empty() && !isOneOf(word, {"to", "chain"})) word = words.next();
  return open && !word.empty();
}

}  // namespace kivosql
