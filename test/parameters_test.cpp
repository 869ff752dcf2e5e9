// Parameters bound in Arrow's layout, on real databases: what a typed result gives goes into another table as it is.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

#include "KivoArrow.h"
#include "arrow/environment.h"
#include "arrow/reader.h"
#include "arrow/stream.h"
#include "arrow_text.h"
#include "golden.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/numbers.h"
#include "prepared_query.h"
#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

using Parameters = Databases;

TEST_P(Parameters, TypedValuesGoIntoAnotherTableAsTheyAre) {
  int rows = 0;
  for (const Golden& row : goldenRows(database.word)) {
    // The database does not take their text, or their date, for one of its values.
    if (row.type == "time(9) with time zone" || row.type == "year") continue;
    SCOPED_TRACE(row.type + ' ' + row.literal);
    recreate("source", "v " + row.type);
    recreate("target", "v " + row.type);
    update("insert into source values (" + row.literal + ")");
    query("select v from source");
    const Batch batch(wrapper);
    if (!batch.failure.empty()) continue;  // Arrow has no number for it.
    Query insert(wrapper, "insert into target values (?)", batch);
    EXPECT_EQ(insert.updateAll(), 1) << insert.failure();
    EXPECT_EQ(only("select v from target"), only("select v from source")) << "as " << batch.schema.children[0]->format;
    ++rows;
  }
  EXPECT_GT(rows, 10);
}

TEST_P(Parameters, ListsKeepTheirElements) {
  const struct {
    const char* word;
    const char* type;
    const char* literal;
    const char* elements;
    bool isBound = true;
  } rows[] = {
      {"h2", "decimal(10, 2) array", "array[1.5, null, -0.01]", "[1.50, null, -0.01]"},
      {"h2", "real array", "array[1.5, null]", "[1.5, null]"},
      {"h2", "date array", "array[date '2024-12-31', null, date '-0043-03-15', date '10000-01-01']",
       "[2024-12-31, null, -0043-03-15, +10000-01-01]"},
      {"h2", "timestamp array", "array[timestamp '1500-03-01 02:30:00.5', null]", "[1500-03-01 02:30:00.5, null]"},
      {"h2", "timestamp with time zone array", "array[timestamp with time zone '2024-12-31 23:30:00-01:00', null]",
       "[2025-01-01 00:30:00, null]"},
      {"h2", "varbinary(9) array", "array[x'00ff', null, x'']", "[00ff, null, ]"},
      {"hsqldb", "date array", "array[date '2024-12-31', null]", "[2024-12-31, null]", false},
      {"hsqldb", "timestamp array", "array[timestamp '2024-12-31 02:30:00.5']", "[2024-12-31 02:30:00.5]", false},
      {"hsqldb", "varbinary(9) array", "array[x'00ff', null]", "[00ff, null]", false},
      {"postgresql", "numeric(10, 2)[]", "'{1.5,NULL,-0.01}'", "[1.50, null, -0.01]"},
      {"postgresql", "float4[]", "'{1.5,NULL}'", "[1.5, null]"},
      {"postgresql", "time[]", "'{23:59:59.999999,NULL}'", "[23:59:59.999999, null]"},
      {"postgresql", "date[]", "'[0:2]={2024-12-31,NULL,0044-03-15 BC}'", "[2024-12-31, null, -0043-03-15]"},
      {"postgresql", "timestamp[]", "'{2024-03-10 02:30:00.5,NULL,0044-03-15 10:00:00 BC}'",
       "[2024-03-10 02:30:00.5, null, -0043-03-15 10:00:00]"},
      {"postgresql", "timestamptz[]", "'{2024-12-31 23:30:00-01,NULL}'", "[2025-01-01 00:30:00, null]"},
      {"postgresql", "bytea[]", "array['\\x00ff'::bytea, null, '']", "[00ff, null, ]"},
      {"postgresql", "date[]", "'{}'", "[]"},
      {"postgresql", "date[]", "'{infinity}'", nullptr},
      {"postgresql", "date[]", "'{{2024-12-31}}'", nullptr},
      {"postgresql", "numeric(10, 2)[]", "'{NaN}'", nullptr},
  };
  for (const auto& row : rows) {
    if (row.word != database.word) continue;
    SCOPED_TRACE(std::string(row.type) + " of " + row.literal);
    recreate("source", std::string("v ") + row.type);
    recreate("target", std::string("v ") + row.type);
    update(std::string("insert into source values (") + row.literal + ")");
    query("select v from source");
    const Batch batch(wrapper);
    if (row.elements == nullptr) {
      EXPECT_EQ(batch.failure.find("row 1, column "), 0U) << batch.failure;
      continue;
    }
    ASSERT_EQ(batch.failure, "");
    EXPECT_STREQ(batch.schema.children[0]->format, "+l");
    EXPECT_EQ(batch.at(0), row.elements);
    Query insert(wrapper, "insert into target values (?)", batch);
    EXPECT_EQ(insert.updateAll(), row.isBound ? 1 : -2) << insert.failure();
    if (row.isBound) {
      query("select v from target");
      const Batch bound(wrapper);
      ASSERT_EQ(bound.rows.length, 1);
      EXPECT_EQ(bound.at(0), row.elements);
    } else {
      EXPECT_EQ(insert.failure().find("row 1, parameter 1: "), 0U) << insert.failure();
    }
  }
}

