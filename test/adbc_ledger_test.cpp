// The ADBC driver when a call of the Java VM, or an allocation, fails: nothing is left over, and each failure is told.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "adbc_client.h"
#include "jni_ledger.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

constexpr Fault kFaults[] = {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter,
                             Fault::kAllocation};

Options h2() { return {{"uri", "jdbc:h2:mem:ledger;DB_CLOSE_DELAY=-1"}, {"adbc.jdbc.property.MODE", "PostgreSQL"}}; }

/// Runs an operation, with each call of it failing in turn. @return how many calls could fail.
template <class Operation>
int sweepAll(JniLedger& ledger, Operation operation) {
  const int globals = ledger.liveGlobals();
  int points = 0;
  for (const Fault fault : kFaults) {
    for (const bool lasting : {false, true}) points += sweepFaults(ledger, fault, operation, lasting);
    EXPECT_EQ(ledger.liveGlobals(), globals);
  }
  return points;
}

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
  ASSERT_TRUE(call(adbc(), adbc().DatabaseNew, &database));
  ASSERT_TRUE(call(adbc(), adbc().ConnectionNew, &connection));
  for (const auto& [name, value] : h2()) {
    ASSERT_TRUE(call(adbc(), adbc().DatabaseSetOption, &database, name.c_str(), value.c_str()));
  }
  ASSERT_TRUE(call(adbc(), adbc().ConnectionSetOption, &connection, "adbc.connection.autocommit", "false"));
  armed([&] {
    const Outcome opened = call(adbc(), adbc().DatabaseInit, &database);
    expectTold(opened);
    if (opened) expectTold(call(adbc(), adbc().ConnectionInit, &connection, &database));
  });
  EXPECT_TRUE(call(adbc(), adbc().ConnectionRelease, &connection));
  EXPECT_TRUE(call(adbc(), adbc().DatabaseRelease, &database));
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

/// A column of numbers, and a dictionary's column of text.
struct Rows {
  Rows() {
    numbers.format = "i";
    numbers.name = "A";
    words.format = "c";
    words.name = "B";
    word.format = "u";
    words.dictionary = &word;
    schema.format = "+s";
    schema.n_children = rows.n_children = 2;
    schema.children = fields;
    numberArray.length = wordArray.length = rows.length = 2;
    numberArray.n_buffers = wordArray.n_buffers = 2;
    numberArray.buffers = numberBuffers;
    wordArray.buffers = indexBuffers;
    wordArray.dictionary = &dictionary;
    dictionary.length = 2;
    dictionary.n_buffers = 3;
    dictionary.buffers = textBuffers;
    rows.children = columns;
    schema.release = [](ArrowSchema* self) { self->release = nullptr; };
    rows.release = [](ArrowArray* self) { self->release = nullptr; };
  }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  const std::int32_t values[2] = {1, 2};
  const std::int8_t indices[2] = {1, 0};
  const std::int32_t offsets[3] = {0, 3, 6};
  const void* numberBuffers[2] = {nullptr, values};
  const void* indexBuffers[2] = {nullptr, indices};
  const void* textBuffers[3] = {nullptr, offsets, "onetwo"};
  ArrowSchema numbers{}, words{}, word{}, schema{};
  ArrowArray numberArray{}, wordArray{}, dictionary{}, rows{};
  ArrowSchema* fields[2] = {&numbers, &words};
  ArrowArray* columns[2] = {&numberArray, &wordArray};
};

