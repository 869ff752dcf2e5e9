// JavaConnectionUtils with a Java class of the host's own: a query with bound values, which need no quoting.
//
//   bound_example URL QUERY [VALUE]...          for instance: "select * from orders where customer = ?" "O'Hara"
//
// KIVO_JVM and KIVO_CLASSPATH name the Java VM, and the jar of examples/java with the database's driver.

#include <iostream>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"
#include "example_host.h"

namespace {

using example::require;

/// Parameters are the class's own: here the values are called 1, 2, and so on.
void setParameters(JavaConnectionUtils& connection, int count, char** arguments) {
  std::vector<std::string> names = {"url", "query"};
  std::vector<std::string> values(arguments, arguments + count);
  for (int number = 1; number <= count - 2; ++number) names.push_back(std::to_string(number));
  require(connection.setParams(names, values), "passing parameters");
}

/// Prints the first column of each row.
void read(JavaConnectionUtils& connection) {
  int rows = 0;
  for (; connection.next(); ++rows) {
    char* value = nullptr;
    require(connection.getColumn(1, value), "reading a value");
    const example::Cell cell = example::takeCell(value);
    std::cout << (cell.isNull ? "∅" : cell.text) << '\n';
  }
  std::cout << rows << " row(s)" << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: bound_example URL QUERY [VALUE]..." << std::endl;
    return 2;
  }
  example::startJavaVm();
  std::string className = "example/BoundQuery";
  JavaConnectionUtils connection(className);
  require(connection.javaInit(), "creating the Java connection object");
  setParameters(connection, argc - 1, argv + 1);
  require(connection.makeConnection(), "connecting");
  std::vector<std::string> tables;
  require(connection.canDiscover() && connection.discoverTables(tables), "listing tables");
  std::cout << tables.size() << " table(s)\n";
  require(connection.query(), "running the query");
  read(connection);
  return 0;
}
