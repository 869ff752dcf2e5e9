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
  for (const auto& [failing, size] : {std::pair(1, 3), {2, 3}, {3, 3}, {1002, 1003}}) {
    const std::string which = std::to_string(failing) + " of " + std::to_string(size);
    SCOPED_TRACE(which);
    std::vector<std::string> inserts;
    for (int number = 1; number <= size; ++number) {
      const int id = number == failing ? 1 : number + 1;
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
  for (const auto& [end, kept] :
       {std::pair("rollbackTransaction", "0"), {"closeConnection", "0"}, {"commitTransaction", "3"}}) {
    SCOPED_TRACE(end);
    EXPECT_TRUE(call(wrapper, "beginTransaction"));
    EXPECT_FALSE(call(wrapper, "beginTransaction")) << "one within the other";
    update("insert into whole values (1)");
    EXPECT_LT(batch({"insert into whole values (2)", "insert into whole values (1)"}), 0);
    EXPECT_EQ(batch({"insert into whole values (2)", "insert into whole values (3)"}), 2) << wrapper.errorMessage;
    query("select id from whole");
    EXPECT_TRUE(wrapper.next());
    EXPECT_TRUE(call(wrapper, end));
    EXPECT_FALSE(call(wrapper, "commitTransaction")) << "it has ended";
    connect(wrapper);
    EXPECT_EQ(othersOnly("select count(*) from whole"), kept);
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
  for (const auto& [end, kept] : {std::pair("rollback", "0"), {"commit", "1"}}) {
    SCOPED_TRACE(end);
    update("begin");
    EXPECT_EQ(batch({"insert into owned values (1)"}), 1) << wrapper.errorMessage;
    EXPECT_LT(batch({"insert into owned values (2)", "insert into owned values (1)"}), 0);
    query("select id from owned");
    EXPECT_TRUE(wrapper.next());
    update(end);
    EXPECT_EQ(only("select count(*) from owned"), kept);
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

  /// Cancels what the body runs, once that is due.
  void expectCancelled(
      const std::function<void()>& body, const std::function<bool()>& due = [] { return true; }) {
    {
      const Canceller canceller(wrapper, due);
      body();
    }
    EXPECT_EQ(wrapper.errorState, 1);
    EXPECT_EQ(only("select id from kept"), "7");
  }

  /// Some of its rows come at once, and no more for a long time.
  std::string slowRows() const {
    // One select, as a union would go on in H2 until its next row.
    if (database.word == "h2") return "select a.id " + slow + " or a.id = 1 and b.id = 1";
    // Rows without a pause, as a statement cannot be cancelled.
    if (database.word == "derby") return "select a.id from counted a, counted b, counted c, counted d";
    return "select a.id from counted a, counted b union all select a.id " + slow;
  }

  const std::string slow = "from counted a, counted b, counted c, counted d where a.id + b.id + c.id + d.id < 0";
};

TEST_P(Cancelling, EndsWhatRunsAndUndoesIt) {
  const std::string change =
      "update kept set id = (select count(*) from counted a, counted b, counted c where a.id + b.id + c.id < 0)";
  expectCancelled([&] { EXPECT_LT(batch(std::vector<std::string>(300, change)), 0); });
  // Derby's driver cannot cancel a statement.
  if (database.word != "derby") {
    expectCancelled([&] { EXPECT_FALSE(wrapper.executeQuery("select count(*) " + slow, 0)); });
    const std::string update = "update kept set id = (select count(*) " + slow + ")";
    expectCancelled([&] { EXPECT_LT(wrapper.executeUpdate(update), 0); });
  }
  // HSQLDB gives no row before it has them all.
  if (database.word == "hsqldb") return;
  std::atomic<int> read{0};
  const auto readAll = [&] {
    query(slowRows());
    while (wrapper.next()) ++read;
  };
  expectCancelled(readAll, [&read] { return read > 0; });
  EXPECT_GT(read, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, Databases, testing::Range(0, 6), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, Cancelling, testing::Range(0, 6), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, DatabasesWithBegin, testing::Values(0, 3, 4, 5), nameOf);

TEST(Mariadb, AnInsertThatGivesRowsIsCommittedBeforeTheyAreRead) {
  ConnectedWrapper inserting(database("mariadb"));
  ConnectedWrapper other(database("mariadb"));
  other.executeUpdate("drop table changed");
  ASSERT_EQ(other.executeUpdate("create table changed (id int)"), 0);
  ASSERT_TRUE(inserting.query("insert into changed select seq from seq_1_to_100000 returning id"));
  ASSERT_TRUE(other.query("select count(*) from changed") && other.next());
  EXPECT_EQ(cell(other, 1), "100000");
}

}  // namespace
}  // namespace kivo::test
