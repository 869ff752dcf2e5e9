#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kivosql {

struct Column {
  std::string name;
  int type = 0;  ///< code of java.sql.Types; 0 when the session does not know it
  std::string typeName;
};

/// A value. Its text belongs to whoever made the row.
struct Cell {
  std::string_view text;
  bool isNull = false;
};
using Row = std::vector<Cell>;

/// @param type a code of java.sql.Types
bool isNumeric(int type);
bool isBoolean(int type);

/// Whether JSON's grammar takes the text as a number.
bool isJsonNumber(std::string_view text);

/// What databases write for true and false; nothing for other text.
std::optional<bool> booleanOf(std::string_view text);

}  // namespace kivosql
