#pragma once

#include <string>
#include <string_view>

namespace kivosql {

/// How values of a type are written in JSON, and on which side of a table's column.
enum class Kind { text, integer, decimal, truth };

/// @param type a code of java.sql.Types.
Kind kindOf(int type);

/// The type's name as java.sql.Types has it; the code itself for one that it does not have.
std::string typeName(int type);

/// A number by JSON's grammar, which is also one in every SQL.
bool isNumber(std::string_view text);

/// What a database may write for true or false. @return 1, 0, or -1 for anything else.
int truthOf(std::string_view text);

}  // namespace kivosql
