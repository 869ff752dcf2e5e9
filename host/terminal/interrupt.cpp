#include "terminal/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr unsigned kPatienceSeconds = 5;
constexpr int kAgainMilliseconds = 200;
constexpr char kSignalled = 's';
constexpr char kFinished = 'f';

std::atomic<int> signalled{0};
int wake[2] = {-1, -1};  // a pipe, since a handler may do little more than write

/// The first signal cancels. A database that hangs does not react to that, so a second Ctrl-C ends the process. Other
/// signals do not count twice: shells and service managers send them twice.
void onSignal(int signal) {
  const int error = errno;
  int none = 0;
  const bool first = signalled.compare_exchange_strong(none, signal);
  if (first ? write(wake[1], &kSignalled, 1) < 0 : signal == SIGINT) _exit(Interrupt::exitCode());
  errno = error;
}

[[noreturn]] void leave(const std::string& why) {
  // Away from a line that moves.
  if (errorsOnTerminal) draw("\n");
  complain("interrupted; the statement may run on in the database" + why);
  _exit(Interrupt::exitCode());
}

/// Cancels until all has ended, since a statement that was about to begin misses the first time.
void watch(const std::function<bool()>& cancel) {
  char what = kFinished;
  if (read(wake[0], &what, 1) != 1 || what == kFinished) return;
  pollfd finished{wake[0], POLLIN, 0};
  std::thread canceller([&cancel, finished]() mutable {
    if (!cancel()) leave(", which could not be reached");
    while (poll(&finished, 1, kAgainMilliseconds) == 0) cancel();
  });
  if (poll(&finished, 1, kPatienceSeconds * 1000) != 1) {
    leave(": it had not ended after " + counted(kPatienceSeconds, "second"));
  }
  canceller.join();
}

}  // namespace

Interrupt::Interrupt(const std::function<bool()>& cancel) {
  if (pipe2(wake, O_CLOEXEC) != 0) return;
  watcher_ = std::thread(watch, cancel);
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    // Ctrl-C is not meant for a shell's background job, nor SIGHUP for what nohup started.
    if (action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
  }
}

Interrupt::~Interrupt() {
  if (!watcher_.joinable()) return;
  // Handler and pipe stay: if the process ended while its database closes, stored rows could be lost.
  if (write(wake[1], &kFinished, 1) == 1) watcher_.join();
}

bool Interrupt::happened() { return signalled != 0; }

int Interrupt::exitCode() { return 128 + (happened() ? signalled.load() : SIGINT); }

}  // namespace kivosql
