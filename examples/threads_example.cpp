// Several threads, an object each, and the detach that ends a thread of the host's own.
//
//   threads_example
//
// The library attaches the threads that use it and never detaches one. A host whose threads come and go detaches each
// through _globaljvm after its last use of the library, or the Java VM keeps a record of every thread that ended.

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "JavaVmHost.h"
#include "example_host.h"
#include "jdbcWrapper.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRows = 10000;

/// Detaches the thread at its end: declared before the objects that the thread uses, so that it goes after them.
struct DetachAtEnd {
  ~DetachAtEnd() { _globaljvm->DetachCurrentThread(); }
};

/// Adds up a query's only column. @return -1 on failure.
long sum(jdbcWrapper& database, const std::string& sql) {
  if (!database.executeQuery(sql, 0)) return -1;
  long total = 0;
  while (database.next()) {
    char* value = nullptr;
    if (!database.getColumn(1, value) || value == nullptr) return -1;
    total += std::strtol(value, nullptr, 10);
    std::free(value);
  }
  return database.errorState == 0 ? total : -1;
}

bool work(int number) {
  const DetachAtEnd detach;
  jdbcWrapper database;
  std::string url = "jdbc:h2:mem:thread" + std::to_string(number);
  if (!database.setUrl("", "", "", "", "", url) || !database.getConnection("", "") || !database.getStatement()) {
    std::cerr << database.errorMessage << std::endl;
    return false;
  }
  const long total = sum(database, "select x from system_range(1, " + std::to_string(kRows) + ")");
  return database.closeConnection() && total == static_cast<long>(kRows) * (kRows + 1) / 2;
}

}  // namespace

int main() {
  example::startJavaVm();
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([number, &right] {
      if (work(number)) ++right;
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::cout << right << " of " << kThreads << " threads read " << kRows << " rows each, with the right sum\n";
  return right == kThreads ? 0 : 1;
}
