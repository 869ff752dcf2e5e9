#include "session/session.h"

#include <algorithm>

#include "KivoUtf8.h"
#include "session/java.h"

namespace kivosql {

bool isUtf8(std::string_view text) {
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  return std::all_of(text.begin(), text.end(), isAscii) || kivo::utf8::toModified(text).replacements == 0;
}

void Session::open(const Target& target) {
  Target java = target;
  for (auto text : {&Target::url, &Target::type, &Target::host, &Target::port, &Target::instance, &Target::database,
                    &Target::user, &Target::password, &Target::className}) {
    java.*text = toJava(target.*text);
  }
  const bool connected = connect(java);
  url_ = fromJava(java.url);
  check(connected);
}

std::vector<std::string> Session::tables() {
  std::vector<std::string> names;
  check(list(names));
  for (std::string& name : names) name = fromJava(name);
  return names;
}

std::vector<Column> Session::describe(const std::string& table) {
  std::vector<Column> columns = query("select * from " + table + " where 1 = 0", 0, 1);
  for (Column& column : columns) column.typeName = typeName(1 + static_cast<int>(&column - columns.data()));
  Row none;
  next(none);
  return columns;
}

}  // namespace kivosql
