#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace kivosql {

/// Seconds since it was made.
class Stopwatch {
 public:
  double elapsed() const;

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// A line on standard error that moves while something takes longer than a second: rows, rate, time, and, where the
/// total is known, the share done and the time left. Only on a terminal. It is gone when the object is.
class Progress {
 public:
  /// @param total in whatever advance() counts as done; 0 when not known.
  explicit Progress(unsigned long long total = 0);
  ~Progress() { stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(unsigned long long rows, unsigned long long done = 0);

  /// Removes the line for good.
  void stop();

 private:
  void run();
  std::string line() const;

  const unsigned long long total_;
  Stopwatch watch_;
  std::atomic<unsigned long long> rows_{0};
  std::atomic<unsigned long long> done_{0};
  bool stopping_ = false;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace kivosql