TEST_P(Parameters, ABatchIsStoredAsAWholeAndItsFailedRowNamed) {
  recreate("source", "id int, name varchar(9)");
  recreate("target", "id int not null primary key, name varchar(9)");
  update("insert into source values (1, 'a'), (2, null), (3, 'c'), (3, 'd'), (5, 'e')");
  query("select id, name from source order by id");
  const Batch batch(wrapper);
  ASSERT_EQ(batch.rows.length, 5);
  Query insert(wrapper, "insert into target (id, name) values (?, ?)", batch);
  EXPECT_EQ(insert.updateAll(), -2);
  EXPECT_EQ(insert.failure().find("row 4: "), 0U) << insert.failure();
  EXPECT_EQ(othersOnly("select count(*) from target"), "0");

  ArrowArray firstThree = batch.rows;
  firstThree.length = 3;
  ASSERT_EQ(insert.bind(batch.schema, firstThree), "");
  EXPECT_EQ(insert.updateAll(), 3) << insert.failure();
  EXPECT_EQ(othersOnly("select count(*) from target"), "3");
  EXPECT_EQ(only("select count(*) from target where name is null"), "1");
}

/// The jar's TypedConnection.
class Settings : public JarObject {
 public:
  explicit Settings(const jdbcWrapper& wrapper) : JarObject(wrapper, "com/ulvanejdbc/arrow/TypedConnection") {}

  bool run(const char* name) { return isTrue(env_, name, "()Z"); }

  bool setAutoCommit(bool on) { return isTrue(env_, "setAutoCommit", "(Z)Z", static_cast<jboolean>(on)); }

  void list(const char* listing, const char* table, Held<ArrowArrayStream>& stream) {
    LocalRef<jclass> textClass(env_);
    LocalRef<jobjectArray> names(env_);
    const char* const texts[] = {nullptr, nullptr, table, nullptr};
    EXPECT_TRUE(makeTextArray(env_, textClass, names, 4, [&texts](jsize index) { return texts[index]; }));
    const LocalRef<jintArray> options = newIntArray(env_, {1024, 1 << 20, 0, 0, 0, 0});
    const LocalRef<jstring> word = newJavaText(env_, listing);
    const jmethodID list =
        method(env_, "list", "(Ljava/lang/String;[Ljava/lang/String;[I)Lcom/ulvanejdbc/arrow/BatchReader;");
    const LocalRef<jobject> reader = callObject(env_, object_, list, word.get(), names.get(), options.get());
    ReaderMethods methods;
    std::string error;
    const LocalRef<jclass> type(env_, reader ? env_->GetObjectClass(reader.get()) : nullptr);
    EXPECT_TRUE(reader && findReaderMethods(env_, type.get(), methods) &&
                openStream(env_, methods, reader.get(), stream, error))
        << failure() << error;
  }
};

TEST_P(Parameters, TransactionsFollowOneAnotherUntilAutoCommitIsOnAgain) {
  recreate("kept", "id int");
  Settings settings(wrapper);
  EXPECT_FALSE(settings.run("commit")) << "in auto-commit mode";
  ASSERT_TRUE(settings.setAutoCommit(false));
  update("insert into kept values (1)");
  EXPECT_TRUE(settings.run("rollback"));
  update("insert into kept values (2)");
  EXPECT_TRUE(settings.run("commit"));
  update("insert into kept values (3)");
  EXPECT_TRUE(settings.setAutoCommit(true));
  EXPECT_EQ(othersOnly("select count(*) from kept"), "2");
  EXPECT_EQ(othersOnly("select min(id) from kept"), "2");
}

