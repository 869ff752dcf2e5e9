#pragma once

#include <thread>

#include "session/session.h"

namespace kivosql {

/// Makes Ctrl-C, SIGTERM and SIGHUP end the statement that runs, in the database too. Lives from after open() to before
/// close(), which only a second Ctrl-C ends.
///
/// The Java VM takes these signals when it starts, and its threads unblock them, so that sigwait() in a thread of the
/// host's never sees them; a handler installed later simply takes the VM's place.
class Interrupt {
 public:
  explicit Interrupt(Session& session);
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether one came. Any thread, any time.
  static bool happened();

  /// Of a process that one ended.
  static int exitCode();

 private:
  void watch();

  Session& session_;
  int pipe_[2] = {-1, -1};
  std::thread watcher_;
};

}  // namespace kivosql
