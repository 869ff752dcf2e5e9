#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>

namespace kivosql {

/// Writes a line to standard error, without the secret and without control characters other than tabs and line ends.
void say(const std::string& text);

/// The same for an error of this program: one line of limited length.
void complain(const std::string& text);

/// The line of the statement where PostgreSQL's driver places the fault, with a caret below it; empty without a place.
/// The texts of other drivers show the place themselves. @param errorText as the driver wrote it, with its line ends
std::string faultLine(const std::string& sql, const std::string& errorText);

/// Writes to standard error unchanged: for what moves on a terminal.
void draw(const std::string& text);

/// From now on no message holds @p text.
void keepSecret(const std::string& text);

/// The text without the secret.
std::string masked(std::string text);

/// Whether standard error, or standard output, is a terminal.
extern const bool errorsOnTerminal;
extern const bool outputOnTerminal;

/// A number with its thousands set apart.
std::string grouped(unsigned long long number);

/// "1 row", "2,000 rows".
std::string counted(unsigned long long number, const char* noun);

/// A moving line on standard error, if that is a terminal, while something takes longer than a second: rows, rate and
/// time. The destructor removes it.
class Progress {
 public:
  Progress();
  ~Progress() { stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(unsigned long long rows) { rows_ = rows; }

  /// Removes the line for good.
  void stop();

  /// How many rows there were, how long they took, and how many that is @p perSecond.
  std::string text(const char* perSecond = " per second") const;

 private:
  void run();

  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::atomic<unsigned long long> rows_{0};
  std::promise<void> stopping_;
  std::thread thread_;
};

}  // namespace kivosql