TEST_P(Parameters, TablesAndTheirColumnsAreListedAsRows) {
  wrapper.executeUpdate("drop table child");
  recreate("parent", "id int not null primary key, name varchar(9)");
  update("create table child (id int, parent_id int, foreign key (parent_id) references parent (id))");
  // Where names without quotes are kept in upper case.
  const bool upper = database.word == "h2" || database.word == "hsqldb" || database.word == "derby";
  const auto named = [upper](const char* lower, const char* other) { return upper ? other : lower; };
  Settings settings(wrapper);
  const struct {
    const char* listing;
    const char* table;
    int column;
    std::string expected;
  } rows[] = {
      {"TABLES", named("parent", "PARENT"), 2, named("parent", "PARENT")},
      {"COLUMNS", named("parent", "PARENT"), 3, named("id", "ID")},
      {"PRIMARY_KEYS", named("parent", "PARENT"), 3, named("id", "ID")},
      {"FOREIGN_KEYS", named("child", "CHILD"), 7, named("parent_id", "PARENT_ID")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.listing);
    Held<ArrowArrayStream> stream;
    settings.list(row.listing, row.table, stream);
    const Batch listed(stream);
    ASSERT_GE(listed.rows.length, 1) << listed.failure;
    EXPECT_EQ(listed.at(0, row.column), row.expected);
  }
  // A listing that is not read keeps no table from being dropped.
  {
    Held<ArrowArrayStream> unread;
    settings.list("TABLES", "%", unread);
  }
  update("drop table child");
}

TEST_P(Parameters, AQueryFindsTheBoundRow) {
  recreate("source", "id int, name varchar(9)");
  update("insert into source values (1, 'a'), (2, 'b'), (3, 'c')");
  query("select id from source order by id");
  const Batch ids(wrapper);
  Query select(wrapper, "select name from source where id = ?", ids);
  for (int row : {2, 0}) {
    ASSERT_TRUE(select.query(row)) << select.failure();
    const Batch found(wrapper);
    ASSERT_EQ(found.rows.length, 1);
    EXPECT_EQ(found.at(0), row == 2 ? "c" : "a");
  }

  ArrowSchema noColumn = ids.schema;
  ArrowArray noValue = ids.rows;
  noColumn.n_children = noValue.n_children = 0;
  const std::pair<const ArrowSchema*, const ArrowArray*> refused[] = {{ids.schema.children[0], ids.rows.children[0]},
                                                                      {&noColumn, &noValue}};
  for (const auto& [schema, rows] : refused) {
    EXPECT_EQ(select.bind(ids.schema, ids.rows), "");
    EXPECT_NE(select.bind(*schema, *rows), "");
    EXPECT_FALSE(select.query(0)) << "the earlier values are gone";
  }
}

TEST_P(Parameters, RowsBeforeARefusedOneAreNotRunLater) {
  recreate("source", "id int, n varchar(9)");
  recreate("target", "id int, n int, check (n < 100)");
  update("insert into source values (1, '1'), (2, 'x')");
  query("select id, n from source order by id");
  const Batch batch(wrapper);
  Query insert(wrapper, "insert into target values (?, ?)", batch);
  EXPECT_EQ(insert.updateAll(), -2);
  EXPECT_EQ(insert.failure().find("row 2"), 0U) << insert.failure();
  ArrowArray first = batch.rows;
  first.length = 1;
  ASSERT_EQ(insert.bind(batch.schema, first), "");
  EXPECT_EQ(insert.updateAll(), 1) << insert.failure();
  EXPECT_EQ(only("select count(*) from target"), "1");
}

TEST_P(Parameters, ANumberThatIsNoTimeIsRefused) {
  const char* const timestamp = database.word == "mariadb" ? "datetime" : "timestamp";
  const struct {
    const char* type;
    const char* format;
    std::int64_t value;
  } rows[] = {
      {"time", "ttu", -1},
      {"time", "ttu", 86'400'000'000},
      {timestamp, "tss:", (std::int64_t{1} << 32) * 31'556'952},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.format) + std::to_string(row.value));
    recreate("target", std::string("v ") + row.type);
    const OneValue one(row.format, row.value);
    Query insert(wrapper, "insert into target values (?)", one);
    EXPECT_EQ(insert.updateAll(), -2);
    EXPECT_EQ(insert.failure().find("row 1, parameter 1: "), 0U) << insert.failure();
  }
}

