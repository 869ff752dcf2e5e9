// Connects by JdbcUtils and by jdbcWrapper to a port where nothing listens. Arguments: libjvm.so, the class path, the
// word of the database, the port. Prints what each says, on a line; Java's own words go to standard error.

#include <algorithm>
#include <iostream>
#include <string>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "jdbcWrapper.h"

namespace {

void print(const char* name, std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::cout << name << ": " << text << '\n';
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 5) return 2;
  std::string jvm = arguments[1];
  std::string jars = arguments[2];
  std::string error;
  if (!javaInit(jvm, jars, 256, error)) return std::cerr << error << '\n', 1;

  std::string word = arguments[3];
  std::string host = "127.0.0.1";
  std::string port = arguments[4];
  std::string instance = word == "teradata" ? "" : "shop";
  std::string database = word == "teradata" ? "shop" : "";
  std::string none;
  std::string field;
  std::string user = "nobody";
  std::string password = "secret";
  JdbcUtils utils;
  const bool known = utils.javaInit() && utils.setUrl(word, host, port, instance, database, none, field, error);
  print("JdbcUtils", known && utils.getConnection(user, password, error) ? "connected" : error);

  jdbcWrapper wrapper;
  const bool connected =
      wrapper.setUrl(word, host, port, instance, database, none) && wrapper.getConnection(user, password);
  print("jdbcWrapper", connected ? "connected" : wrapper.errorMessage);
}
