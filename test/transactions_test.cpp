#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "stderr_capture.h"
#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

/// Drivers wrap a failure in others with the same text; reported once, it has at most two lines, plus the library's
/// own.
bool isReportedOnce(const std::string& errorMessage) {
  return std::count(errorMessage.begin(), errorMessage.end(), '\n') <= 2;
}

TEST_P(Databases, ABatchThatFailsInTheMiddleLeavesNothing) {
  recreate("batched", "id int primary key");
  update("insert into batched values (1)");
  const struct {
    int failing;
    int size;
  } rows[] = {{1, 3}, {2, 3}, {3, 3}, {1002, 1003}};
  for (const auto& row : rows) {
    const std::string which = std::to_string(row.failing) + " of " + std::to_string(row.size);
    SCOPED_TRACE(which);
    std::vector<std::string> inserts;
    for (int number = 1; number <= row.size; ++number) {
      const int id = number == row.failing ? 1 : number + 1;
      inserts.push_back("insert into batched values (" + std::to_string(id) + ")");
    }
    EXPECT_LT(batch(inserts), 0);
    EXPECT_EQ(wrapper.errorState, 1);
    EXPECT_EQ(wrapper.errorMessage.find("the batch was rolled back: statement " + which + " failed"), 0U)
        << wrapper.errorMessage;
    EXPECT_TRUE(isReportedOnce(wrapper.errorMessage)) << wrapper.errorMessage;
    EXPECT_EQ(only("select count(*) from batched"), "1");
  }

  // The connection is back in auto-commit, and the failed batch is gone.
  EXPECT_EQ(update("insert into batched values (7)"), 1);
  EXPECT_EQ(othersOnly("select count(*) from batched"), "2");

  // SQLite takes it.
  wrapper.executeUpdate("insert into batched values ('no number')");
  EXPECT_TRUE(isReportedOnce(wrapper.errorMessage)) << wrapper.errorMessage;
}

/// Calls a method of the companion's that the wrapper does not forward.
bool call(const jdbcWrapper& wrapper, const char* method) {
  auto* const utilities = static_cast<jobject>(wrapper.utilitiesObject);
  jclass type = wrapper.env->GetObjectClass(utilities);
  jmethodID found = wrapper.env->GetMethodID(type, method, "()Z");
  wrapper.env->DeleteLocalRef(type);
  const bool worked = found != nullptr && wrapper.env->CallBooleanMethod(utilities, found) == JNI_TRUE;
  EXPECT_FALSE(wrapper.env->ExceptionCheck());
  return worked;
}

TEST_P(Databases, ATransactionBegunHereStandsAsAWholeOrNotAtAll) {
  const ConnectedWrapper keeper(database);  // of SQLite's database, which is in memory
  recreate("whole", "id int primary key");
  wrapper.executeUpdate("drop table whole_more");
  const struct {
    const char* end;
    const char* kept;
  } rows[] = {{"rollbackTransaction", "0"}, {"closeConnection", "0"}, {"commitTransaction", "3"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.end);
    EXPECT_TRUE(call(wrapper, "beginTransaction"));
    EXPECT_FALSE(call(wrapper, "beginTransaction")) << "one within the other";
    update("insert into whole values (1)");
    EXPECT_LT(batch({"insert into whole values (2)", "insert into whole values (1)"}), 0);
    EXPECT_EQ(batch({"insert into whole values (2)", "insert into whole values (3)"}), 2) << wrapper.errorMessage;
    query("select id from whole");
    EXPECT_TRUE(wrapper.next());
    EXPECT_TRUE(call(wrapper, row.end));
    EXPECT_FALSE(call(wrapper, "commitTransaction")) << "it has ended";
    connect(wrapper);
    EXPECT_EQ(othersOnly("select count(*) from whole"), row.kept);
  }
  update("insert into whole values (4)");
  EXPECT_EQ(othersOnly("select count(*) from whole"), "4") << "auto-commit was not given back";

  // Some databases commit at the "create table", which the rollback must tell.
  EXPECT_TRUE(call(wrapper, "beginTransaction"));
  update("insert into whole values (5)");
  update("create table whole_more (id int)");
  const bool undone = call(wrapper, "rollbackTransaction");
  EXPECT_EQ(othersOnly("select count(*) from whole"), undone ? "4" : "5");
}

/// Derby has no statement that begins a transaction, and HSQLDB's driver does not report one.
class DatabasesWithBegin : public Databases {};

