// jdbcWrapper on any JDBC database: create, insert in a batch, update, query, list tables, meet an error.
//
//   wrapper_example [URL]          default: an H2 database in memory
//
// KIVO_JVM and KIVO_CLASSPATH name the Java VM, and the companion jar with the database's driver.

#include <iostream>
#include <string>
#include <vector>

#include "example_host.h"
#include "jdbcWrapper.h"

namespace {

void require(const jdbcWrapper& database, bool done) { example::require(done, database.errorMessage); }

void connect(jdbcWrapper& database, std::string url) {
  require(database, database.errorState == 0);
  require(database, database.setUrl("", "", "", "", "", url));
  require(database, database.getConnection("", ""));
  require(database, database.getStatement());
  std::cout << "connected to " << url << '\n';
}

void write(jdbcWrapper& database) {
  require(database, database.executeUpdate("drop table if exists orders") >= 0);
  require(database, database.executeUpdate("create table orders (id int primary key, customer varchar(40), "
                                           "total decimal(10,2), ordered date, shipped timestamp with time zone, "
                                           "note varchar(60))") >= 0);

  const std::vector<std::string> rows = {
      "(1, 'Ada Lovelace', 36.50, date '1843-09-05', timestamp with time zone '1843-09-06 08:15:00+00:00', 'engine')",
      "(2, 'Даниил Хармс', 19.99, date '1937-10-25', null, 'вода')",
      "(3, '中村 さくら', 1200.00, date '2024-02-29', timestamp with time zone '2024-03-01 01:30:00.25+09:00', '桜 🌸')",
      "(4, 'Zoë', 0.01, null, null, '')",
  };
  for (const std::string& row : rows) require(database, database.addToBatch("insert into orders values " + row));
  int executed = 0;
  require(database, database.executeBatch(executed));
  std::cout << "inserted " << executed << " rows in one batch\n";

  const int updated = database.executeUpdate("update orders set total = total * 2 where total < 20");
  require(database, updated >= 0);
  std::cout << "updated " << updated << " rows\n";
}

void read(jdbcWrapper& database) {
  require(database, database.executeQuery("select * from orders order by id", 0));
  const int columns = database.getNumColumns();
  example::Table shown(1);
  for (int column = 1; column <= columns; ++column) {
    std::string name;
    require(database, database.getColumnName(column, name));
    shown[0].push_back({name});
  }
  while (database.next()) {
    shown.emplace_back();
    for (int column = 1; column <= columns; ++column) {
      char* value = nullptr;
      require(database, database.getColumn(column, value));
      shown.back().push_back(example::takeCell(value));
    }
  }
  // False from next() is the end of the rows only when no error came with it.
  require(database, database.errorState == 0);
  example::printTable("Orders through jdbcWrapper, ∅ for NULL, times in UTC", shown);
}

void listTables(jdbcWrapper& database) {
  std::vector<std::string> tables;
  require(database, database.getTables(tables));
  std::cout << "\ntables:";
  for (const std::string& table : tables) std::cout << ' ' << table;
  std::cout << '\n';
}

void meetAnError(jdbcWrapper& database) {
  example::require(!database.executeQuery("select * from no_such_table", 0), "the table should not exist");
  std::cout << "a failing query says: " << database.errorMessage << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  example::startJavaVm();
  jdbcWrapper database;
  connect(database, argc > 1 ? argv[1] : "jdbc:h2:mem:example");
  write(database);
  read(database);
  listTables(database);
  meetAnError(database);
  require(database, database.closeConnection());
  return 0;
}
