// The ADBC driver, loaded as a driver manager loads it, on an embedded database.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "adbc_on_h2.h"

namespace kivo::test {
namespace {

TEST(AdbcDriverInit, FillsInWhatTheVersionHas) {
  AdbcDriver old{};
  std::memset(&old, 0x55, sizeof old);
  EXPECT_EQ(AdbcDriverInit(ADBC_VERSION_1_0_0, &old, nullptr), ADBC_STATUS_OK);
  AdbcDriver untouched{};
  std::memset(&untouched, 0x55, sizeof untouched);
  EXPECT_NE(old.StatementSetSubstraitPlan, untouched.StatementSetSubstraitPlan);
  EXPECT_EQ(old.ErrorGetDetailCount, untouched.ErrorGetDetailCount);

  AdbcDriver all{};
  EXPECT_EQ(initAdbcDriver("AdbcDriverJdbcInit", ADBC_VERSION_1_1_0, &all, nullptr), ADBC_STATUS_OK);
  const auto* const functions = reinterpret_cast<const void* const*>(&all.release);
  const auto* const end = reinterpret_cast<const void* const*>(&all + 1);
  for (const auto* function = functions; function < end; ++function) EXPECT_NE(*function, nullptr);
  EXPECT_EQ(all.release(&all, nullptr), ADBC_STATUS_OK);
  EXPECT_EQ(all.release, nullptr);

  AdbcError error{};
  EXPECT_EQ(AdbcDriverInit(1002000, &all, &error), ADBC_STATUS_NOT_IMPLEMENTED);
  EXPECT_STREQ(error.message, "this driver implements ADBC 1.0.0 and 1.1.0");
  error.release(&error);
  EXPECT_EQ(AdbcDriverInit(ADBC_VERSION_1_1_0, nullptr, nullptr), ADBC_STATUS_INVALID_ARGUMENT);
}

/// Calls functions on a handle that is not there, is not made, or was released.
template <class Handle, class Calls>
void expectRefusals(Handle& released, Calls calls) {
  Handle empty{};
  Handle* const none = nullptr;
  for (const Outcome& outcome : calls(none)) EXPECT_EQ(outcome.status, ADBC_STATUS_INVALID_ARGUMENT) << outcome;
  for (Handle* handle : {&empty, &released}) {
    for (const Outcome& outcome : calls(handle)) EXPECT_EQ(outcome.status, ADBC_STATUS_INVALID_STATE) << outcome;
  }
}

TEST_F(AdbcOnH2, RefusesWhatIsNotMadeOrWasReleased) {
  AdbcDatabase database{};
  AdbcConnection connection{};
  AdbcStatement statement{};
  EXPECT_TRUE(call(&AdbcDriver::DatabaseNew, &database));
  EXPECT_EQ(call(&AdbcDriver::DatabaseNew, &database).status, ADBC_STATUS_INVALID_STATE);
  EXPECT_TRUE(call(&AdbcDriver::ConnectionNew, &connection));
  EXPECT_EQ(call(&AdbcDriver::StatementNew, &connection, &statement).status, ADBC_STATUS_INVALID_STATE)
      << "the connection is not initialized";
  EXPECT_EQ(call(&AdbcDriver::ConnectionInit, &connection, &database).status, ADBC_STATUS_INVALID_STATE)
      << "the database is not initialized";
  EXPECT_EQ(call(&AdbcDriver::DatabaseInit, &database).status, ADBC_STATUS_INVALID_ARGUMENT) << "no uri";
  EXPECT_TRUE(call(&AdbcDriver::StatementNew, &client.connection, &statement));
  EXPECT_TRUE(call(&AdbcDriver::StatementRelease, &statement));
  EXPECT_TRUE(call(&AdbcDriver::ConnectionRelease, &connection));
  EXPECT_TRUE(call(&AdbcDriver::DatabaseRelease, &database));

  std::size_t size = 0;
  std::int64_t number = 0;
  Held<ArrowArrayStream> rows;
  expectRefusals(database, [&](AdbcDatabase* handle) {
    return std::vector{call(&AdbcDriver::DatabaseInit, handle), call(&AdbcDriver::DatabaseRelease, handle),
                       call(&AdbcDriver::DatabaseSetOption, handle, "uri", "x"),
                       call(&AdbcDriver::DatabaseGetOption, handle, "uri", nullptr, &size)};
  });
  expectRefusals(connection, [&](AdbcConnection* handle) {
    return std::vector{call(&AdbcDriver::ConnectionRelease, handle),
                       call(&AdbcDriver::ConnectionCommit, handle),
                       call(&AdbcDriver::ConnectionCancel, handle),
                       call(&AdbcDriver::ConnectionGetTableTypes, handle, &rows),
                       call(&AdbcDriver::ConnectionGetStatisticNames, handle, &rows),
                       call(&AdbcDriver::StatementNew, handle, &statement)};
  });
  expectRefusals(statement, [&](AdbcStatement* handle) {
    return std::vector{call(&AdbcDriver::StatementRelease, handle), call(&AdbcDriver::StatementCancel, handle),
                       call(&AdbcDriver::StatementSetSqlQuery, handle, "select 1"),
                       call(&AdbcDriver::StatementExecuteQuery, handle, &rows, &number),
                       call(&AdbcDriver::StatementBindStream, handle, &rows)};
  });
}

TEST_F(AdbcOnH2, NamesOptionsThatItDoesNotKnow) {
  AdbcDatabase database{};
  EXPECT_TRUE(call(&AdbcDriver::DatabaseNew, &database));
  AdbcQuery query(client);
  const Outcome set[] = {call(&AdbcDriver::DatabaseSetOption, &database, "no.such", "x"), client.set("no.such", "x"),
                         query.set("no.such", "x")};
  for (const Outcome& outcome : set) {
    EXPECT_EQ(outcome.status, ADBC_STATUS_NOT_IMPLEMENTED) << outcome;
    EXPECT_NE(outcome.text.find("no.such"), std::string::npos) << outcome;
  }
  std::size_t size = 0;
  const Outcome got[] = {
      call(&AdbcDriver::DatabaseGetOption, &database, "no.such", nullptr, &size),
      call(&AdbcDriver::ConnectionGetOption, &client.connection, "no.such", nullptr, &size),
      call(&AdbcDriver::StatementGetOption, &query.statement, "no.such", nullptr, &size),
  };
  for (const Outcome& outcome : got) EXPECT_EQ(outcome.status, ADBC_STATUS_NOT_FOUND) << outcome;
  EXPECT_EQ(client.set("adbc.connection.autocommit", "maybe").status, ADBC_STATUS_INVALID_ARGUMENT);
  EXPECT_TRUE(call(&AdbcDriver::DatabaseRelease, &database));
}

TEST_F(AdbcOnH2, TakesAndGivesOptionsOfEachType) {
  AdbcQuery query(client);
  const char* const rows = "adbc.jdbc.batch_rows";
  EXPECT_TRUE(call(&AdbcDriver::StatementSetOptionInt, &query.statement, rows, std::int64_t{7}));
  char text[8] = "x";
  std::size_t size = 1;
  EXPECT_TRUE(call(&AdbcDriver::StatementGetOption, &query.statement, rows, text, &size));
  EXPECT_EQ(size, 2U);
  EXPECT_STREQ(text, "x") << "there was no room";
  EXPECT_TRUE(call(&AdbcDriver::StatementGetOption, &query.statement, rows, text, &size));
  EXPECT_STREQ(text, "7");
  double number = 0;
  EXPECT_TRUE(call(&AdbcDriver::StatementGetOptionDouble, &query.statement, rows, &number));
  EXPECT_EQ(number, 7);
  std::int64_t integer = 0;
  EXPECT_EQ(
      call(&AdbcDriver::ConnectionGetOptionInt, &client.connection, "adbc.connection.autocommit", &integer).status,
      ADBC_STATUS_INVALID_ARGUMENT);
  const std::uint8_t bytes[] = {'1', '2', '\0'};
  EXPECT_TRUE(call(&AdbcDriver::StatementSetOptionBytes, &query.statement, rows, bytes, std::size_t{2}));
  EXPECT_EQ(call(&AdbcDriver::StatementSetOptionBytes, &query.statement, rows, bytes, std::size_t{3}).status,
            ADBC_STATUS_INVALID_ARGUMENT);
  EXPECT_TRUE(call(&AdbcDriver::StatementGetOptionInt, &query.statement, rows, &integer));
  EXPECT_EQ(integer, 12);
}

TEST_F(AdbcOnH2, ReadsTypedRowsInBatches) {
  AdbcQuery query(client, "select x, cast(x as varchar) || '%' as t from system_range(1, 5)");
  EXPECT_TRUE(query.set("adbc.jdbc.batch_rows", "2"));
  Held<ArrowArrayStream> rows;
  ASSERT_TRUE(query.execute(&rows));
  EXPECT_EQ(query.changed, -1);
  EXPECT_EQ(Batch(rows).rows.length, 2);
  EXPECT_EQ(textOf(rows), "<3, 3%><4, 4%><5, 5%>");
  Held<ArrowSchema> schema;
  EXPECT_TRUE(call(&AdbcDriver::StatementExecuteSchema, &query.statement, &schema));
  EXPECT_STREQ(schema.children[0]->format, "l");
  EXPECT_EQ(rowsOf(client, "create table nothing (a int)"), "");
}

TEST_F(AdbcOnH2, GivesEachFailureItsStatus) {
  run("create table taken (a int primary key)");
  run("insert into taken values (1)");
  const struct {
    const char* sql;
    AdbcStatusCode status;
    const char* sqlState;
  } rows[] = {
      {"selec 1", ADBC_STATUS_INVALID_ARGUMENT, "42001"},
      {"select * from missing", ADBC_STATUS_NOT_FOUND, "42S02"},
      {"create table taken (a int)", ADBC_STATUS_ALREADY_EXISTS, "42S01"},
      {"insert into taken values (1)", ADBC_STATUS_INTEGRITY, "23505"},
      {"select cast('x' as int)", ADBC_STATUS_INVALID_DATA, "22018"},
      {"select 1 / (3 - x) from system_range(1, 5)", ADBC_STATUS_INVALID_DATA, "22012"},
  };
  for (const auto& [sql, status, sqlState] : rows) {
    AdbcQuery query(client, sql);
    Held<ArrowArrayStream> stream;
    Outcome outcome = query.execute(&stream);
    if (outcome) {
      EXPECT_NE(textOf(stream).find(std::string("[") + sqlState), std::string::npos) << sql;
      const AdbcError* error = adbc().ErrorFromArrayStream(&stream, &outcome.status);
      ASSERT_NE(error, nullptr) << sql;
      outcome.sqlState.assign(error->sqlstate, sizeof error->sqlstate);
    } else {
      EXPECT_FALSE(outcome.details.empty()) << sql;
    }
    EXPECT_EQ(outcome.status, status) << sql << ": " << outcome;
    EXPECT_EQ(outcome.sqlState, sqlState) << sql << ": " << outcome;
  }
}

TEST_F(AdbcOnH2, CommitsAndRollsBack) {
  run("create table t (a int)");
  AdbcClient other(client);
  EXPECT_EQ(call(&AdbcDriver::ConnectionCommit, &client.connection).status, ADBC_STATUS_INVALID_STATE);
  EXPECT_TRUE(client.set("adbc.connection.autocommit", "false"));
  run("insert into t values (1)");
  EXPECT_TRUE(call(&AdbcDriver::ConnectionRollback, &client.connection));
  run("insert into t values (2)");
  EXPECT_EQ(rowsOf(other, "select a from t"), "");
  EXPECT_TRUE(call(&AdbcDriver::ConnectionCommit, &client.connection));
  EXPECT_EQ(rowsOf(other, "select a from t"), "<2>");
  run("create table kept_by_itself (a int)");
  const Outcome undone = call(&AdbcDriver::ConnectionRollback, &client.connection);
  EXPECT_TRUE(undone) << undone;
  run("insert into t values (3)");
  EXPECT_TRUE(client.set("adbc.connection.autocommit", "true"));
  EXPECT_EQ(rowsOf(other, "select a from t"), "<2><3>");
}

TEST_F(AdbcOnH2, DescribesTheDatabase) {
  run("create table parent (id int primary key, name varchar(20) not null)");
  run("create table child (id int references parent (id))");
  Held<ArrowArrayStream> info;
  const std::uint32_t codes[] = {0, 103, 999};
  EXPECT_TRUE(call(&AdbcDriver::ConnectionGetInfo, &client.connection, codes, std::size_t{3}, &info));
  EXPECT_EQ(countRows(info), 2);
  Held<ArrowArrayStream> types;
  EXPECT_TRUE(call(&AdbcDriver::ConnectionGetTableTypes, &client.connection, &types));
  EXPECT_EQ(Batch(types).at(0), "BASE TABLE");
  Held<ArrowArrayStream> objects;
  const char* onlyTables[] = {"BASE TABLE", nullptr};
  EXPECT_TRUE(call(&AdbcDriver::ConnectionGetObjects, &client.connection, 0, nullptr, "PUBLIC", "CHI%", onlyTables,
                   nullptr, &objects));
  const Batch catalogs(objects);
  ASSERT_EQ(catalogs.rows.length, 1);
  const auto child = [](const ArrowArray& of, int index) -> const ArrowArray& { return *of.children[index]; };
  const ArrowArray& tables = child(child(child(child(catalogs.rows, 1), 0), 1), 0);
  ASSERT_EQ(tables.length, 1);
  EXPECT_EQ(child(child(child(tables, 2), 0), 0).length, 1) << "one column";
  EXPECT_EQ(child(child(tables, 3), 0).length, 1) << "one foreign key";

  Held<ArrowSchema> table;
  EXPECT_TRUE(call(&AdbcDriver::ConnectionGetTableSchema, &client.connection, nullptr, nullptr, "PARENT", &table));
  ASSERT_EQ(table.n_children, 2);
  EXPECT_STREQ(table.children[1]->name, "NAME");
  Held<ArrowSchema> none;
  EXPECT_EQ(call(&AdbcDriver::ConnectionGetTableSchema, &client.connection, nullptr, nullptr, "NO_SUCH", &none).status,
            ADBC_STATUS_NOT_FOUND);
}

TEST_F(AdbcOnH2, EndsWhatRunsWhenCancelled) {
  AdbcQuery query(client, "select x from system_range(1, 1000000000000)");
  Held<ArrowArrayStream> rows;
  ASSERT_TRUE(query.execute(&rows));
  std::atomic<bool> done{false};
  std::thread canceller([&] {
    while (!done) {
      EXPECT_TRUE(call(&AdbcDriver::StatementCancel, &query.statement));
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  int code = 0;
  while (code == 0) {
    Held<ArrowArray> batch;
    code = rows.get_next(&rows, &batch);
    ASSERT_TRUE(code != 0 || batch.release != nullptr);
  }
  done = true;
  canceller.join();
  AdbcStatusCode status = ADBC_STATUS_OK;
  ASSERT_NE(adbc().ErrorFromArrayStream(&rows, &status), nullptr);
  EXPECT_EQ(status, ADBC_STATUS_CANCELLED);
  EXPECT_EQ(rowsOf(client, "select 1"), "<1>");
}

TEST_F(AdbcOnH2, StreamsOutliveTheirStatementAndConnection) {
  Held<ArrowArrayStream> rows;
  Held<ArrowArray> first;
  {
    AdbcClient gone(h2("gone"));
    AdbcQuery query(gone, "select x from system_range(1, 100)");
    EXPECT_TRUE(query.set("adbc.jdbc.batch_rows", "1"));
    EXPECT_TRUE(query.execute(&rows));
    EXPECT_EQ(rows.get_next(&rows, &first), 0);
  }
  EXPECT_NE(Batch(rows).failure, "");
  std::thread([&] {
    first.release(&first);
    rows.release(&rows);
  }).join();
}

TEST_F(AdbcOnH2, ServesEightThreadsWithAConnectionEach) {
  constexpr int kThreads = 8;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  std::atomic<int> right{0};
  for (int own = 0; own < kThreads; ++own) {
    threads.emplace_back([&, own] {
      AdbcClient mine(h2("threads" + std::to_string(own)));
      const std::string sum = "select sum(x) from system_range(1, " + std::to_string(1000 + own) + ")";
      const int expected = (1000 + own) * (1001 + own) / 2;
      for (int time = 0; time < 20; ++time) right += rowsOf(mine, sum.c_str()) == '<' + std::to_string(expected) + '>';
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, kThreads * 20);
}

TEST_F(AdbcOnH2, RefusesToWorkInAForkedProcess) {
  AdbcQuery query(client, "select 1");
  Held<ArrowArrayStream> rows;
  ASSERT_TRUE(query.execute(&rows));
  const pid_t child = fork();
  if (child == 0) {
    ArrowArray batch{};
    const bool refused = query.execute().status == ADBC_STATUS_INVALID_STATE && rows.get_next(&rows, &batch) == EIO &&
                         call(&AdbcDriver::ConnectionCancel, &client.connection).status == ADBC_STATUS_INVALID_STATE;
    rows.release(&rows);
    _exit(refused ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(textOf(rows), "<1>");
}

TEST(AdbcDatabase, SaysWhyItCannotBeReached) {
  const std::string driver = "adbc.jdbc.driver_path";
  const struct {
    Options options;
    AdbcStatusCode status;
    const char* piece;
  } rows[] = {
      {{{"uri", "jdbc:h2:mem:x"}}, ADBC_STATUS_INVALID_ARGUMENT, "no driver found"},
      {{{"uri", "h2:mem:x"}, {driver, "/no/such.jar"}}, ADBC_STATUS_INVALID_ARGUMENT, "/no/such.jar"},
      {{{"uri", "h2:mem:x"}, {driver, KIVO_H2}, {"adbc.jdbc.driver_class", "no.such.Driver"}},
       ADBC_STATUS_INVALID_ARGUMENT,
       "no.such.Driver"},
      {{{"uri", "derby:memory:x;nonsense;password=secret"}, {driver, KIVO_DERBY}}, ADBC_STATUS_INVALID_ARGUMENT, ""},
      {{{"uri", "h2:tcp://127.0.0.1:1/x"}, {"username", "nobody"}, {"password", "secret"}, {driver, KIVO_H2}},
       ADBC_STATUS_IO,
       ""},
  };
  for (const auto& [options, status, piece] : rows) {
    const AdbcClient client(options);
    EXPECT_EQ(client.opened.status, status) << client.opened;
    EXPECT_NE(client.opened.text.find(piece), std::string::npos) << client.opened;
    EXPECT_EQ(client.opened.text.find("secret"), std::string::npos) << client.opened;
  }
}

TEST(AdbcDatabase, TakesTheDriverAndItsPropertiesByName) {
  const AdbcClient named(Options{{"uri", "h2:mem:x"},
                                 {"adbc.jdbc.driver_path", KIVO_H2},
                                 {"adbc.jdbc.driver_class", "org.h2.Driver"},
                                 {"adbc.jdbc.property.DB_CLOSE_DELAY", "0"}});
  EXPECT_TRUE(named.opened) << named.opened;
}

}  // namespace
}  // namespace kivo::test