TEST_P(DatabasesWithBegin, ATransactionOpenedInSqlIsTheCallersToEnd) {
  recreate("owned", "id int primary key");
  const struct {
    const char* end;
    const char* kept;
  } rows[] = {{"rollback", "0"}, {"commit", "1"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.end);
    update("begin");
    EXPECT_EQ(batch({"insert into owned values (1)"}), 1) << wrapper.errorMessage;
    EXPECT_LT(batch({"insert into owned values (2)", "insert into owned values (1)"}), 0);
    query("select id from owned");
    EXPECT_TRUE(wrapper.next());
    update(row.end);
    EXPECT_EQ(only("select count(*) from owned"), row.kept);
  }
  EXPECT_EQ(update("insert into owned values (7)"), 1);
  EXPECT_EQ(othersOnly("select count(*) from owned"), "2") << "auto-commit was not given back";

  // Where the first statement commits by itself, the batch has run all the same.
  wrapper.executeUpdate("drop table owned_more");
  update("begin");
  EXPECT_EQ(batch({"create table owned_more (id int)", "insert into owned values (8)"}), 2) << wrapper.errorMessage;
  update("commit");
  EXPECT_EQ(othersOnly("select count(*) from owned"), "3");
}

/// A query can change something there.
class DatabasesWhoseSelectWrites : public Databases {};

TEST_P(DatabasesWhoseSelectWrites, WhatASelectChangedIsCommittedHoweverItsRowsEnd) {
  const struct {
    const char* word;
    const char* preparation;
    const char* sql;
  } shapes[] = {
      {"h2", "delete from changed", "select id from final table (insert into changed values (1))"},
      {"postgresql",
       "create or replace function change() returns setof int language sql as 'insert into changed values (1) "
       "returning "
       "id'",
       "select change()"},
  };
  const struct {
    const char* what;
    std::function<void(jdbcWrapper&)> end;
  } rows[] = {
      {"read to their end",
       [](jdbcWrapper& w) {
         while (w.next()) continue;
       }},
      {"another statement", [](jdbcWrapper& w) { w.executeUpdate("delete from changed where id < 0"); }},
      {"closed", [](jdbcWrapper& w) { w.closeConnection(); }},
  };
  for (const auto& shape : shapes) {
    if (database.word != shape.word) continue;
    recreate("changed", "id int");
    update(shape.preparation);
    int count = 0;
    for (const auto& row : rows) {
      SCOPED_TRACE(row.what);
      query(shape.sql);
      EXPECT_TRUE(wrapper.next());
      row.end(wrapper);
      EXPECT_EQ(othersOnly("select count(*) from changed"), std::to_string(++count));
    }
  }
}

class DatabasesWithReturning : public Databases {};

TEST_P(DatabasesWithReturning, AnInsertThatGivesRowsIsCommittedBeforeTheyAreRead) {
  const struct {
    const char* word;
    const char* sql;
  } shapes[] = {
      {"mariadb", "insert into changed select seq from seq_1_to_100000 returning id"},
      {"postgresql", "insert into changed select n from generate_series(1, 100000) n returning id"},
      {"postgresql",
       "with new as (insert into changed select n from generate_series(1, 100000) n returning id) select * from new"},
  };
  for (const auto& shape : shapes) {
    if (database.word != shape.word) continue;
    SCOPED_TRACE(shape.sql);
    recreate("changed", "id int");
    query(shape.sql);
    EXPECT_EQ(othersOnly("select count(*) from changed"), "100000");
    EXPECT_TRUE(wrapper.next());
  }
}

/// Calls the companion's cancel() from a thread of its own, again and again, since it may come too early.
class Canceller {
 public:
  /// @param due when to begin
  Canceller(jdbcWrapper& wrapper, std::function<bool()> due)
      : thread_([this, &wrapper, due = std::move(due)] {
          while (!ended_ && !due()) pause();
          for (pause(); !ended_; pause()) cancel(static_cast<jobject>(wrapper.utilitiesObject));
        }) {}
  ~Canceller() {
    ended_ = true;
    thread_.join();
  }

 private:
  static void pause() { std::this_thread::sleep_for(std::chrono::milliseconds(200)); }

  static void cancel(jobject utilities) {
    JNIEnv* env = nullptr;
    _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
    env->CallVoidMethod(utilities, env->GetMethodID(env->GetObjectClass(utilities), "cancel", "()V"));
    env->ExceptionClear();
    _globaljvm->DetachCurrentThread();
  }

  std::atomic<bool> ended_{false};
  std::thread thread_;
};

/// What is cancelled would take from half a minute to minutes.
class Cancelling : public Databases {
 protected:
  void SetUp() override {
    Databases::SetUp();
    recreate("counted", "id int");
    recreate("kept", "id int");
    std::vector<std::string> inserts;
    for (int id = 1; id <= 100; ++id) inserts.push_back("insert into counted values (" + std::to_string(id) + ")");
    ASSERT_EQ(batch(inserts), 100) << wrapper.errorMessage;
    update("insert into kept values (7)");
  }

  void expectCancelled() {
    EXPECT_EQ(wrapper.errorState, 1);
    EXPECT_EQ(only("select id from kept"), "7");
  }

  const std::string slow = "from counted a, counted b, counted c, counted d where a.id + b.id + c.id + d.id < 0";
};

