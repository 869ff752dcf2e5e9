#pragma once

#include <optional>
#include <string>

namespace kivo::jdbc {

/// The parts of a URL that a DataSource takes.
struct UrlParts {
  std::string host;
  std::string port;
  std::string database;  ///< empty when the URL names none
};

/// The cutters, one per URL form: nothing when the URL lacks a separator or key that its form needs.
std::optional<UrlParts> cutTeradataUrl(const std::string& url);
std::optional<UrlParts> cutSqlServerUrl(const std::string& url);
std::optional<UrlParts> cutPostgresUrl(const std::string& url);
std::optional<UrlParts> cutDb2Url(const std::string& url);
std::optional<UrlParts> cutVelmarUrl(const std::string& url);

}  // namespace kivo::jdbc
