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