TEST_P(Cancelling, EndsABatchAndUndoesIt) {
  const std::string change =
      "update kept set id = (select count(*) from counted a, counted b, counted c where a.id + b.id + c.id < 0)";
  {
    const Canceller canceller(wrapper, [] { return true; });
    EXPECT_LT(batch(std::vector<std::string>(300, change)), 0);
  }
  expectCancelled();
}

class CancellingStatements : public Cancelling {};

TEST_P(CancellingStatements, EndsThem) {
  for (const bool reads : {true, false}) {
    SCOPED_TRACE(reads ? "a query" : "an update");
    {
      const Canceller canceller(wrapper, [] { return true; });
      EXPECT_TRUE(reads ? !wrapper.executeQuery("select count(*) " + slow, 0)
                        : wrapper.executeUpdate("update kept set id = (select count(*) " + slow + ")") < 0);
    }
    expectCancelled();
  }
}

class CancellingRows : public Cancelling {
 protected:
  /// Some of its rows come at once, and no more for a long time.
  std::string rowsOf(const std::string& word) const {
    // One select, as a union would go on in H2 until its next row.
    if (word == "h2") return "select a.id " + slow + " or a.id = 1 and b.id = 1";
    // Rows without a pause, as a statement cannot be cancelled.
    if (word == "derby") return "select a.id from counted a, counted b, counted c, counted d";
    return "select a.id from counted a, counted b union all select a.id " + slow;
  }
};

TEST_P(CancellingRows, EndsThemWhereTheyAre) {
  std::atomic<int> read{0};
  {
    const Canceller canceller(wrapper, [&read] { return read > 0; });
    query(rowsOf(database.word));
    while (wrapper.next()) ++read;
  }
  EXPECT_GT(read, 0);
  expectCancelled();
}

INSTANTIATE_TEST_SUITE_P(Each, Databases, testing::Range(0, 6), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, Cancelling, testing::Range(0, 6), nameOf);
// Derby's driver cannot.
INSTANTIATE_TEST_SUITE_P(Each, CancellingStatements, testing::Values(0, 1, 3, 4, 5), nameOf);
// HSQLDB gives no row before it has them all.
INSTANTIATE_TEST_SUITE_P(Each, CancellingRows, testing::Values(0, 2, 3, 4, 5), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, DatabasesWithBegin, testing::Values(0, 3, 4, 5), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, DatabasesWhoseSelectWrites, testing::Values(0, 5), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, DatabasesWithReturning, testing::Values(4, 5), nameOf);

TEST(Connections, CommitWhateverTheirUrlSaysOfAutoCommit) {
  const struct {
    int index;
    const char* setting;
  } rows[] = {{0, ";AUTOCOMMIT=OFF"}, {4, "?autocommit=false"}};
  for (const auto& row : rows) {
    Database database = databases()[static_cast<std::size_t>(row.index)];
    SCOPED_TRACE(database.word);
    database.url += row.setting;
    for (const char* sql :
         {"create table committed (id int)", "insert into committed values (1)", "drop table committed"}) {
      ConnectedWrapper wrapper(database);
      if (*sql == 'd') {
        EXPECT_EQ(wrapper.executeUpdate("delete from committed"), 1);
      }
      EXPECT_GE(wrapper.executeUpdate(sql), 0) << wrapper.errorMessage;
    }
  }
}

TEST(Utils, RunABatchAsAWholeOrNotAtAll) {
  ConnectedWrapper reader(database("postgresql"));
  reader.executeUpdate("drop table b");
  ASSERT_EQ(reader.executeUpdate("create table b (id int primary key)"), 0);
  Database at = database("postgresql");
  std::string none;
  JdbcUtils utils;
  ASSERT_TRUE(utils.javaInit() && utils.setUrl(none, none, none, none, none, at.url, none, none) &&
              utils.getConnection(at.user, at.password, none) && utils.getStatement());
  const auto batch = [&utils](std::vector<std::string> statements) {
    std::vector<int> counts(3, 9);
    for (std::string& sql : statements) EXPECT_EQ(utils.addToBatch(sql), 0);
    counts.push_back(utils.executeBatch(counts.data()));
    EXPECT_TRUE(utils.autoCommit);
    return counts;
  };
  EXPECT_EQ(batch({"insert into b values (1), (2)", "delete from b where id = 1", "delete from b where id = 7"}),
            (std::vector<int>{2, 1, 0, 3}));
  {
    const StderrCapture capture;
    EXPECT_EQ(batch({"insert into b values (3)", "insert into b values (2)", "insert into b values (4)"}),
              (std::vector<int>{9, 9, 9, -1}));
    EXPECT_NE(capture.text().find("duplicate key"), std::string::npos);
  }
  // The connection is not left inside a failed transaction.
  std::string sql = "insert into b values (5)";
  EXPECT_EQ(utils.executeUpdate(sql), 1);
  ASSERT_TRUE(reader.query("select string_agg(id::text, ' ') from b") && reader.next());
  EXPECT_EQ(cell(reader, 1), "2 5");
  utils.closeConnection();
}

}  // namespace
}  // namespace kivo::test
