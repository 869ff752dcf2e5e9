#include "terminal/progress.h"

#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr auto kQuiet = std::chrono::seconds(1);
constexpr auto kBeat = std::chrono::milliseconds(200);
constexpr const char* kErase = "\r\x1B[K";
/// A line that wraps could not be erased: what is too wide for the terminal is cut.
constexpr const char* kNoWrap = "\x1B[?7l";
constexpr const char* kWrap = "\x1B[?7h";

}  // namespace

double Stopwatch::elapsed() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

Progress::Progress(unsigned long long total) : total_(total) {
  if (errorsOnTerminal()) thread_ = std::thread([this] { run(); });
}

void Progress::advance(unsigned long long rows, unsigned long long done) {
  rows_ = rows;
  done_ = done;
}

void Progress::stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Progress::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto stopping = [this] { return stopping_; };
  if (wake_.wait_for(lock, kQuiet, stopping)) return;
  do {
    draw(kErase + (kNoWrap + line()) + kWrap);
  } while (!wake_.wait_for(lock, kBeat, stopping));
  draw(kErase);
}

std::string Progress::line() const {
  const double elapsed = watch_.elapsed();
  const unsigned long long rows = rows_;
  std::string text = counted(rows, "row") + "  " + grouped(static_cast<unsigned long long>(double(rows) / elapsed)) +
                     " rows/s  " + seconds(elapsed);
  const double share = total_ == 0 ? 0 : double(done_) / double(total_);
  if (share <= 0) return text;
  return text + "  " + std::to_string(int(share * 100)) + " %  " + seconds(elapsed / share - elapsed) + " left";
}

}  // namespace kivosql
