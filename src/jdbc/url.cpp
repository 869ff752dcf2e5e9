#include <map>
#include <string>
#include <string_view>

#include "JdbcUtils.h"
#include "jdbc/vendors.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr const char* kNotParsed = "could not parse the url";
constexpr const char* kUnsupported = "unsupported database type";

/// Where the scheme word starts: after "jdbc:", which is not examined.
constexpr std::size_t kWordStart = 5;

/// Fills a vendor's template. What an input holds is copied, not read as part of the template.
std::string buildUrl(std::string_view form, const std::map<std::string_view, std::string_view>& inputs) {
  std::string url;
  std::size_t done = 0;
  for (std::size_t open = 0; (open = form.find('{', done)) != std::string_view::npos;) {
    const std::size_t close = form.find('}', open);
    const std::string_view value = inputs.at(form.substr(open + 1, close - open - 1));
    const std::string_view before = form.substr(done, open - done);
    const std::size_t bracket = before.find('[');
    const bool isOptional = bracket != std::string_view::npos;
    url += before.substr(0, bracket);
    if (isOptional && !value.empty()) url += before.substr(bracket + 1);
    url += value;
    done = close + (isOptional ? 2 : 1);
  }
  return url.append(form.substr(done));
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
  if (found->noInstance != nullptr && instance.empty()) return fail("instance", found->noInstance);
  readyUrl =
      buildUrl(found->urlTemplate, {{"host", host}, {"port", port}, {"instance", instance}, {"database", database}});
  url = readyUrl;
  vendor = found->key;
  // The refusal comes after the URL was stored: callers read the URL that was built even so.
  return found->anInstance == nullptr || instance.empty() ? true : fail("dbtype", found->anInstance);
}
