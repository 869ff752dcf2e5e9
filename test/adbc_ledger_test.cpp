// The ADBC driver when a call of the Java VM, or an allocation, fails: nothing is left over, and each failure is told.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "adbc_client.h"
#include "arrow_source.h"

namespace kivo::test {
namespace {

Options h2() { return {{"uri", "jdbc:h2:mem:ledger;DB_CLOSE_DELAY=-1"}, {"adbc.jdbc.property.MODE", "PostgreSQL"}}; }

/// A call of the driver ended well, or with a fault that was planned.
void expectTold(const Outcome& outcome) {
  EXPECT_TRUE(outcome || JniLedger::faultFired()) << outcome;
  // Without memory for a text, the status has to do.
  EXPECT_TRUE(outcome || !outcome.text.empty() || outcome.status == ADBC_STATUS_INTERNAL) << outcome;
}

/// For the whole process: the driver keeps the jar's classes.
JniLedger& ledger() {
  static JniLedger only;
  return only;
}

void connect(const Armed& armed) {
  AdbcDatabase database{};
  AdbcConnection connection{};
  ASSERT_TRUE(call(&AdbcDriver::DatabaseNew, &database));
  ASSERT_TRUE(call(&AdbcDriver::ConnectionNew, &connection));
  for (const auto& [name, value] : h2()) {
    ASSERT_TRUE(call(&AdbcDriver::DatabaseSetOption, &database, name.c_str(), value.c_str()));
  }
  ASSERT_TRUE(call(&AdbcDriver::ConnectionSetOption, &connection, "adbc.connection.autocommit", "false"));
  armed([&] {
    const Outcome opened = call(&AdbcDriver::DatabaseInit, &database);
    expectTold(opened);
    if (opened) expectTold(call(&AdbcDriver::ConnectionInit, &connection, &database));
  });
  EXPECT_TRUE(call(&AdbcDriver::ConnectionRelease, &connection));
  EXPECT_TRUE(call(&AdbcDriver::DatabaseRelease, &database));
}

/// The first use of the driver in this process.
TEST(AdbcDriver, LoadsTheJar) { EXPECT_GT(sweepFaults(ledger(), Fault::kThrowBefore, connect), 20); }

TEST(AdbcDriver, Connects) { EXPECT_GT(sweepAll(ledger(), connect), 100); }

class AdbcLedger : public testing::Test {
 protected:
  AdbcLedger() : client(h2()) { EXPECT_TRUE(client.opened) << client.opened; }

  /// What the operation does with a statement, armed.
  template <class Use>
  int sweep(const char* sql, Use use) {
    return sweepAll(ledger(), [&](const Armed& armed) {
      AdbcQuery query(client, sql);
      armed([&] { use(query); });
    });
  }

  AdbcClient client;
};

TEST_F(AdbcLedger, ReadsRows) {
  const int points = sweep("select x, 'text' from system_range(1, 3)", [](AdbcQuery& query) {
    Held<ArrowArrayStream> rows;
    const Outcome outcome = query.execute(&rows);
    expectTold(outcome);
    if (!outcome) return;
    const std::optional<std::int64_t> count = countRows(rows);
    EXPECT_TRUE(count == 3 || JniLedger::faultFired());
  });
  EXPECT_GT(points, 100);
}

TEST_F(AdbcLedger, StoresBoundRowsWholeOrNotAtAll) {
  ASSERT_EQ(rowsOf(client, "create table kept (a varchar(9))"), "");
  const auto store = [&](AdbcQuery& query) {
    OneValue word("u", std::int64_t{3} << 32);  // two offsets: 0 and 3
    word.array.n_buffers = 3;
    word.buffers[2] = "one";
    OneValue index("c", 0);
    index.column.name = "A";
    index.column.dictionary = &word.column;
    index.array.dictionary = &word.array;
    const Outcome bound = query.bind(index.schema, index.rows);
    expectTold(bound);
    if (bound) expectTold(query.execute());
  };
  const auto storeWith = [&](auto make) {
    return sweepAll(ledger(), [&](const Armed& armed) {
      {
        auto query = make();
        armed([&] { store(*query); });
      }
      const std::string count = rowsOf(client, "select count(*) from kept where a = 'one'");
      EXPECT_TRUE(count == "<1>" || (count == "<0>" && JniLedger::faultFired())) << count;
      EXPECT_EQ(rowsOf(client, "delete from kept"), "");
    });
  };
  const int points = storeWith([&] { return std::make_unique<AdbcQuery>(client, "insert into kept values (?)"); }) +
                     storeWith([&] { return std::make_unique<AdbcIngestion>(client, "KEPT", "append"); });
  EXPECT_GT(points, 200);
}

TEST_F(AdbcLedger, DescribesTheDatabase) {
  const char* types[] = {"BASE TABLE", nullptr};
  const std::uint32_t codes[] = {0, 1};
  const auto list = [&](auto function, auto... arguments) {
    Held<ArrowArrayStream> rows;
    const Outcome outcome = call(function, &client.connection, arguments..., &rows);
    expectTold(outcome);
    EXPECT_TRUE(!outcome || countRows(rows) || JniLedger::faultFired());
  };
  const int points = sweepAll(ledger(), [&] {
    list(&AdbcDriver::ConnectionGetInfo, codes, std::size_t{2});
    list(&AdbcDriver::ConnectionGetObjects, 0, nullptr, "PUBLIC", "%", types, nullptr);
    list(&AdbcDriver::ConnectionGetTableTypes);
    Held<ArrowSchema> schema;
    expectTold(call(&AdbcDriver::ConnectionGetTableSchema, &client.connection, nullptr, "INFORMATION_SCHEMA", "TABLES",
                    &schema));
  });
  EXPECT_GT(points, 200);
}

TEST_F(AdbcLedger, PreparesAndTakesOptions) {
  const int points = sweep(nullptr, [&](AdbcQuery& query) {
    AdbcStatement& statement = query.statement;
    expectTold(call(&AdbcDriver::StatementSetSqlQuery, &statement, "select cast(? as int)"));
    Held<ArrowSchema> parameters;
    Held<ArrowSchema> columns;
    const Outcome prepared = call(&AdbcDriver::StatementPrepare, &statement);
    expectTold(prepared);
    if (prepared) expectTold(call(&AdbcDriver::StatementGetParameterSchema, &statement, &parameters));
    if (prepared) expectTold(call(&AdbcDriver::StatementExecuteSchema, &statement, &columns));
    expectTold(query.set("adbc.jdbc.batch_rows", "7"));
    char text[8];
    std::size_t size = sizeof text;
    expectTold(call(&AdbcDriver::StatementGetOption, &statement, "adbc.jdbc.batch_rows", text, &size));
    expectTold(call(&AdbcDriver::StatementCancel, &statement));
    AdbcConnection* const connection = &client.connection;
    if (const Outcome begun = client.set("adbc.connection.autocommit", "false"); begun) {
      expectTold(call(&AdbcDriver::ConnectionCommit, connection));
      expectTold(call(&AdbcDriver::ConnectionRollback, connection));
    }
    size = sizeof text;
    expectTold(call(&AdbcDriver::ConnectionGetOption, connection, "adbc.connection.autocommit", text, &size));
    expectTold(client.set("adbc.connection.autocommit", "true"));
  });
  EXPECT_GT(points, 100);
}

}  // namespace
}  // namespace kivo::test
