#pragma once

#include <functional>
#include <future>
#include <thread>

namespace kivosql {

/// Makes Ctrl-C, SIGTERM and SIGHUP cancel the statement that runs. To be made after the session was opened, and
/// destroyed before it is closed; only a second Ctrl-C ends the closing.
///
/// The Java VM takes these signals when it starts, and its threads unblock them, so that sigwait() in a thread of the
/// host's never sees them. A handler installed later takes the VM's place.
class Interrupt {
 public:
  /// @param cancel called on another thread; false when the database cannot be reached
  explicit Interrupt(const std::function<bool()>& cancel);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether a signal came. Any thread, any time.
  static bool happened();

  /// The exit code of a process that a signal ended, as a shell has it; Ctrl-C's if none came.
  static int exitCode();

 private:
  std::promise<void> finished_;
  std::thread watcher_;
};

}  // namespace kivosql
