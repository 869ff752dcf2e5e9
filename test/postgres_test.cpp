#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "JdbcUtils.h"
#include "jni_ledger.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Text = std::optional<std::string>;

Text column(JdbcUtils& utils, unsigned long number) {
  char* value = nullptr;
  EXPECT_TRUE(utils.getColumn(number, value));
  Text text;
  if (value != nullptr) text = value;
  std::free(value);
  return text;
}

/// One server for the binary, with an object connected to it.
class Postgres : public testing::Test {
 protected:
  static void SetUpTestSuite() { server = new TestServer("postgres"); }
  static void TearDownTestSuite() {
    delete server;
    server = nullptr;
  }
  void SetUp() override { ASSERT_EQ(connect(utils), ""); }
  void TearDown() override { utils.closeConnection(); }

  /// @return the error text, empty on success.
  static std::string connect(JdbcUtils& object, std::string password = server->password) {
    std::string type = "postgresql";
    std::string empty;
    std::string url;
    std::string field;
    std::string error = "untouched";
    EXPECT_TRUE(object.javaInit());
    EXPECT_TRUE(object.setUrl(type, server->host, server->port, server->database, empty, url, field, error));
    object.getConnection(server->user, password, error);
    return error;
  }

  void query(const std::string& text) {
    std::string sql = text;
    ASSERT_TRUE(utils.executeQuery(sql, 0)) << sql;
  }

  int update(const std::string& text) {
    std::string sql = text;
    EXPECT_TRUE(utils.getStatement());
    return utils.executeUpdate(sql);
  }

  static inline TestServer* server = nullptr;
  JdbcUtils utils;
};

TEST_F(Postgres, ReadsEveryTypeAsText) {
  const struct {
    const char* value;
    int type;
    Text expected;
  } rows[] = {
      {"32767::int2", 5, "32767"},
      {"(-2147483648)::int4", 4, "-2147483648"},
      {"9223372036854775807::int8", -5, "9223372036854775807"},
      {"0.1::float8", 8, "0.1"},
      {"'NaN'::float4", 7, "NaN"},
      {"1234567890123456789012345.000100::numeric", 2, "1234567890123456789012345.000100"},
      {"true", -7, "t"},
      {"''::text", 12, ""},
      {"null::text", 12, std::nullopt},
      {"null::date", 91, std::nullopt},
      {"'2024-02-29'::varchar(10)", 12, "2024-02-29"},
      {"' a  '::char(4)", 1, " a  "},
      {"'Grüße, мир'", 12, "Grüße, мир"},
      {"'x' || chr(128512) || 'y'", 12, "x\xED\xA0\xBD\xED\xB8\x80y"},
      {"'\\xcafe'::bytea", -2, "\\xcafe"},
      {"'{1,2,null}'::int[]", 2003, "{1,2,NULL}"},
      {"'{\"a\": [1, null]}'::json", 1111, "{\"a\": [1, null]}"},
      {"'7b1f4dd8-4f4e-4c2e-9c39-0f3c8f0b2a10'::uuid", 1111, "7b1f4dd8-4f4e-4c2e-9c39-0f3c8f0b2a10"},
      {"repeat('k', 100000)", 12, std::string(100000, 'k')},
  };
  std::string sql = "select 0";
  for (const auto& row : rows) sql += std::string(", ") + row.value;
  query(sql);
  ASSERT_TRUE(utils.next());
  unsigned long number = 1;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    ++number;
    EXPECT_EQ(column(utils, number), row.expected);
    EXPECT_EQ(utils.columnTypes[number - 1], row.type);
  }
  EXPECT_FALSE(utils.next());
}

TEST_F(Postgres, SendsTextWithoutLosingItsEnd) {
  // A four-byte character and a malformed byte before the condition that the result depends on.
  query("select 'x\xF0\x9F\x98\x80\xFFy' where 1 = 2");
  EXPECT_FALSE(utils.next());
  query("select 'x\xF0\x9F\x98\x80\xFFy' where 1 = 1");
  ASSERT_TRUE(utils.next());
  EXPECT_EQ(column(utils, 1), "x\xED\xA0\xBD\xED\xB8\x80\xC3\xBFy");
}