TEST_F(AdbcLedger, StoresBoundRowsWholeOrNotAtAll) {
  {
    AdbcQuery create(client, "create table kept (a int, b varchar(9))");
    ASSERT_TRUE(create.execute());
  }
  const auto store = [&](AdbcQuery& query) {
    Rows rows;
    const Outcome bound = call(adbc(), adbc().StatementBind, &query.statement, &rows.rows, &rows.schema);
    expectTold(bound);
    if (bound) expectTold(query.execute());
  };
  const std::string stored[] = {"<0>", "<2>"};
  int points = 0;
  for (const bool ingests : {false, true}) {
    points += sweepAll(ledger(), [&](const Armed& armed) {
      AdbcQuery query(client, ingests ? nullptr : "insert into kept values (?, ?)");
      if (ingests) {
        ASSERT_TRUE(query.set("adbc.ingest.target_table", "KEPT"));
        ASSERT_TRUE(query.set("adbc.ingest.mode", "adbc.ingest.mode.append"));
      }
      armed([&] { store(query); });
      const std::string count = rowsOf(client, "select count(*) from kept");
      EXPECT_TRUE(count == stored[0] || count == stored[1]) << count;
      AdbcQuery clear(client, "delete from kept");
      EXPECT_TRUE(clear.execute());
    });
  }
  EXPECT_GT(points, 200);
}

TEST_F(AdbcLedger, DescribesTheDatabase) {
  const char* types[] = {"BASE TABLE", nullptr};
  const std::uint32_t codes[] = {0, 1};
  const auto list = [&](auto ask) {
    Held<ArrowArrayStream> rows;
    const Outcome outcome = ask(&static_cast<ArrowArrayStream&>(rows));
    expectTold(outcome);
    EXPECT_TRUE(!outcome || countRows(rows) || JniLedger::faultFired());
  };
  const AdbcDriver& driver = adbc();
  const int points = sweepAll(ledger(), [&] {
    list([&](ArrowArrayStream* out) {
      return call(driver, driver.ConnectionGetInfo, &client.connection, codes, std::size_t{2}, out);
    });
    list([&](ArrowArrayStream* out) {
      return call(driver, driver.ConnectionGetObjects, &client.connection, 0, nullptr, "PUBLIC", "%", types, nullptr,
                  out);
    });
    list([&](ArrowArrayStream* out) { return call(driver, driver.ConnectionGetTableTypes, &client.connection, out); });
    Held<ArrowSchema> schema;
    expectTold(call(driver, driver.ConnectionGetTableSchema, &client.connection, nullptr, "INFORMATION_SCHEMA",
                    "TABLES", &schema));
  });
  EXPECT_GT(points, 200);
}

TEST_F(AdbcLedger, PreparesAndTakesOptions) {
  const AdbcDriver& driver = adbc();
  const int points = sweep(nullptr, [&](AdbcQuery& query) {
    AdbcStatement& statement = query.statement;
    expectTold(call(driver, driver.StatementSetSqlQuery, &statement, "select cast(? as int)"));
    Held<ArrowSchema> parameters;
    Held<ArrowSchema> columns;
    const Outcome prepared = call(driver, driver.StatementPrepare, &statement);
    expectTold(prepared);
    if (prepared) expectTold(call(driver, driver.StatementGetParameterSchema, &statement, &parameters));
    if (prepared) expectTold(call(driver, driver.StatementExecuteSchema, &statement, &columns));
    expectTold(query.set("adbc.jdbc.batch_rows", "7"));
    char text[8];
    std::size_t size = sizeof text;
    expectTold(call(driver, driver.StatementGetOption, &statement, "adbc.jdbc.batch_rows", text, &size));
    expectTold(call(driver, driver.StatementCancel, &statement));
    AdbcConnection* const connection = &client.connection;
    if (const Outcome begun = client.set("adbc.connection.autocommit", "false"); begun) {
      expectTold(call(driver, driver.ConnectionCommit, connection));
      expectTold(call(driver, driver.ConnectionRollback, connection));
    }
    size = sizeof text;
    expectTold(call(driver, driver.ConnectionGetOption, connection, "adbc.connection.autocommit", text, &size));
    expectTold(client.set("adbc.connection.autocommit", "true"));
  });
  EXPECT_GT(points, 100);
}

}  // namespace
}  // namespace kivo::test
