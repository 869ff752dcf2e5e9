#include "ledger_sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JdbcUtils.h"
#include "KivoArrow.h"
#include "arrow_text.h"
#include "bridge_operations.h"
#include "jni/local_ref.h"

namespace kivo::test {
namespace {

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

std::function<bool(JdbcUtils&)> readColumn(unsigned long column) {
  return [column](JdbcUtils& utils) {
    char* value = nullptr;
    const bool isValue = utils.getColumn(column, value) && value != nullptr;
    std::free(value);
    return isValue;
  };
}

std::string text = "text";
std::string wide = "w\xC3\xA9ite \xF0\x9F\x8C\x8D";

/// A member fails when any of its calls does, and works the next time. @param ready whether it needs an instance
Member bridged(const std::string& name, bool ready, const std::function<bool(JavaConnectionUtils&)>& call) {
  return {name, [=](JniLedger& ledger, const Armed& armed) {
            std::string className = "doubles/Bridge";
            JavaConnectionUtils bridge(className);
            EXPECT_TRUE(!ready || bridge.javaInit());
            bool done = false;
            armed([&] { done = call(bridge); });
            EXPECT_NE(done, JniLedger::faultFired());
            EXPECT_FALSE(ledger.exceptionPending());
            EXPECT_TRUE(bridge.javaInit() && bridge.makeConnection());
          }};
}

std::vector<Member> bridgeMembers() {
  std::vector<Member> members = {bridged("javaInit", false, [](auto& bridge) { return bridge.javaInit(); })};
  for (const BridgeOperation& operation : kBridgeOperations) {
    members.push_back(bridged(operation.method, true, [&operation](auto& bridge) {
      BridgeGiven given;
      return operation.run(bridge, given) && given.value != nullptr;
    }));
  }
  return members;
}

bool attach(JdbcUtils& utils) {
  const bool attached = utils.javaInit();
  EXPECT_EQ(attached, utils.env != nullptr);
  return attached;
}

bool connect(JdbcUtils& utils) {
  std::string none;
  if (utils.getConnection(none, none, none)) return true;
  // A failure after the connection was kept leaves the object connected, its methods looked up or null.
  EXPECT_TRUE(utils.connection == nullptr || utils.getConnection(none, none, none));
  return false;
}

bool makeArray(JdbcUtils& utils) {
  char* strings[] = {text.data(), nullptr, wide.data()};
  const jobjectArray array = utils.NewStringArray(strings, 3);
  if (array == nullptr) return false;
  const bool isWhole = utils.env->ExceptionCheck() == JNI_FALSE;
  const LocalRef<jobject> second(utils.env, isWhole ? utils.env->GetObjectArrayElement(array, 1) : nullptr);
  utils.env->DeleteLocalRef(array);
  return !second;
}

bool describeColumn(JdbcUtils& utils) {
  int type = 0;
  std::string name;
  return utils.getColumnInfo(0, name, type);
}

bool executeBatch(JdbcUtils& utils) {
  int counts[4];
  utils.autoCommit = false;
  return utils.executeBatch(counts) == 0;
}

bool listTables(JdbcUtils& utils) {
  std::vector<std::string> tables;
  const auto openQuery = [&utils] {
    return std::tuple(utils.statement, utils.resultSet, utils.nextMethod, utils.getStringMethod, utils.getObjectMethod,
                      utils.getAsUtcStringMethod, utils.columnTypes);
  };
  const auto before = openQuery();
  const bool listed = utils.getTables(tables);
  EXPECT_TRUE(openQuery() == before);
  return listed;
}

/// Typed rows by the batch, one at a time: all of them, or an error that says why not.
bool readStream(JdbcUtils& utils) {
  std::string sql = "typed rows";
  if (!utils.executeQuery(sql, 0)) return false;
  ArrowStreamOptions options;
  options.maxRows = 1;
  Held<ArrowArrayStream> stream;
  std::string error;
  if (!makeArrowStream(utils, stream, error, options)) {
    EXPECT_FALSE(error.empty());
    return false;
  }
  const std::optional<std::int64_t> rows = countRows(stream);
  EXPECT_TRUE(rows == 2 || (!rows && JniLedger::faultFired()));
  return rows.has_value();
}

constexpr bool kPending = true;

struct JdbcRow {
  const char* name;
  State state;
  std::function<bool(JdbcUtils&)> call;  ///< true being success
  bool mayLeavePending = false;
  const char* word = "postgresql";
};

const JdbcRow kJdbcRows[] = {
    {"NewStringArray", State::configured, makeArray, kPending},
    {"getConnection, oracle", State::configured, connect, false, "oracle"},
    {"getConnection, mssql", State::configured, connect, false, "mssql"},
    {"getConnection, velmar", State::configured, connect, false, "velmar"},
    {"getConnection, db2", State::configured, connect, false, "db2"},
    {"getConnection, teradata", State::configured, connect, false, "teradata"},
    {"getConnection, postgresql", State::configured, connect},
    {"setAutoCommit", State::connected, [](auto& j) { return j.setAutoCommit(!j.autoCommit); }, kPending},
    {"commit", State::connected, [](auto& j) { return j.commit(); }, kPending},
    {"getStatement", State::connected, [](auto& j) { return j.getStatement(); }},
    {"executeQuery", State::connected, [](auto& j) { return j.executeQuery(wide, 3); }},
    {"executeQuery again", State::row, [](auto& j) { return j.executeQuery(text, 3); }},
    {"next", State::result, [](auto& j) { return j.next(); }, kPending},
    {"getColumn", State::row, readColumn(2), kPending},
    {"getNumColumns", State::result, [](auto& j) { return j.getNumColumns() == 3; }, kPending},
    {"getColumnInfo", State::result, describeColumn, kPending},
    {"closeRS", State::result, [](auto& j) { return j.closeRS(), j.env != nullptr && j.resultSet == nullptr; }},
    {"closeST", State::result, [](auto& j) { return j.closeST(), j.env != nullptr && j.statement == nullptr; }},
    {"closeConnection", State::result,
     [](auto& j) { return j.closeConnection(), j.env != nullptr && j.connection == nullptr; }},
    {"executeUpdate", State::statement, [](auto& j) { return j.executeUpdate(wide) == 7; }},
    {"addToBatch", State::statement, [](auto& j) { return j.addToBatch(wide) == 0; }},
    {"executeBatch", State::statement, executeBatch},
    {"executeBatch without counts", State::statement, [](auto& j) { return j.executeBatch(nullptr) == 0; }},
    {"getTables", State::connected, listTables},
    {"getTables of Oracle", State::row, listTables, false, "oracle"},
    {"getTables of Teradata", State::connected, listTables, false, "teradata"},
};

/// What is built upon the object, or works without an environment.
const JdbcRow kRowsAround[] = {
    {"javaInit", State::fresh, attach},
    {"getColumn of a date", State::row, readColumn(3), kPending},
    {"makeArrowStream", State::statement, readStream},
};

/// Whatever failed, the object must still close, and hold nothing then.
std::vector<Member> jdbcMembers() {
  std::vector<JdbcRow> rows(std::begin(kJdbcRows), std::end(kJdbcRows));
  rows.insert(rows.end(), std::begin(kRowsAround), std::end(kRowsAround));
  std::vector<Member> members;
  members.reserve(rows.size());
  for (const JdbcRow& row : rows) {
    members.push_back({row.name, [row](JniLedger& ledger, const Armed& armed) {
                         JdbcUtils utils;
                         EXPECT_TRUE(bring(utils, row.state, row.word));
                         armed([&] { row.call(utils); });
                         EXPECT_TRUE(row.mayLeavePending || !ledger.exceptionPending());
                         utils.closeConnection();
                         utils.destroy();
                       }});
  }
  return members;
}

TEST_F(LedgerSweep, BridgeReleasesEverythingWhicheverCallFails) { sweep(bridgeMembers(), "JavaConnectionUtils"); }

TEST_F(LedgerSweep, JdbcReleasesEverythingWhicheverCallFails) { sweep(jdbcMembers(), "JdbcUtils"); }

TEST_F(LedgerSweep, AMemberOfJdbcUtilsNeedsJavaInitAndPrintsAnExceptionLeftBeforeIt) {
  for (const JdbcRow& row : kJdbcRows) {
    SCOPED_TRACE(row.name);
    JdbcUtils unborn;
    unborn.vendor = row.word;
    EXPECT_FALSE(row.call(unborn));

    JdbcUtils utils;
    ASSERT_TRUE(bring(utils, row.state, row.word));
    EXPECT_FALSE(env->ExceptionCheck());
    leavePending();
    EXPECT_EQ(printed([&] { EXPECT_TRUE(row.call(utils)); }), kLeftOver);
    EXPECT_FALSE(env->ExceptionCheck());
    utils.closeConnection();
  }
}

TEST_F(LedgerSweep, AValueThatMemoryRanOutForIsNoSqlNull) {
  const JniLedger ledger;
  std::string className = "doubles/Bridge";
  JavaConnectionUtils bridge(className);
  JdbcUtils utils;
  ASSERT_TRUE(bridge.javaInit() && bring(utils, State::row, "postgresql"));
  const std::function<bool(char*&)> ofBridge = [&bridge](char*& value) { return bridge.getColumn(2, value); };
  const std::function<bool(char*&)> ofUtils = [&utils](char*& value) { return utils.getColumn(2, value); };
  // No memory for the buffer, or for the characters, whose call is the last one that can fail.
  const std::tuple<std::function<bool(char*&)>, Fault, int> rows[] = {
      {ofBridge, Fault::kAllocation, 1},
      {ofBridge, Fault::kNull, 4},
      {ofUtils, Fault::kAllocation, 1},
      {ofUtils, Fault::kNull, 2},
  };
  for (const auto& [read, fault, nth] : rows) {
    char mark = 'm';
    char* value = &mark;
    JniLedger::plan(fault, nth);
    Armed{fault}([&read = read, &value] { EXPECT_FALSE(read(value)); });
    EXPECT_TRUE(JniLedger::faultFired());
    EXPECT_EQ(value, nullptr);
  }
  utils.closeConnection();
  utils.destroy();
  EXPECT_EQ(ledger.violations(), std::vector<std::string>());
}

}  // namespace
}  // namespace kivo::test
