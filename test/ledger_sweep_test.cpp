#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JdbcUtils.h"
#include "doubles.h"
#include "jdbcWrapper.h"
#include "jni_ledger.h"
#include "wrapper_operations.h"

namespace kivo::test {
namespace {

constexpr Fault kFaults[] = {Fault::kOutOfMemory, Fault::kNull,   Fault::kThrowBefore,
                             Fault::kThrowAfter,  Fault::kAttach, Fault::kAllocation};

/// One member on an object in the state that it is called in.
struct Member {
  const char* name;
  bool mayLeavePending;
  std::function<void(JniLedger&, const Armed&)> run;
};

enum class State { fresh, configured, connected, statement, result, row };

/// Brings an object to a state. @return whether every step on the way there succeeded.
bool bring(JdbcUtils& utils, State state, const char* word) {
  std::string type = word;
  std::string one = "1";
  std::string instance = type == "teradata" ? "" : "d";
  std::string sql = "select";
  std::string none;
  std::string url;
  const std::function<bool()> steps[] = {
      [&] { return utils.javaInit() && utils.setUrl(type, one, one, instance, instance, url, none, none); },
      [&] { return utils.getConnection(none, none, none); },
      [&] { return utils.getStatement(); },
      [&] { return utils.executeQuery(sql, 0); },
      [&] { return utils.next(); },
  };
  return std::all_of(steps, steps + static_cast<int>(state), [](const auto& step) { return step(); });
}

/// A row for a member of JdbcUtils: afterwards the object must still close, and hold nothing.
Member jdbc(const char* name, State state, std::function<void(JdbcUtils&)> call, bool mayLeavePending = false,
            const char* word = "postgresql") {
  return {name, mayLeavePending, [=](JniLedger& ledger, const Armed& armed) {
            JdbcUtils utils;
            EXPECT_TRUE(bring(utils, state, word));
            armed([&] { call(utils); });
            if (!mayLeavePending) {
              EXPECT_FALSE(ledger.exceptionPending());
            }
            utils.closeConnection();
            utils.destroy();
          }};
}

/// A row for a member of the bridge; one that fails once must work the next time.
Member bridge(const char* name, bool ready, std::function<void(JavaConnectionUtils&)> call) {
  return {name, false, [=](JniLedger& ledger, const Armed& armed) {
            std::string className = "doubles/Bridge";
            JavaConnectionUtils connection(className);
            if (ready) {
              EXPECT_TRUE(connection.javaInit());
            }
            armed([&] { call(connection); });
            EXPECT_FALSE(ledger.exceptionPending());
            EXPECT_TRUE(connection.javaInit() && connection.makeConnection());
          }};
}

template <class Object, class Column>
std::function<void(Object&)> readColumn(Column column) {
  return [column](Object& object) {
    char* value = nullptr;
    object.getColumn(column, value);
    std::free(value);
  };
}

std::string text = "text";
std::string wide = "w\xC3\xA9ite \xF0\x9F\x8C\x8D";
std::vector<std::string> texts = {"one", "two"};

std::vector<Member> bridgeMembers() {
  using Bridge = JavaConnectionUtils;
  std::vector<Member> members;
  members.push_back(bridge("javaInit", false, [](Bridge& b) { b.javaInit(); }));
  members.push_back(bridge("setParams", true, [](Bridge& b) { b.setParams(texts, texts); }));
  members.push_back(bridge("makeConnection", true, [](Bridge& b) { b.makeConnection(); }));
  members.push_back(bridge("canDiscover", true, [](Bridge& b) { b.canDiscover(); }));
  members.push_back(bridge("query", true, [](Bridge& b) { b.query(); }));
  members.push_back(bridge("next", true, [](Bridge& b) { b.next(); }));
  members.push_back(bridge("getColumn", true, readColumn<Bridge>(1)));
  members.push_back(bridge("discoverTables", true, [](Bridge& b) {
    std::vector<std::string> tables;
    b.discoverTables(tables);
  }));
  members.push_back(bridge("discoverTable", true, [](Bridge& b) {
    std::vector<std::string> first;
    std::vector<std::string> second;
    b.discoverTable(wide, first, second);
  }));
  return members;
}

void connect(JdbcUtils& utils) {
  std::string none;
  if (utils.getConnection(none, none, none)) return;
  // A failure after the connection was kept leaves the object connected, its methods looked up or null.
  EXPECT_TRUE(utils.connection == nullptr || utils.getConnection(none, none, none));
}

std::vector<Member> jdbcMembers() {
  using J = JdbcUtils;
  constexpr bool kPending = true;
  const auto listing = [](J& j) {
    std::vector<std::string> tables;
    const jobject statement = j.statement;
    const jobject resultSet = j.resultSet;
    j.getTables(tables);
    EXPECT_EQ(j.statement, statement);
    EXPECT_EQ(j.resultSet, resultSet);
  };
  std::vector<Member> members;
  members.push_back(jdbc("javaInit", State::fresh, [](J& j) {
    const bool attached = j.javaInit();
    EXPECT_EQ(attached, j.env != nullptr);
  }));
  members.push_back(jdbc(
      "NewStringArray", State::configured,
      [](J& j) {
        char* strings[] = {text.data(), wide.data()};
        const jobjectArray array = j.NewStringArray(strings, 2);
        if (array != nullptr) j.env->DeleteLocalRef(array);
      },
      kPending));
  for (const char* word : {"oracle", "mssql", "velmar", "db2", "netezza", "teradata", "kdb", "postgresql"}) {
    members.push_back(jdbc(word, State::configured, connect, false, word));
  }
  members.push_back(jdbc(
      "setAutoCommit", State::connected, [](J& j) { j.setAutoCommit(false); }, kPending));
  members.push_back(jdbc(
      "commit", State::connected, [](J& j) { j.commit(); }, kPending));
  members.push_back(jdbc("getStatement", State::connected, [](J& j) { j.getStatement(); }));
  members.push_back(jdbc("executeQuery", State::connected, [](J& j) { j.executeQuery(wide, 3); }));
  members.push_back(jdbc("executeQuery again", State::row, [](J& j) { j.executeQuery(text, 3); }));
  members.push_back(jdbc(
      "next", State::result, [](J& j) { j.next(); }, kPending));
  members.push_back(jdbc("getColumn", State::row, readColumn<J>(2UL), kPending));
  members.push_back(jdbc("getColumn of a date", State::row, readColumn<J>(3UL), kPending));
  members.push_back(jdbc(
      "getNumColumns", State::result, [](J& j) { j.getNumColumns(); }, kPending));
  members.push_back(jdbc(
      "getColumnInfo", State::result,
      [](J& j) {
        int type = 0;
        std::string name;
        j.getColumnInfo(0, name, type);
      },
      kPending));
  members.push_back(jdbc("closeRS", State::result, [](J& j) { j.closeRS(); }));
  members.push_back(jdbc("closeST", State::result, [](J& j) { j.closeST(); }));
  members.push_back(jdbc("closeConnection", State::result, [](J& j) { j.closeConnection(); }));
  members.push_back(jdbc("executeUpdate", State::statement, [](J& j) { j.executeUpdate(wide); }));
  members.push_back(jdbc("addToBatch", State::statement, [](J& j) { j.addToBatch(wide); }));
  members.push_back(jdbc("executeBatch", State::statement, [](J& j) {
    int counts[4];
    j.autoCommit = false;
    j.executeBatch(counts);
  }));
  members.push_back(jdbc("getTables", State::connected, listing));
  members.push_back(jdbc("getTables of Oracle", State::row, listing, false, "oracle"));
  members.push_back(jdbc("getTables of Teradata", State::connected, listing, false, "teradata"));
  return members;
}

bool run(const Operation& operation, jdbcWrapper& wrapper) {
  Given given;
  return operation.run(wrapper, given);
}

/// A row for an operation of the wrapper; one that fails once must end the next time as it did before.
Member wrapped(const Operation& operation) {
  return {operation.name.c_str(), false, [&operation](JniLedger& ledger, const Armed& armed) {
            jdbcWrapper wrapper;
            const bool usual = run(operation, wrapper);
            if (armed([&] { run(operation, wrapper); })) {
              EXPECT_EQ(wrapper.errorState == 0, wrapper.errorMessage.empty());
            }
            EXPECT_FALSE(ledger.exceptionPending());
            EXPECT_EQ(run(operation, wrapper), usual);
          }};
}

/// A row for a construction while the class lacks a method, if named. An object that reports nothing must do
/// everything, and one that does must not crash.
Member constructed(JNIEnv* env, const char* without) {
  return {"jdbcWrapper", false, [=](JniLedger& ledger, const Armed& armed) {
            const Hidden hidden(env, without);
            std::optional<jdbcWrapper> wrapper;
            if (!armed([&] { wrapper.emplace(); })) return;
            EXPECT_FALSE(ledger.exceptionPending());
            const bool whole = wrapper->errorState == 0;
            for (const Operation& operation : kOperations) EXPECT_TRUE(run(operation, *wrapper) || !whole);
          }};
}

std::vector<Member> wrapperMembers() {
  std::vector<Member> members;
  for (const Operation& operation : kOperations) members.push_back(wrapped(operation));
  return members;
}

class LedgerSweep : public DoublesTest {
 protected:
  /// Fails every call of every member in every way, once and from then on.
  void sweep(const std::vector<Member>& members, const char* title) {
    answer("DatabaseMetaData.getTables", "A:12,B:12,C:12,D:12\nc,s,ORDERS,TABLE\nc,null,ITEMS,TABLE");
    JniLedger ledger;
    ledger.setTraceLimit(0);
    int points = 0;
    for (const Member& member : members) points += sweep(ledger, member);
    EXPECT_GT(points, 10 * static_cast<int>(members.size()));
    std::printf("%s: %zu members, %d failing points, most local references at a time: %d\n", title, members.size(),
                points, ledger.mostLocals());
  }

