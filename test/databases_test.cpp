#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JavaVmHost.h"
#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

std::string kBridgeClass = "com/ulvanejdbc/JdbcConnection";

/// A bridge that is connected while it lives.
struct ConnectedBridge : JavaConnectionUtils {
  explicit ConnectedBridge(const Database& database, const std::string& sql = "") : JavaConnectionUtils(kBridgeClass) {
    std::vector<std::string> names = {"url", "user", "password", "query"};
    std::vector<std::string> values = {database.url, database.user, database.password, sql};
    EXPECT_TRUE(javaInit() && setParams(names, values) && makeConnection());
  }
  /// A host may leave it to the garbage collector; native memory of a driver would count as leaked until then.
  ~ConnectedBridge() {
    const jclass type = env->GetObjectClass(connectionObject);
    env->CallVoidMethod(connectionObject, env->GetMethodID(type, "close", "()V"));
    EXPECT_FALSE(env->ExceptionCheck());
    env->DeleteLocalRef(type);
  }
  ConnectedBridge(const ConnectedBridge&) = delete;
  ConnectedBridge& operator=(const ConnectedBridge&) = delete;
};

TEST_P(Databases, RowsAreCountedNamedAndLimited) {
  recreate("numbered", "id int primary key, name varchar(20)");
  std::vector<std::string> inserts;
  for (int id = 1; id <= 300; ++id) {
    inserts.push_back("insert into numbered values (" + std::to_string(id) + ", 'n" + std::to_string(id) + "')");
  }
  ASSERT_EQ(batch(inserts), 300) << wrapper.errorMessage;
  EXPECT_EQ(update("update numbered set name = null where id <= 2"), 2);

  query("select id as \"number\", name as \"label\" from numbered order by id");
  EXPECT_EQ(wrapper.getNumColumns(), 2);
  std::string name;
  int type = 0;
  EXPECT_TRUE(wrapper.getColumnInfo(2, name, type));
  EXPECT_EQ(name, "label");
  EXPECT_EQ(type, 12);
  int row = 0;
  while (wrapper.next()) {
    ++row;
    EXPECT_EQ(column(1), std::to_string(row));
    EXPECT_EQ(column(2), row <= 2 ? Text() : Text("n" + std::to_string(row)));
  }
  EXPECT_EQ(row, 300);
  EXPECT_EQ(wrapper.errorState, 0) << wrapper.errorMessage;

  ASSERT_TRUE(wrapper.executeQuery("select id from numbered", 7));
  int limited = 0;
  while (wrapper.next()) ++limited;
  EXPECT_EQ(limited, 7);
}

TEST_P(Databases, ErrorsCarryTheDriversTextAndTheStateOfTheObject) {
  recreate("after_errors", "id int");
  const auto expectError = [this](int state) {
    EXPECT_EQ(wrapper.errorState, state) << wrapper.errorMessage;
    EXPECT_NE(wrapper.errorMessage, "");
  };
  for (const char* sql : {"select * from nowhere", "", " "}) {
    SCOPED_TRACE(sql);
    EXPECT_FALSE(wrapper.executeQuery(sql, 0));
    expectError(1);
  }
  EXPECT_LT(wrapper.executeUpdate("this is no statement"), 0);
  expectError(1);
  char* value = nullptr;
  EXPECT_FALSE(wrapper.getColumn(99, value));
  EXPECT_EQ(value, nullptr);
  expectError(2);
  wrapper.executeQuery("-- nothing", 0);  // Not an error everywhere.
  EXPECT_EQ(only("select count(*) from after_errors"), "0");
}

TEST_P(Databases, UserTablesAreListedAndNothingElse) {
  recreate("listed", "id int");
  wrapper.executeUpdate("drop view seen");
  update("create view seen as select id from listed");
  for (const char* id : {"1", "2"}) update(std::string("insert into listed values (") + id + ")");
  query("select id from listed order by id");
  EXPECT_TRUE(wrapper.next());
  std::vector<std::string> tables = {"gone"};
  ASSERT_TRUE(wrapper.getTables(tables)) << wrapper.errorMessage;
  EXPECT_TRUE(wrapper.next()) << "the listing ended the rows being read";
  EXPECT_EQ(column(1), "2");
  const auto has = [&tables](std::string name) {
    return std::any_of(tables.begin(), tables.end(), [&name](const std::string& table) {
      return std::equal(table.begin(), table.end(), name.begin(), name.end(),
                        [](char left, char right) { return std::tolower(left) == std::tolower(right); });
    });
  };
  EXPECT_TRUE(has("listed"));
  for (const char* other : {"seen", "gone", "SYSTABLES", "sqlite_master", "pg_class", "USERS", "TABLES", "user"}) {
    EXPECT_FALSE(has(other)) << other;
  }
  update("drop view seen");
}

