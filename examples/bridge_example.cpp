// JavaConnectionUtils with the companion jar's connection class: discover a database's tables, then query one.
//
//   bridge_example URL TABLE
//
// KIVO_JVM and KIVO_CLASSPATH name the Java VM, and the companion jar with the database's driver.

#include <iostream>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"
#include "example_host.h"

namespace {

using example::require;

void connect(JavaConnectionUtils& connection, const std::string& url, const std::string& table) {
  std::vector<std::string> names = {"url", "query"};
  std::vector<std::string> values = {url, "select * from " + table + " order by 1"};
  require(connection.javaInit(), "creating the Java connection object");
  require(connection.setParams(names, values), "passing parameters");
  require(connection.makeConnection(), "connecting");
}

/// The table's columns and their SQL types; also the heading of its rows.
std::vector<std::string> discover(JavaConnectionUtils& connection, std::string table) {
  std::vector<std::string> tables;
  require(connection.canDiscover() && connection.discoverTables(tables), "listing tables");
  std::cout << "discovered " << tables.size() << " table(s)\n";

  std::vector<std::string> columns;
  std::vector<std::string> types;
  require(connection.discoverTable(table, columns, types), "describing the table");
  example::Table shown = {{{"column"}, {"type"}}};
  for (std::size_t column = 0; column < columns.size(); ++column) {
    shown.push_back({{columns[column]}, {types[column]}});
  }
  example::printTable(table + " through JavaConnectionUtils", shown);
  return columns;
}

void read(JavaConnectionUtils& connection, const std::vector<std::string>& columns) {
  require(connection.query(), "running the query");
  example::Table shown(1);
  for (const std::string& column : columns) shown[0].push_back({column});
  while (connection.next()) {
    shown.emplace_back();
    for (int column = 1; column <= static_cast<int>(columns.size()); ++column) {
      char* value = nullptr;
      require(connection.getColumn(column, value), "reading a value");
      shown.back().push_back(example::takeCell(value));
    }
  }
  example::printTable("Its rows", shown);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: bridge_example URL TABLE" << std::endl;
    return 2;
  }
  example::startJavaVm();
  std::string className = "com/ulvanejdbc/JdbcConnection";
  JavaConnectionUtils connection(className);
  connect(connection, argv[1], argv[2]);
  read(connection, discover(connection, argv[2]));
  return 0;
}
