// Text in standard UTF-8 on the host's side.
//
//   utf8_example
//
// The library hands text out in JNI's modified UTF-8: a character beyond U+FFFF comes as six bytes, a NUL as two.
// KivoUtf8.h converts. Into Java, standard text needs no conversion unless it holds a NUL, which would end it.

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "KivoUtf8.h"
#include "example_host.h"
#include "jdbcWrapper.h"

namespace {

void require(const jdbcWrapper& database, bool done) { example::require(done, database.errorMessage); }

/// Sends the text into the database as a literal and reads it back. @return it, in standard UTF-8.
std::string roundTrip(jdbcWrapper& database, const std::string& standard) {
  require(database, database.executeQuery("select '" + standard + "'", 0));
  require(database, database.next());
  char* value = nullptr;
  require(database, database.getColumn(1, value));
  const kivo::utf8::Converted back = kivo::utf8::toStandard(value == nullptr ? "" : value);
  std::free(value);
  example::require(back.replacements == 0, "the text came back damaged");
  return back.text;
}

}  // namespace

int main() {
  example::startJavaVm();
  jdbcWrapper database;
  std::string url = "jdbc:h2:mem:example";
  require(database, database.setUrl("", "", "", "", "", url));
  require(database, database.getConnection("", ""));
  require(database, database.getStatement());

  const std::vector<std::string> texts = {"plain", "Grüße", "приве́т", "日本語", "😀🎉 then the end"};
  for (const std::string& text : texts) {
    const std::string back = roundTrip(database, text);
    example::require(back == text, text);
    std::cout << back << ": " << text.size() << " bytes, " << kivo::utf8::toModified(text).text.size()
              << " in modified UTF-8\n";
  }
  return database.closeConnection() ? 0 : 1;
}