TEST_F(Postgres, CountsRowsAroundTheFetchSize) {
  for (const bool autoCommit : {true, false}) {
    ASSERT_TRUE(utils.setAutoCommit(autoCommit));
    for (const int rows : {0, 1, 127, 128, 129, 65536}) {
      query("select g, 'r' || g from generate_series(1, " + std::to_string(rows) + ") g");
      int read = 0;
      bool right = true;
      for (; utils.next(); ++read) right = right && column(utils, 2) == "r" + std::to_string(read + 1);
      EXPECT_EQ(read, rows) << autoCommit;
      EXPECT_TRUE(right) << rows;
    }
  }
  std::string sql = "select generate_series(1, 10)";
  ASSERT_TRUE(utils.executeQuery(sql, 3));
  int limited = 0;
  while (utils.next()) ++limited;
  EXPECT_EQ(limited, 3);
}

TEST_F(Postgres, BatchIsAllOrNothing) {
  ASSERT_EQ(update("drop table if exists b"), 0);
  ASSERT_EQ(update("create table b (id int primary key)"), 0);
  const auto batch = [this](std::vector<std::string> statements, int* counts) {
    for (std::string& sql : statements) EXPECT_EQ(utils.addToBatch(sql), 0);
    return utils.executeBatch(counts);
  };
  int counts[3] = {9, 9, 9};
  EXPECT_EQ(
      batch({"insert into b values (1), (2)", "delete from b where id = 1", "delete from b where id = 7"}, counts), 3);
  EXPECT_EQ(std::vector<int>(counts, counts + 3), (std::vector<int>{2, 1, 0}));
  EXPECT_TRUE(utils.autoCommit);

  int untouched[3] = {9, 9, 9};
  const StderrCapture capture;
  EXPECT_EQ(batch({"insert into b values (3)", "insert into b values (2)", "insert into b values (4)"}, untouched), -1);
  EXPECT_EQ(std::vector<int>(untouched, untouched + 3), (std::vector<int>{9, 9, 9}));
  EXPECT_NE(capture.text().find("duplicate key"), std::string::npos);
  EXPECT_TRUE(utils.autoCommit);
  EXPECT_EQ(server->sql("select string_agg(id::text, ' ') from b"), "2");

  // The connection is not left inside a failed transaction.
  EXPECT_EQ(update("insert into b values (5)"), 1);
  EXPECT_EQ(server->sql("select count(*) from b"), "2");
}

TEST_F(Postgres, SaysWhyItCannotConnect) {
  const StderrCapture capture;
  JdbcUtils other;
  EXPECT_EQ(connect(other, "wrong"), "getConnection() -- the getConnection() failed.");
  EXPECT_NE(capture.text().find("password authentication failed"), std::string::npos);
  EXPECT_EQ(connect(other), "");
  other.closeConnection();

  JdbcUtils oracle;
  ASSERT_TRUE(oracle.javaInit());
  oracle.vendor = "oracle";
  std::string none;
  std::string error = "untouched";
  EXPECT_FALSE(oracle.getConnection(none, none, error));
  EXPECT_EQ(error, "untouched");
  EXPECT_NE(capture.text().find("oracle/jdbc/pool/OracleDataSource"), std::string::npos);
  EXPECT_EQ(capture.text().find("wrong"), std::string::npos) << "a password was printed";
}

TEST_F(Postgres, ListsTablesBesideAnOpenQuery) {
  ASSERT_GE(update("drop table if exists \"Été\"; create table \"Été\" (id int); create or replace view v as select 1"),
            0);
  query("select generate_series(1, 3)");
  ASSERT_TRUE(utils.next());
  std::vector<std::string> tables = {"before"};
  EXPECT_TRUE(utils.getTables(tables));
  EXPECT_EQ(tables.front(), "before");
  EXPECT_NE(std::find(tables.begin(), tables.end(), "Été"), tables.end());
  EXPECT_EQ(std::find(tables.begin(), tables.end(), "v"), tables.end());
  EXPECT_TRUE(utils.next());
  EXPECT_EQ(column(utils, 1), "2");
}

