#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bad_network.h"
#include "jni_ledger.h"
#include "patience.h"
#include "process_usage.h"
#include "sql_client.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Fault = BadNetwork::Fault;
constexpr int kRows = 300;
/// The answers to an update and a batch come within this many bytes.
constexpr std::size_t kChanges = 200;

/// Both classes on one server, through a network that each test spoils.
class DyingServer : public testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    server = new TestServer("postgres");
    network = new BadNetwork(server->port);
    server->sql("create table done (id int primary key)");
  }
  static void TearDownTestSuite() {
    delete network;
    delete server;
  }

  void SetUp() override {
    const StderrCapture quiet;
    client_ = newClient(GetParam());
    expectWorks();
    client_->close();
    files_ = openFiles();
  }
  void TearDown() override {
    client_->close();
    client_.reset();
    EXPECT_EQ(ledger_.complaint(), "");
    for (unsigned wait = 0; wait < 2000 * patience() && openFiles() > files_; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_LE(openFiles(), files_);
  }

  bool connect() {
    const std::string url = "jdbc:postgresql://" + server->host + ':' + network->port + '/' + server->database;
    return client_->connect(url, server->user, server->password);
  }

  /// Reads "1, 2, ..." to its end or to a failure, which must not look like the end. @return how many rows came.
  int readOn(int already, int all) {
    int row = already;
    for (; client_->next(); ++row) {
      std::unique_ptr<char, decltype(&std::free)> value(client_->column(1), &std::free);
      EXPECT_STREQ(value.get(), std::to_string(row + 1).c_str());
    }
    EXPECT_EQ(client_->failed(), row < all);
    return row;
  }

  static std::string series(int rows) { return "select generate_series(1, " + std::to_string(rows) + ")"; }

  /// The same object connects again and does everything right.
  void expectWorks() {
    client_->close();
    network->plan();
    ASSERT_TRUE(connect());
    EXPECT_TRUE(client_->query(series(kRows)));
    EXPECT_EQ(readOn(0, kRows), kRows);
  }

  static inline TestServer* server = nullptr;
  static inline BadNetwork* network = nullptr;
  JniLedger ledger_;
  std::unique_ptr<SqlClient> client_;
  long files_ = 0;
};

TEST_P(DyingServer, ABackendThatIsKilledFailsWhatNeedsIt) {
  constexpr int kMany = 100000;
  const StderrCapture quiet;
  client_->close();
  for (const bool reads : {true, false}) {
    ASSERT_TRUE(connect() && client_->query(series(kMany)));
    for (int row = 0; row < 200; ++row) ASSERT_TRUE(client_->next());
    server->sql(
        "select pg_terminate_backend(pid) from pg_stat_activity where datname <> '' and pid <> pg_backend_pid()");
    if (reads) {
      EXPECT_LT(readOn(200, kMany), 2000) << "rows came that were not fetched";
      EXPECT_FALSE(client_->update("insert into done values (-1)"));
      EXPECT_FALSE(client_->batch({"insert into done values (-2)"}));
    }
    expectWorks();
    client_->close();
  }
  EXPECT_EQ(server->sql("select count(*) from done where id < 0"), "0");
}

TEST_P(DyingServer, NothingIsReportedAsDoneThatWasNot) {
  const StderrCapture quiet;
  server->sql("truncate done");
  std::vector<int> done;
  int id = 0;
  const auto live = [&] {
    const std::string insert = "insert into done values (";
    const int first = id;
    id += 3;
    if (client_->update(insert + std::to_string(first) + ")")) done.push_back(first);
    const std::string next = std::to_string(first + 1);
    if (client_->batch({insert + next + ")", insert + std::to_string(first + 2) + ")"})) {
      done.insert(done.end(), {first + 1, first + 2});
    }
    if (client_->query(series(kRows))) readOn(0, kRows);
    client_->close();
  };
  ASSERT_TRUE(connect());
  network->plan();
  live();
  const std::size_t whole = network->passed();
  EXPECT_EQ(done.size(), 3U);
  // Close together at first, among the answers that report changes, then further apart.
  for (const Fault fault : {Fault::kReset, Fault::kEnd}) {
    for (std::size_t after = 0; after < whole; after += after < kChanges ? 1 : 53) {
      SCOPED_TRACE(std::to_string(after) + " bytes came through");
      network->plan();
      ASSERT_TRUE(connect());
      network->plan(after, fault);
      live();
    }
  }
  std::string ids = "-1";
  for (const int reported : done) ids += ", " + std::to_string(reported);
  EXPECT_EQ(server->sql("select count(*) from done where id in (" + ids + ")"), std::to_string(done.size()));
  EXPECT_LT(done.size(), static_cast<std::size_t>(id)) << "no connection broke";
  std::printf("%s: %d statements, %zu reported as done\n", GetParam(), id, done.size());
  expectWorks();
}

TEST_P(DyingServer, WhatTheHeapCannotHoldFails) {
  ASSERT_STREQ(std::getenv("KIVO_TEST_HEAP_MB"), "64") << "it would fit a larger heap";
  const StderrCapture quiet;
  for (const char* sql :
       {"select repeat('v', 100000000)", "select repeat('v', 10000000) from generate_series(1, 20)"}) {
    SCOPED_TRACE(sql);
    client_->close();
    ASSERT_TRUE(connect());
    int rows = 0;
    bool failed = !client_->query(sql);
    for (; !failed && client_->next(); ++rows) std::free(client_->column(1));
    EXPECT_TRUE(failed || client_->failed());
    EXPECT_LT(rows, 20);
    expectWorks();
  }
}

INSTANTIATE_TEST_SUITE_P(Each, DyingServer, testing::Values("JdbcUtils", "jdbcWrapper"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace kivo::test
