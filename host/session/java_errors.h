#pragma once

#include <string>

namespace kivosql {

/// Takes over descriptor 2 while it lives. JdbcUtils and JavaConnectionUtils have Java describe its exceptions there,
/// stack traces included, which is for a log rather than for a person. The host's own messages go elsewhere
/// (messages.h).
class JavaErrors {
 public:
  JavaErrors();
  ~JavaErrors();
  JavaErrors(const JavaErrors&) = delete;
  JavaErrors& operator=(const JavaErrors&) = delete;

  /// What was printed since the last call.
  std::string take() const;

 private:
  int original_;
  int file_;
};

/// One paragraph of @p text and of Java's descriptions of exceptions: messages and causes, each once, without traces.
std::string readable(const std::string& text, const std::string& descriptions);

}  // namespace kivosql
