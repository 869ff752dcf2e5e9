// A host on the installed library. Its arguments: libjvm.so, and the class path.

#include <cstdlib>
#include <iostream>
#include <string>

#include "JavaVmHost.h"
#include "jdbcWrapper.h"
#include "kivo_version.h"

int main(int count, char** arguments) {
  if (count < 3) return 2;
  std::string jvm = arguments[1];
  std::string jars = arguments[2];
  std::string error;
  std::string url = "jdbc:h2:mem:consumer";
  if (!javaInit(jvm, jars, 64, error)) return std::cerr << error << '\n', 1;
  jdbcWrapper database;
  char* value = nullptr;
  if (!database.setUrl("", "", "", "", "", url) || !database.getConnection("", "") || !database.getStatement() ||
      !database.executeQuery("select 6 * 7", 0) || !database.next() || !database.getColumn(1, value)) {
    return std::cerr << database.errorMessage << '\n', 1;
  }
  std::cout << kivoVersion() << ' ' << KIVO_VERSION << ' ' << value << '\n';
  std::free(value);
  database.closeConnection();
}
