// What a host does for weeks, in two minutes: memory, references and open files must not grow.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "JavaConnectionUtils.h"
#include "JavaVmHost.h"
#include "jni_ledger.h"
#include "sql_client.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

constexpr int kSlices = 25;
/// So many slices pass before anything is compared: the Java VM still loads and compiles then.
constexpr int kWarmUp = 8;
/// What a slice may add. It is below 0.1 byte a cell, 9 bytes a statement, 1 byte a failure and 900 bytes a thread; of
/// that, the JNI ledger itself takes some 200 bytes a thread. Java objects cannot pile up either: the heap has 16 MB.
constexpr double kToleranceKb = 32;

struct Usage {
  double residentKb;
  double allocatedKb;  ///< by malloc, from all libraries of the process
  long files;
  int references;
};

long openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

double residentKb() {
  std::ifstream statm("/proc/self/statm");
  long total = 0;
  long resident = 0;
  statm >> total >> resident;
  return static_cast<double>(resident * (sysconf(_SC_PAGESIZE) / 1024));
}

/// Keeps the descriptions of a million exceptions off standard error while it lives.
class Hush {
 public:
  Hush() : saved_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~Hush() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  Hush(const Hush&) = delete;
  Hush& operator=(const Hush&) = delete;

 private:
  int saved_;
};

/// The bridge, over the companion's own connection class.
class BridgeClient {
 public:
  explicit BridgeClient(const TestServer& server) {
    std::vector<std::string> names = {"url", "user", "password"};
    std::vector<std::string> values = {"jdbc:postgresql://" + server.host + ':' + server.port + '/' + server.database,
                                       server.user, server.password};
    EXPECT_TRUE(bridge_.javaInit() && bridge_.setParams(names, values) && bridge_.makeConnection());
  }
  bool query(const std::string& sql) {
    std::vector<std::string> name = {"query"};
    std::vector<std::string> value = {sql};
    return bridge_.setParams(name, value) && bridge_.query();
  }
  bool next() { return bridge_.next(); }
  char* column(int number) {
    char* value = nullptr;
    bridge_.getColumn(number, value);
    return value;
  }

 private:
  std::string className_ = "com/ulvanejdbc/JdbcConnection";
  JavaConnectionUtils bridge_{className_};
};

class Soak : public testing::Test {
 protected:
  Soak() : jdbc(newClient("JdbcUtils")), wrapper(newClient("jdbcWrapper")), bridge(server) {
    // The server's own log of a million refusals would fill the disk.
    server.sql("alter system set log_min_messages = panic; select pg_reload_conf()");
    server.sql("create table t (id int); insert into t values (1)");
    ledger.setTraceLimit(0);
    EXPECT_TRUE(jdbc->connect(server, server.port) && wrapper->connect(server, server.port));
  }
  ~Soak() override {
    jdbc->close();
    wrapper->close();
  }

  Usage usage() {
    malloc_trim(0);
    return {residentKb(), static_cast<double>(mallinfo2().uordblks) / 1024, openFiles(),
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

  template <class Client>
  static long read(Client& client, const std::string& sql, int columns) {
    EXPECT_TRUE(client.query(sql));
    long cells = 0;
    while (client.next()) {
      for (int column = 1; column <= columns; ++column, ++cells) std::free(client.column(column));
    }
    return cells;
  }

  TestServer server{"postgres"};
  JniLedger ledger;
  std::unique_ptr<SqlClient> jdbc;
  std::unique_ptr<SqlClient> wrapper;
  BridgeClient bridge;
};

TEST_F(Soak, TenMillionCells) {
  const std::string sql = "select g, 'text', date '2024-02-29', null from generate_series(1, 40000) g";
  soak("cells", 10000000, [&] { return read(*jdbc, sql, 4) + read(*wrapper, sql, 4) + read(bridge, sql, 4); });
}

TEST_F(Soak, AHundredThousandStatements) {
  constexpr int kTimes = 800;
  soak("statements", 100000, [&] {
    for (int time = 0; time < kTimes; ++time) {
      for (SqlClient* client : {jdbc.get(), wrapper.get()}) {
        EXPECT_TRUE(client->update("update t set id = 1"));
        EXPECT_EQ(read(*client, "select 1", 1), 1);
      }
      EXPECT_EQ(read(bridge, "select 1", 1), 1);
    }
    return 5L * kTimes;
  });
}

TEST_F(Soak, AMillionFailures) {
  const Hush hush;
  soak("failing operations", 1000000, [&] {
    long failures = 0;
    // Refused by the server.
    for (int time = 0; time < 500; ++time) {
      for (SqlClient* client : {jdbc.get(), wrapper.get()}) failures += client->update("no statement") ? 0 : 1;
      failures += bridge.query("no statement") ? 0 : 1;
    }
    // Refused by Java, on rows that are closed; a column that is not there.
    jdbc->query("select 1");
    jdbc->update("update t set id = 1");
    for (int time = 0; time < 6000; ++time) {
      failures += jdbc->next() ? 0 : 1;
      failures += jdbc->column(9) == nullptr ? 1 : 0;
      failures += bridge.column(9) == nullptr ? 1 : 0;
      for (int again = 0; again < 4; ++again) failures += wrapper->column(9) == nullptr ? 1 : 0;
    }
    return failures;
  });
}

TEST_F(Soak, AThousandThreadsThatComeAndGo) {
  const auto visit = [this](const char* name) {
    const auto client = newClient(name);
    EXPECT_TRUE(client->connect(server, server.port));
    EXPECT_EQ(read(*client, "select 1 from generate_series(1, 5)", 1), 5);
    client->close();
  };
  soak("threads", 1000, [&] {
    for (int wave = 0; wave < 10; ++wave) {
      std::vector<std::thread> threads;
      for (const char* name : {"JdbcUtils", "jdbcWrapper", "JdbcUtils", "jdbcWrapper"}) {
        threads.emplace_back([&visit, name] {
          visit(name);
          _globaljvm->DetachCurrentThread();
        });
      }
      for (std::thread& thread : threads) thread.join();
    }
    return 40L;
  });
}

}  // namespace
}  // namespace kivo::test
