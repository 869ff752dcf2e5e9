// A password must not come out of anything that fails: not on standard output or error, not in an error text.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JdbcUtils.h"
#include "jdbcWrapper.h"
#include "jni_ledger.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

const std::string kSecret = "s3cr3t-M4rker";
std::string sql = "no statement";

/// @return what the process writes to standard output and error while the body runs.
template <class Body>
std::string printed(Body body) {
  const StderrCapture captured;
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  body();
  std::fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  return captured.text();
}

/// Where to connect; each member tells the error text that it was given, if any.
struct Target {
  std::string url;
  std::string user;
  std::string password;

  std::string throughJdbcUtils() {
    JdbcUtils utils;
    std::string none;
    std::string error;
    utils.javaInit();
    utils.setUrl(none, none, none, none, none, url, none, error);
    if (utils.getConnection(user, password, error)) utils.executeQuery(sql, 0);
    utils.closeConnection();
    return error;
  }

  std::string throughBridge() {
    std::string className = "com/ulvanejdbc/JdbcConnection";
    std::vector<std::string> names = {"url", "user", "password", "query"};
    std::vector<std::string> values = {url, user, password, sql};
    JavaConnectionUtils bridge(className);
    if (bridge.javaInit() && bridge.setParams(names, values) && bridge.makeConnection()) bridge.query();
    return {};
  }

  std::string throughWrapper() {
    jdbcWrapper wrapper;
    std::string ready = url;
    const bool connected = wrapper.setUrl("", "", "", "", "", ready) && wrapper.getConnection(user, password);
    if (connected && wrapper.getStatement()) wrapper.executeQuery(sql, 0);
    std::string error = wrapper.errorMessage;
    wrapper.closeConnection();
    return error;
  }
};

const struct {
  const char* name;
  std::string (Target::*connect)();
  bool prints;
} kClasses[] = {
    {"JdbcUtils", &Target::throughJdbcUtils, true},
    {"JavaConnectionUtils", &Target::throughBridge, true},
    {"jdbcWrapper", &Target::throughWrapper, false},
};

TEST(Secrets, StayInsideWhenDatabasesRefuse) {
  const TestServer server("postgres");
  const std::string place = server.host + ':' + server.port + '/' + server.database;
  const std::string postgres = "jdbc:postgresql://" + place;
  const Target rows[] = {
      {postgres, server.user, kSecret},
      {postgres + "?user=" + server.user + "&password=" + kSecret, "", ""},
      {"jdbc:postgresql://127.0.0.1:1/d?password=" + kSecret, "u", kSecret},
      {"jdbc:h2:mem:x;USER=u;PASSWORD=" + kSecret + ";NO_SUCH_SETTING=1", "", ""},
      {"jdbc:no-such-driver://u:" + kSecret + "@h/d", "u", kSecret},
      {"jdbc::" + kSecret, "u", kSecret},
      {"scott/" + kSecret + "@h:1521:S", "u", kSecret},
      {kSecret, "u", kSecret},
  };
  for (Target row : rows) {
    for (const auto& each : kClasses) {
      SCOPED_TRACE(row.url + " through " + each.name);
      std::string error;
      const std::string output = printed([&] { error = (row.*each.connect)(); });
      EXPECT_EQ(output.find(kSecret) + 1, 0U) << output;
      EXPECT_EQ(error.find(kSecret) + 1, 0U) << error;
      EXPECT_NE(error + output, "") << "nothing failed";
      EXPECT_TRUE(each.prints || output.empty()) << output;
    }
  }
}

TEST(Secrets, StayInsideWhicheverCallFails) {
  JniLedger ledger;
  ledger.setTraceLimit(0);
  Target rows[] = {
      {"jdbc:oracle:thin:u/" + kSecret + "@h:1:S", "u", kSecret},
      {"jdbc:microsoft:sqlserver://h:1;databaseName=d;password=" + kSecret, "u", kSecret},
      {"jdbc:velmar:Tds:h:1/d?password=" + kSecret, "u", kSecret},
      {"jdbc:netezza://h:1/d?password=" + kSecret, "u", kSecret},
      {"jdbc:teradata://h/DBS_PORT=1,DATABASE=d,PASSWORD=" + kSecret, "u", kSecret},
      {"jdbc:db2://h:1/d:password=" + kSecret + ";", "u", kSecret},
      {"jdbc:kx:h:1:u:" + kSecret, "u", kSecret},
      {"jdbc:h2:mem:x;PASSWORD=" + kSecret, "u", kSecret},
  };
  for (Target& row : rows) {
    for (const auto& each : kClasses) {
      for (const Fault fault : {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter}) {
        SCOPED_TRACE(row.url + " through " + each.name);
        std::string errors;
        const std::string output =
            printed([&] { sweepFaults(ledger, fault, [&] { errors += (row.*each.connect)() + '\n'; }); });
        EXPECT_EQ(output.find(kSecret) + 1, 0U);
        EXPECT_EQ(errors.find(kSecret) + 1, 0U) << errors;
        EXPECT_TRUE(each.prints || output.empty()) << output;
      }
    }
  }
}

}  // namespace
}  // namespace kivo::test
