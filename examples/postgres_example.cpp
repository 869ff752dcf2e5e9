// JdbcUtils on PostgreSQL: connect, write in a batch, list tables, read every kind of type.
//
//   PGPASSWORD=... postgres_example HOST PORT DATABASE USER
//
// KIVO_JVM and KIVO_CLASSPATH name the Java VM, and the companion jar with PostgreSQL's driver.

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "example_host.h"

namespace {

using example::require;

void connect(JdbcUtils& database, char** arguments) {
  std::string type = "postgresql";
  std::string host = arguments[1];
  std::string port = arguments[2];
  std::string instance = arguments[3];
  std::string user = arguments[4];
  const char* secret = std::getenv("PGPASSWORD");
  std::string password = secret == nullptr ? "" : secret;
  std::string none;
  std::string url;
  std::string field;
  std::string error;

  require(database.javaInit(), "attaching to the Java VM");
  require(database.setUrl(type, host, port, instance, none, url, field, error), field + ": " + error);
  require(database.getConnection(user, password, error), error);
  std::cout << "connected to " << url << '\n';
}

void update(JdbcUtils& database, std::string sql) { require(database.executeUpdate(sql) >= 0, sql); }

/// Statements are text: values are written into them as literals.
void writeRows(JdbcUtils& database) {
  require(database.getStatement(), "making a statement");
  update(database, "drop table if exists planets");
  update(database,
         "create table planets (id int primary key, name text, mass_kg numeric, moons smallint, distance_au float8, "
         "rings boolean, seen date, noon time, flyby timestamp, landed timestamptz, image bytea, notes json)");

  const std::vector<std::string> rows = {
      "(1, 'Mercury', 330110000000000000000000, 0, 0.387, false, null, '12:00', '1974-03-29 20:47:00', null, "
      "'\\xcafe', '{\"core\": \"iron\"}')",
      "(2, 'Zemlja Земля 🌍', 5972200000000000000000000, 1, 1, false, '0001-01-01', '23:59:59.999999', "
      "'1968-12-24 16:40:00', '1969-07-20 20:17:40+00', null, null)",
      "(3, 'Saturn', 568340000000000000000000000, 146, 9.58, true, '1610-07-25', '00:00', "
      "'1980-11-12 23:46:30.5', '2005-01-14 13:38:11+01', '', '[]')",
  };
  for (const std::string& row : rows) {
    std::string sql = "insert into planets values " + row;
    require(database.addToBatch(sql) == 0, sql);
  }
  std::vector<int> counts(rows.size());
  require(database.executeBatch(counts.data()) == static_cast<int>(rows.size()), "executing the batch");
  std::cout << "inserted " << rows.size() << " rows in one batch\n";
}

void listTables(JdbcUtils& database) {
  std::vector<std::string> tables;
  require(database.getTables(tables), "listing tables");
  example::Table shown = {{{"table"}}};
  for (const std::string& table : tables) shown.push_back({{table}});
  example::printTable("Tables", shown);
}

void readRows(JdbcUtils& database) {
  std::string sql = "select * from planets order by id";
  require(database.executeQuery(sql, 0), sql);
  const int columns = database.getNumColumns();

  // A column a line: twelve columns side by side would not fit a terminal.
  example::Table shown(1, {{"column"}, {"type"}});
  for (int column = 0; column < columns; ++column) {
    std::string name;
    int type = 0;
    require(database.getColumnInfo(column, name, type), "describing a column");
    shown.push_back({{name}, {std::to_string(type)}});
  }
  for (int row = 1; database.next(); ++row) {
    shown[0].push_back({"row " + std::to_string(row)});
    for (int column = 1; column <= columns; ++column) {
      char* value = nullptr;
      require(database.getColumn(static_cast<unsigned long>(column), value), "reading a value");
      shown[static_cast<std::size_t>(column)].push_back(example::takeCell(value));
    }
  }
  example::printTable("Planets, a column a line, ∅ for NULL, dates and times in UTC", shown);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: PGPASSWORD=... postgres_example HOST PORT DATABASE USER" << std::endl;
    return 2;
  }
  example::startJavaVm();
  JdbcUtils database;
  connect(database, argv);
  writeRows(database);
  listTables(database);
  readRows(database);
  database.closeConnection();
  return 0;
}
