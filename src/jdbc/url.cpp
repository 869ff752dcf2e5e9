#include "JdbcUtils.h"
#include "jdbc/vendors.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr const char* kNotParsed = "could not parse the url";
constexpr const char* kOracleInstance = "for Oracle the instance name must not be empty";
constexpr const char* kTeradataInstance = "teradata jdbc does not support a specified instance.";
constexpr const char* kUnsupported = "unsupported database type";

/// Where the scheme word starts: after "jdbc:", which is not examined.
constexpr std::size_t kWordStart = 5;

/// Appends mark and input when the form has the mark and the input is not empty.
void appendNamed(std::string& url, const char* mark, const std::string& input) {
  if (mark != nullptr && !input.empty()) url.append(mark).append(input);
}

std::string buildUrl(const UrlForm& form, const std::string& host, const std::string& port, const std::string& instance,
                     const std::string& database) {
  std::string url = form.prefix + host;
  appendNamed(url, form.beforeServerInstance, instance);
  url.append(form.beforePort).append(port);
  if (form.instance == Instance::always && instance.empty()) url += form.beforeInstance;
  appendNamed(url, form.beforeInstance, instance);
  appendNamed(url, form.beforeDatabase, database);
  return url += form.suffix;
}

}  // namespace

bool JdbcUtils::setUrl(std::string& dbType, std::string& host, std::string& port, std::string& instance,
                       std::string& database, std::string& readyUrl, std::string& errorField, std::string& errorText) {
  const auto fail = [&errorField, &errorText](const char* field, const char* text) {
    errorField = field;
    errorText = text;
    return false;
  };

  if (!readyUrl.empty()) {
    const std::size_t wordEnd = readyUrl.find(':', kWordStart);
    if (wordEnd == std::string::npos || wordEnd == kWordStart) return fail("url", kNotParsed);
    url = readyUrl;
    vendor = url.substr(kWordStart, wordEnd - kWordStart);
    return true;
  }

  const Vendor* found = vendorOfWord(dbType);
  if (found == nullptr) return fail("dbtype", kUnsupported);
  if (found->url.instance == Instance::required && instance.empty()) return fail("instance", kOracleInstance);
  const bool refused = found->url.instance == Instance::refused && !instance.empty();
  readyUrl = buildUrl(found->url, host, port, instance, database);
  url = readyUrl;
  vendor = found->key;
  // The refusal comes after the URL was stored: callers read the URL that was built even so.
  return refused ? fail("dbtype", kTeradataInstance) : true;
}