TEST_P(Parameters, ANumberBeyondItsColumnNeverBecomesAnother) {
  recreate("target", "v smallint");
  const OneValue one("l", 65535);
  Query insert(wrapper, "insert into target values (?)", one);
  const bool taken = insert.updateAll() == 1;
  EXPECT_NE(taken, !insert.failure().empty());
  query("select v from target");
  const Batch read(wrapper);
  if (taken && read.failure.empty()) {
    EXPECT_EQ(read.at(0), "65535");
  } else {
    EXPECT_EQ(read.rows.length, 0);
  }
}

TEST_P(Parameters, AStreamFailsOnceItsStatementIsClosed) {
  recreate("source", "id int");
  update("insert into source values (1)");
  Held<ArrowArrayStream> stream;
  std::string error;
  {
    Query select(wrapper, "select id from source");
    ASSERT_TRUE(select.query(0)) << select.failure();
    ASSERT_TRUE(makeArrowStream(wrapper, stream, error)) << error;
  }
  EXPECT_NE(Batch(stream).failure, "");
}

TEST(Sqlite, AStatementThatWasCancelledRunsAgain) {
  ConnectedWrapper wrapper(database("sqlite"));
  wrapper.executeUpdate("drop table target");
  ASSERT_EQ(wrapper.executeUpdate("create table target (v int)"), 0) << wrapper.errorMessage;
  const OneValue one("l", 7);
  Query insert(wrapper,
               "insert into target select ? from (with recursive c (x) as (select 1 union all select x + 1 from c"
               " limit 2000000) select max(x) from c)",
               one);
  std::atomic<bool> ended{false};
  std::thread canceller([&] {
    while (!ended) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      insert.cancel(threadEnvironment());
    }
  });
  EXPECT_EQ(insert.updateAll(), -2);
  ended = true;
  canceller.join();
  EXPECT_NE(insert.failure().find("row 1"), std::string::npos) << insert.failure();
  EXPECT_EQ(insert.updateAll(), 1) << insert.failure();
}

TEST(Hsqldb, DecimalsWhoseFractionTheDriverDropsAreRefused) {
  ConnectedWrapper wrapper(database("hsqldb"));
  wrapper.executeUpdate("drop table target");
  ASSERT_EQ(wrapper.executeUpdate("create table target (v decimal(10, 2) array)"), 0) << wrapper.errorMessage;
  const std::pair<std::int64_t, long long> rows[] = {{200, 1}, {150, -2}};
  for (const auto& [digits, stored] : rows) {
    OneValue element("d:10,2,64", digits);
    OneValue list("+l", std::int64_t{1} << 32);  // two offsets: 0 and 1
    list.column.n_children = list.array.n_children = 1;
    list.column.children = &element.columnAddress;
    list.array.children = &element.arrayAddress;
    Query insert(wrapper, "insert into target values (?)", list);
    EXPECT_EQ(insert.updateAll(), stored) << insert.failure();
    const bool names = insert.failure().find("row 1, parameter 1: the value 1.50") == 0;
    EXPECT_EQ(names, stored < 0) << insert.failure();
  }
}

TEST(Postgresql, NoRowIsNamedWhereTheDriverJoinsThem) {
  Database joining = database("postgresql");
  joining.url += "?reWriteBatchedInserts=true";
  ConnectedWrapper wrapper(joining);
  wrapper.executeUpdate("drop table target");
  ASSERT_EQ(wrapper.executeUpdate("create table target (v int not null)"), 0) << wrapper.errorMessage;
  ASSERT_TRUE(wrapper.query("select nullif(g, 34) from generate_series(1, 40) g")) << wrapper.errorMessage;
  const Batch batch(wrapper);
  Query insert(wrapper, "insert into target values (?)", batch);
  EXPECT_EQ(insert.updateAll(), -2);
  EXPECT_NE(insert.failure().find("row "), 0U) << insert.failure();
  EXPECT_NE(insert.failure().find("23502"), std::string::npos) << insert.failure();
}

TEST(Postgresql, RowsWithoutColumnsAreCounted) {
  ConnectedWrapper wrapper(database("postgresql"));
  ASSERT_TRUE(wrapper.query("select from generate_series(1, 3)")) << wrapper.errorMessage;
  const Batch batch(wrapper);
  EXPECT_EQ(batch.failure, "");
  EXPECT_EQ(batch.rows.length, 3);
  EXPECT_EQ(batch.schema.n_children, 0);
}

INSTANTIATE_TEST_SUITE_P(OnAll, Parameters, testing::Range(0, 6), nameOf);

}  // namespace
}  // namespace kivo::test