TEST_F(Postgres, SurvivesAServerThatGoesAwayInMidFetch) {
  ASSERT_TRUE(utils.setAutoCommit(false));
  query("select generate_series(1, 100000)");
  for (int row = 0; row < 200; ++row) ASSERT_TRUE(utils.next());
  server->killBackends();

  const StderrCapture capture;
  int more = 0;
  while (utils.next()) ++more;
  EXPECT_LE(more, 128) << "rows came that were not fetched";
  std::string sql = "select 1";
  EXPECT_FALSE(utils.executeQuery(sql, 0));
  EXPECT_NE(capture.text().find("PSQLException"), std::string::npos);
  utils.closeConnection();
  EXPECT_EQ(utils.connection, nullptr);

  ASSERT_EQ(connect(utils), "");
  query("select 42");
  ASSERT_TRUE(utils.next());
  EXPECT_EQ(column(utils, 1), "42");
}

TEST_F(Postgres, StreamsMoreThanTheHeapHolds) {
  ASSERT_STREQ(std::getenv("KIVO_TEST_HEAP_MB"), "64") << "the rows would fit a larger heap";
  ASSERT_TRUE(utils.setAutoCommit(false));
  query("select g, repeat('v', 60) from generate_series(1, 2000000) g");
  long rows = 0;
  long sum = 0;
  for (; utils.next(); ++rows) {
    char* value = nullptr;
    if (!utils.getColumn(1, value) || value == nullptr) break;
    sum += std::strtol(value, nullptr, 10);
    std::free(value);
  }
  EXPECT_EQ(rows, 2000000);
  EXPECT_EQ(sum, 2000000L * 2000001 / 2);
}

TEST_F(Postgres, AResultLargerThanTheHeapFailsAndTheProcessLives) {
  const StderrCapture capture;
  std::string sql = "select repeat('v', 1000) from generate_series(1, 200000)";
  EXPECT_FALSE(utils.executeQuery(sql, 0));
  EXPECT_NE(capture.text().find("OutOfMemoryError"), std::string::npos);
  utils.closeConnection();
  ASSERT_EQ(connect(utils), "");
  query("select 1");
  EXPECT_TRUE(utils.next());
}

TEST_F(Postgres, EightThreadsReadSideBySide) {
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([number, &right] {
      JdbcUtils own;
      if (!connect(own).empty()) return;
      std::string sql = "select g * " + std::to_string(number) + " from generate_series(1, 5000) g";
      long sum = 0;
      for (bool more = own.executeQuery(sql, 0) && own.next(); more; more = own.next()) {
        sum += std::stol(column(own, 1).value_or("0"));
      }
      own.closeConnection();
      if (sum == number * 5000L * 5001 / 2) ++right;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 8);
}

TEST_F(Postgres, AMillionCellsLeaveNoReference) {
  utils.closeConnection();
  JniLedger ledger;
  ledger.setTraceLimit(0);
  {
    JdbcUtils judged;
    ASSERT_EQ(connect(judged), "");
    ASSERT_TRUE(judged.setAutoCommit(false));
    std::string sql = "select g, 'text', date '2024-02-29', null from generate_series(1, 250000) g";
    ASSERT_TRUE(judged.executeQuery(sql, 0));
    const int globals = ledger.liveGlobals();
    long cells = 0;
    while (judged.next()) {
      for (unsigned long number = 1; number <= 4; ++number, ++cells) column(judged, number);
    }
    EXPECT_EQ(cells, 1000000);
    EXPECT_EQ(ledger.liveLocals(), 0);
    EXPECT_EQ(ledger.liveCharacters(), 0);
    EXPECT_EQ(ledger.liveGlobals(), globals);
    EXPECT_LE(ledger.maxLocals(), 8);

    // Failing calls: a statement that the server refuses, and a value of the result that it closed.
    const StderrCapture quiet;
    std::string wrong = "no statement";
    for (int failure = 0; failure < 1000; ++failure) EXPECT_EQ(judged.executeUpdate(wrong), -1);
    char* value = nullptr;
    for (int failure = 0; failure < 100000; ++failure) {
      EXPECT_TRUE(judged.getColumn(1, value) && value == nullptr && ledger.exceptionPending());
      ledger.clearException();
    }
    judged.closeConnection();
  }
  EXPECT_EQ(ledger.complaint(), "");
}

}  // namespace
}  // namespace kivo::test