 private:
  static int sweep(JniLedger& ledger, const Member& member) {
    int points = 0;
    for (const Fault fault : kFaults) {
      for (const bool lasting : {false, true}) {
        SCOPED_TRACE(member.name);
        const StderrCapture quiet;
        const int globals = ledger.liveGlobals();
        const auto operation = [&](const Armed& armed) { member.run(ledger, armed); };
        points += sweepFaults(ledger, fault, operation, lasting);
        EXPECT_EQ(ledger.liveGlobals(), globals);
      }
    }
    return points;
  }
};

TEST_F(LedgerSweep, BridgeReleasesEverythingWhicheverCallFails) { sweep(bridgeMembers(), "JavaConnectionUtils"); }

TEST_F(LedgerSweep, JdbcReleasesEverythingWhicheverCallFails) { sweep(jdbcMembers(), "JdbcUtils"); }

TEST_F(LedgerSweep, WrapperReleasesEverythingWhicheverCallFails) {
  std::vector<Member> members = wrapperMembers();
  for (const char* without : {"", "getTables"}) members.push_back(constructed(env, without));
  sweep(members, "jdbcWrapper");
  for (const char* refused : {"next", "getStatement"}) answer(refused, "false");
  for (const char* nothing : {"getColumn", "getVendor", "getTables"}) answer(nothing, "null");
  for (const char* throwing : {"setUrl", "executeUpdate", "getColumnName"}) answer(throwing, "throw");
  answer("getErrorCode", "1");
  sweep(wrapperMembers(), "jdbcWrapper, refused");
}

}  // namespace
}  // namespace kivo::test
