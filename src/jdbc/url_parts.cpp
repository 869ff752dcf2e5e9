#include "jdbc/url_parts.h"

#include <cstring>

namespace kivo::jdbc {

namespace {

constexpr std::size_t kNone = std::string::npos;

/// The text from @p start up to the next @p end character, or to the end of the URL.
std::string textUpTo(const std::string& url, std::size_t start, char end) {
  return url.substr(start, url.find(end, start) - start);
}

/// The place after the first @p mark at or after @p from; kNone when there is none.
std::size_t after(const std::string& url, const char* mark, std::size_t from = 0) {
  const std::size_t at = url.find(mark, from);
  return at == kNone ? kNone : at + std::strlen(mark);
}

/// The place after the first of two spellings of a key, each searched from a place of its own.
std::size_t afterEither(const std::string& url, const char* key, std::size_t from, const char* otherKey,
                        std::size_t otherFrom) {
  const std::size_t place = after(url, key, from);
  return place == kNone ? after(url, otherKey, otherFrom) : place;
}

/// The place after "//", where that is how the URL's first '/' goes on.
std::size_t afterFirstSlashes(const std::string& url) {
  const std::size_t slash = url.find('/');
  return slash != kNone && url.compare(slash, 2, "//") == 0 ? slash + 2 : kNone;
}

/// Cuts host ":" port ["/" database] from @p start on.
std::optional<UrlParts> cutServer(const std::string& url, std::size_t start) {
  if (start == kNone) return std::nullopt;
  const std::size_t colon = url.find(':', start);
  if (colon == kNone) return std::nullopt;
  UrlParts parts{url.substr(start, colon - start), textUpTo(url, colon + 1, '/'), ""};
  const std::size_t slash = url.find('/', colon + 1);
  if (slash != kNone) parts.database = url.substr(slash + 1);
  return parts;
}

}  // namespace

std::optional<UrlParts> cutTeradataUrl(const std::string& url) {
  const std::size_t start = after(url, "//");
  if (start == kNone || start >= url.size()) return std::nullopt;
  const std::size_t slash = url.find('/', start);
  if (slash == kNone) return std::nullopt;
  const std::size_t port = afterEither(url, "DBS_PORT=", slash + 1, "dbs_port=", slash + 1);
  if (port == kNone) return std::nullopt;

  UrlParts parts{url.substr(start, slash - start), textUpTo(url, port, ','), ""};
  const std::size_t database = afterEither(url, "DATABASE=", port, "database=", 0);
  if (database != kNone) parts.database = textUpTo(url, database, ',');
  return parts;
}

std::optional<UrlParts> cutSqlServerUrl(const std::string& url) {
  const std::size_t start = afterFirstSlashes(url);
  if (start == kNone) return std::nullopt;
  const std::size_t colon = url.find(':', start);
  if (colon == kNone) return std::nullopt;

  UrlParts parts{url.substr(start, colon - start), textUpTo(url, colon + 1, ';'), ""};
  const std::size_t database = afterEither(url, "databaseName=", 0, "databasename=", 0);
  if (database != kNone) parts.database = textUpTo(url, database, ';');
  return parts;
}

std::optional<UrlParts> cutPostgresUrl(const std::string& url) { return cutServer(url, afterFirstSlashes(url)); }

std::optional<UrlParts> cutDb2Url(const std::string& url) { return cutServer(url, after(url, "//")); }

std::optional<UrlParts> cutVelmarUrl(const std::string& url) { return cutServer(url, after(url, "jdbc:velmar:Tds:")); }

}  // namespace kivo::jdbc