TEST_P(Databases, TheBridgesClassDiscoversATableByItsVeryName) {
  const std::vector<std::string> types[] = {{"INTEGER", "CHARACTER VARYING"},
                                            {"INTEGER", "VARCHAR"},
                                            {"INTEGER", "VARCHAR"},
                                            {"INT", "VARCHAR(9)"},
                                            {"INT", "VARCHAR"},
                                            {"int4", "varchar"}};
  const std::string quote = database.word == "mariadb" ? "`" : "\"";
  ConnectedBridge bridge(database);
  for (std::string table : {"plain", "under_score", "back\\slash", "per%cent", "a\\_%b"}) {
    SCOPED_TRACE(table);
    recreate(quote + table + quote, quote + "id" + quote + " int, " + quote + "Text" + quote + " varchar(9)");
    std::vector<std::string> columns;
    std::vector<std::string> found;
    EXPECT_TRUE(bridge.discoverTable(table, columns, found));
    EXPECT_EQ(columns, (std::vector<std::string>{"id", "Text"}));
    EXPECT_EQ(found, types[GetParam()]);
    update("drop table " + quote + table + quote);
  }
}

TEST_P(Databases, LargeTextComesWhole) {
  const char* const types[] = {"clob", "clob", "clob", "text", "longtext", "text"};
  // Derby takes up to 32 kB in quotes, SQLite a statement of up to a million bytes.
  const std::string large(database.word == "derby" ? 30000 : 999000, 'x');
  recreate("large", std::string("t ") + types[GetParam()]);
  update("insert into large values ('" + large + "')");
  const std::string read = only("select t from large").value_or("");
  EXPECT_TRUE(read == large) << read.size() << " bytes: " << read.substr(0, 200);
  update("drop table large");
}

/// Adds up the first column of a query's rows.
template <class Source>
long sum(Source& source) {
  long total = 0;
  for (char* value = nullptr; source.next() && source.getColumn(1, value); std::free(value)) {
    total += value == nullptr ? 0 : std::strtol(value, nullptr, 10);
  }
  return total;
}

TEST_P(Databases, EightThreadsReadAtOnceThroughTwoClasses) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 20;
  recreate("shared", "id int");
  batch(std::vector<std::string>(100, "insert into shared values (1)"));
  std::atomic<int> right{0};
  const auto work = [&](int number) {
    const std::string sql = "select id * " + std::to_string(number) + " from shared";
    ConnectedWrapper own(database);
    ConnectedBridge bridge(database, sql);
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_TRUE(own.query(sql) && bridge.query()) << own.errorMessage;
      if (sum(own) == 100L * number && sum(bridge) == 100L * number) ++right;
    }
  };
  std::vector<std::thread> threads;
  for (int number = 1; number <= kThreads; ++number) {
    threads.emplace_back([&work, number] {
      work(number);
      _globaljvm->DetachCurrentThread();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, kThreads * kRounds);
}

INSTANTIATE_TEST_SUITE_P(Each, Databases, testing::Range(0, 6), nameOf);

TEST(Streaming, ResultsLargerThanTheHeapAreReadRowByRow) {
  ASSERT_STREQ(std::getenv("KIVO_TEST_HEAP_MB"), "64") << "the rows would fit a larger heap";
  const std::pair<const char*, const char*> rows[] = {
      {"postgresql", "select g, repeat('v', 60) from generate_series(1, 2000000) g"},
      {"h2", "select x, repeat('v', 60) from system_range(1, 2000000)"},
      {"mariadb", "select seq, repeat('v', 60) from seq_1_to_2000000"},
  };
  for (const auto& [word, sql] : rows) {
    SCOPED_TRACE(word);
    ConnectedWrapper wrapper(database(word));
    ASSERT_TRUE(wrapper.query(sql)) << wrapper.errorMessage;
    EXPECT_EQ(sum(wrapper), 2000000L * 2000001 / 2);
    EXPECT_EQ(wrapper.errorState, 0) << wrapper.errorMessage;
  }
}

TEST(Sqlite, ACellIsReadByItsOwnTypeWhateverTheFirstRowHolds) {
  ConnectedWrapper wrapper(database("sqlite"));
  const auto cellsAfterFirst = [&wrapper](const std::string& sql) {
    EXPECT_TRUE(wrapper.query(sql)) << wrapper.errorMessage;
    std::string cells;
    for (wrapper.next(); wrapper.next();) cells += cell(wrapper, 1).value_or("null") + ' ';
    return cells;
  };
  for (const char* first : {"'text'", "7", "1.5", "null", "x'0a'"}) {
    SCOPED_TRACE(first);
    EXPECT_EQ(cellsAfterFirst(std::string("select ") + first +
                              " union all select x'00ff41' union all select 'n' union all select 1e-9"),
              "00ff41 n 1.0e-09 ");
  }
  for (const char* type : {"date", "timestamp"}) {
    SCOPED_TRACE(type);
    wrapper.executeUpdate("drop table dated");
    ASSERT_EQ(wrapper.executeUpdate(std::string("create table dated (d ") + type + ")"), 0);
    ASSERT_EQ(wrapper.executeUpdate("insert into dated values ('2024-02-29'), (x'00ff41'), ('n'), (1709164800000)"), 4);
    EXPECT_EQ(cellsAfterFirst("select d from dated"),
              std::string("00ff41 n 2024-02-29") + (type[0] == 'd' ? " " : " 00:00:00 "));
  }
}

}  // namespace
}  // namespace kivo::test
