// What a host does for weeks, in two minutes: memory, references and open files must not grow.

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "JavaVmHost.h"
#include "KivoArrow.h"
#include "arrow_text.h"
#include "jni_ledger.h"
#include "process_usage.h"
#include "sql_client.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

constexpr int kSlices = 25;
/// This many slices pass before anything is compared: the Java VM still loads and compiles then.
constexpr int kWarmUp = 8;
/// What a slice may add. It is below 0.1 byte a cell, 5 bytes a statement, 1 byte a failure and 900 bytes a thread; of
/// that, the JNI ledger itself takes some 250 bytes a thread. Java objects cannot pile up either: the heap has 16 MB.
constexpr double kToleranceKb = 32;

struct Usage {
  double residentKb;
  double allocatedKb;  ///< by malloc, from all libraries of the process
  long files;
  int references;
};

class Soak : public testing::Test {
 protected:
  Soak() {
    // The server's own log of a million refusals would fill the disk.
    server.sql("alter system set log_min_messages = panic; select pg_reload_conf()");
    server.sql("create table t (id int); insert into t values (1)");
    for (SqlClient* client : all) EXPECT_TRUE(connect(*client));
  }
  ~Soak() override {
    for (SqlClient* client : all) client->close();
  }

  Usage usage() {
    malloc_trim(0);
    return {residentKb(), allocatedKb(), openFiles(),
            ledger.liveLocals() + ledger.liveGlobals() + ledger.liveCharacters()};
  }

  /// @param slice does a part of the work. @return how many operations that were.
  void soak(const char* what, long atLeast, const std::function<long()>& slice) {
    const auto start = std::chrono::steady_clock::now();
    std::vector<Usage> uses;
    long operations = 0;
    for (int number = 0; number < kSlices; ++number) {
      operations += slice();
      if (number >= kWarmUp) uses.push_back(usage());
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const double resident = growth(uses, &Usage::residentKb);
    const double allocated = growth(uses, &Usage::allocatedKb);
    std::printf(
        "%ld %s in %.1f s; per %ld of them resident memory grows by %.1f kB, allocated by %.1f kB; %d references, "
        "%ld files\n",
        operations, what, seconds.count(), operations / kSlices, resident, allocated, uses.back().references,
        uses.back().files);
    EXPECT_GE(operations, atLeast);
    EXPECT_LE(resident, kToleranceKb);
    EXPECT_LE(allocated, kToleranceKb);
    EXPECT_EQ(uses.back().references, uses.front().references);
    EXPECT_EQ(uses.back().files, uses.front().files);
  }

  /// The median step from slice to slice: what leaks adds to each, while a method that Java compiles or memory that
  /// malloc gives back shows in one.
  static double growth(const std::vector<Usage>& uses, double Usage::*value) {
    std::vector<double> steps;
    for (std::size_t index = 1; index < uses.size(); ++index) {
      steps.push_back(uses[index].*value - uses[index - 1].*value);
    }
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
  }

  bool connect(SqlClient& client) const {
    return client.connect("jdbc:postgresql://" + server.host + ':' + server.port + '/' + server.database, server.user,
                          server.password);
  }

  static long read(SqlClient& client, const std::string& sql, int columns) {
    EXPECT_TRUE(client.query(sql));
    long cells = 0;
    while (client.next()) {
      for (int column = 1; column <= columns; ++column, ++cells) std::free(client.column(column));
    }
    return cells;
  }

  TestServer server{"postgres"};
  JniLedger ledger;
  JdbcClient jdbc;
  WrapperClient wrapper;
  BridgeClient bridge;
  SqlClient* const all[3] = {&jdbc, &wrapper, &bridge};
};

TEST_F(Soak, TenMillionCells) {
  const std::string sql = "select g, 'text', date '2024-02-29', null from generate_series(1, 40000) g";
  soak("cells", 10000000, [&] { return read(jdbc, sql, 4) + read(wrapper, sql, 4) + read(bridge, sql, 4); });
}

TEST_F(Soak, TwoMillionTypedRows) {
  soak("typed rows", 2000000, [&] {
    EXPECT_TRUE(
        wrapper.query("select g, 'text ' || g, date '2024-02-29', g / 7.0, null from generate_series(1, 80000) g"));
    Held<ArrowArrayStream> stream;
    std::string error;
    EXPECT_TRUE(makeArrowStream(wrapper.wrapper, stream, error, byRows(4096))) << error;
    return static_cast<long>(countRows(stream).value_or(0));
  });
}

TEST_F(Soak, AHundredThousandStatements) {
  constexpr int kTimes = 1600;
  soak("statements", 100000, [&] {
    for (int time = 0; time < kTimes; ++time) {
      EXPECT_TRUE(jdbc.update("update t set id = 1") && wrapper.update("update t set id = 1"));
      for (SqlClient* client : all) EXPECT_EQ(read(*client, "select 1", 1), 1);
    }
    return 5L * kTimes;
  });
}

TEST_F(Soak, AMillionFailures) {
  const StderrCapture quiet;
  soak("failing operations", 1000000, [&] {
    long failures = 0;
    const auto expectNo = [&failures](bool done) { failures += done ? 0 : 1; };
    // Refused by the server.
    for (int time = 0; time < 500; ++time) {
      expectNo(jdbc.update("no statement"));
      expectNo(wrapper.update("no statement"));
      expectNo(bridge.query("no statement"));
    }
    // Refused by Java, on rows that are closed; a column that is not there.
    jdbc.query("select 1");
    jdbc.update("update t set id = 1");
    for (int time = 0; time < 6000; ++time) {
      expectNo(jdbc.next());
      expectNo(jdbc.column(1) != nullptr);
      expectNo(bridge.column(9) != nullptr);
      for (int again = 0; again < 4; ++again) expectNo(wrapper.column(9) != nullptr);
    }
    return failures;
  });
}

TEST_F(Soak, AThousandThreadsThatComeAndGo) {
  const auto visit = [this](const char* name) {
    {
      const auto client = newClient(name);
      EXPECT_TRUE(connect(*client));
      EXPECT_EQ(read(*client, "select 1 from generate_series(1, 5)", 1), 5);
      client->close();
    }
    _globaljvm->DetachCurrentThread();
  };
  soak("threads", 1000, [&] {
    for (int wave = 0; wave < 10; ++wave) {
      std::vector<std::thread> threads;
      for (const char* name : {"JdbcUtils", "jdbcWrapper", "JdbcUtils", "jdbcWrapper"}) {
        threads.emplace_back(visit, name);
      }
      for (std::thread& thread : threads) thread.join();
    }
    return 40L;
  });
}

}  // namespace
}  // namespace kivo::test
