#include <initializer_list>
#include <string>

#include "fuzzing.h"
#include "jdbc/url_parts.h"

using kivo::fuzz::require;
using kivo::jdbc::UrlParts;

namespace {

struct Cutter {
  std::optional<UrlParts> (*cut)(const std::string& url);
  /// What stands around the host and before the port, in one of two spellings.
  const char* beforeHost;
  const char* afterHost;
  std::initializer_list<const char*> beforePort;
  std::initializer_list<const char*> beforeDatabase;
};

const Cutter kCutters[] = {
    {kivo::jdbc::cutPostgresUrl, "//", ":", {":"}, {"/"}},
    {kivo::jdbc::cutDb2Url, "//", ":", {":"}, {"/"}},
    {kivo::jdbc::cutVelmarUrl, "jdbc:velmar:Tds:", ":", {":"}, {"/"}},
    {kivo::jdbc::cutSqlServerUrl, "//", ":", {":"}, {"databaseName=", "databasename="}},
    {kivo::jdbc::cutTeradataUrl, "//", "/", {"DBS_PORT=", "dbs_port="}, {"DATABASE=", "database="}},
};

bool follows(const std::string& url, std::initializer_list<const char*> marks, const std::string& part) {
  for (const char* mark : marks) {
    if (kivo::fuzz::contains(url, mark + part)) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string url = kivo::fuzz::text(data, size);
  for (const Cutter& cutter : kCutters) {
    const std::optional<UrlParts> parts = cutter.cut(url);
    if (!parts) continue;
    require(kivo::fuzz::contains(url, cutter.beforeHost + parts->host + cutter.afterHost), "the host is the URL's");
    require(!kivo::fuzz::contains(parts->host, cutter.afterHost), "the host ends at the first mark");
    require(follows(url, cutter.beforePort, parts->port), "the port is the URL's");
    require(parts->database.empty() || follows(url, cutter.beforeDatabase, parts->database),
            "the database is the URL's");
  }
  return 0;
}
