#pragma once

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

}  // namespace kivosql
