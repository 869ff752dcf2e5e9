#include <algorithm>
#include <cctype>
#include <string>

#include "JdbcUtils.h"
#include "fuzzing.h"
#include "jdbc/url_parts.h"

using kivo::fuzz::require;

namespace {

struct Inputs {
  std::string dbType, host, port, instance, database, url;

  bool operator==(const Inputs& other) const {
    return dbType == other.dbType && host == other.host && port == other.port && instance == other.instance &&
           database == other.database && url == other.url;
  }
};

const std::string kBefore = "before";

/// Text that no URL form gives a meaning to.
bool isPlain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](unsigned char byte) { return std::isalnum(byte) != 0; });
}

/// What was put into a URL is what a DataSource is given.
void checkCutting(const Inputs& given, const JdbcUtils& utils) {
  const struct {
    const char* word;
    std::optional<kivo::jdbc::UrlParts> (*cut)(const std::string&);
    std::string Inputs::*database;
  } rows[] = {
      {"postgresql", kivo::jdbc::cutPostgresUrl, &Inputs::instance},
      {"db2", kivo::jdbc::cutDb2Url, &Inputs::instance},
      {"netezza", kivo::jdbc::cutDb2Url, &Inputs::instance},
      {"velmar", kivo::jdbc::cutVelmarUrl, &Inputs::instance},
      {"teradata", kivo::jdbc::cutTeradataUrl, &Inputs::database},
  };
  for (const auto& row : rows) {
    if (given.dbType != row.word) continue;
    const auto parts = row.cut(utils.url);
    require(parts.has_value(), "a built URL can be cut");
    require(parts->host == given.host && parts->port == given.port, "host and port come back");
    require(parts->database == given.*row.database, "the database comes back");
  }
}

/// Any text may come to a DataSource: what is cut out of it stands in it.
void checkCutters(const std::string& url) {
  for (const auto cut : {kivo::jdbc::cutPostgresUrl, kivo::jdbc::cutDb2Url, kivo::jdbc::cutVelmarUrl,
                         kivo::jdbc::cutSqlServerUrl, kivo::jdbc::cutTeradataUrl}) {
    const auto parts = cut(url);
    if (!parts) continue;
    for (const std::string& part : {parts->host, parts->port, parts->database}) {
      require(kivo::fuzz::contains(url, part), "each part is the URL's");
    }
  }
}

void checkSuccess(const Inputs& given, const Inputs& after, JdbcUtils& utils) {
  require(utils.url == after.url && !utils.vendor.empty(), "the URL in effect is handed out");
  if (!given.url.empty()) {
    require(after.url == given.url, "a ready URL stays as it is");
    return;
  }
  require(kivo::fuzz::contains(after.url, given.host) && kivo::fuzz::contains(after.url, given.port),
          "a built URL names its server");
  const bool plain = isPlain(given.host) && isPlain(given.port) && isPlain(given.instance) && isPlain(given.database);
  if (plain) checkCutting(given, utils);

  std::string vendor = utils.vendor;
  std::string none;
  std::string again = after.url;
  require(utils.setUrl(none, none, none, none, none, again, none, none), "a built URL is a ready one");
  require(utils.vendor == vendor || vendor == "kx", "a built URL selects its vendor");
}

}  // namespace

/// Six lines: database type, host, port, instance, database, URL.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> texts = kivo::fuzz::lines(kivo::fuzz::text(data, size), 6);
  const Inputs given{texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]};
  checkCutters(given.url);
  Inputs after = given;
  std::string field = kBefore;
  std::string error = kBefore;
  JdbcUtils utils;
  utils.url = kBefore;
  utils.vendor = kBefore;
  const bool set =
      utils.setUrl(after.dbType, after.host, after.port, after.instance, after.database, after.url, field, error);
  require((field == kBefore) == set && (error == kBefore) == set, "a failure, and nothing else, writes an error");
  if (set) {
    Inputs kept = after;
    kept.url = given.url;
    require(kept == given, "inputs are only read");
    checkSuccess(given, after, utils);
  } else if (given.dbType != "teradata") {
    require(after == given && utils.url == kBefore && utils.vendor == kBefore, "a failure changes nothing");
  }
  return 0;
}
