#pragma once

#include <string>
#include <string_view>

namespace kivosql {

/// Whether the text is a table's name, qualified or quoted, and nothing else.
bool isTableName(const std::string& text);

/// Whether the statement begins or ends a transaction. @param statement without blanks and comments before its words
bool controlsTransaction(const std::string& statement);

/// Whether the URL carries a password, as a parameter or before the host.
bool holdsPassword(const std::string& url);

}  // namespace kivosql
