#include "terminal/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr unsigned kPatienceSeconds = 5;
constexpr int kAgainMilliseconds = 200;
constexpr char kSignalled = 's';
constexpr char kFinished = 'f';

std::atomic<int> signalled{0};
std::atomic<int> writeEnd{-1};

/// The first signal cancels. A database that hangs does not react to that, so a second Ctrl-C ends the process. Other
/// signals do not count twice: shells and service managers send them twice.
void onSignal(int signal) {
  const int error = errno;
  int none = 0;
  const bool first = signalled.compare_exchange_strong(none, signal);
  if (first ? write(writeEnd, &kSignalled, 1) < 0 : signal == SIGINT) _exit(Interrupt::exitCode());
  errno = error;
}

[[noreturn]] void leave(const std::string& why) {
  // Away from a line that moves.
  if (errorsOnTerminal()) draw("\n");
  complain("interrupted; the statement may run on in the database" + why);
  _exit(Interrupt::exitCode());
}

}  // namespace

Interrupt::Interrupt(std::function<bool()> cancel) : cancel_(std::move(cancel)) {
  if (pipe2(pipe_, O_CLOEXEC) != 0) return;
  writeEnd = pipe_[1];
  watcher_ = std::thread([this] { watch(); });
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
  if (write(pipe_[1], &kFinished, 1) == 1) watcher_.join();
}

bool Interrupt::happened() { return signalled != 0; }

int Interrupt::exitCode() { return 128 + (happened() ? signalled.load() : SIGINT); }

/// Cancels until all has ended, since a statement that was about to begin misses the first time.
void Interrupt::watch() {
  char what = kFinished;
  if (read(pipe_[0], &what, 1) != 1 || what == kFinished) return;
  pollfd finished{pipe_[0], POLLIN, 0};
  std::thread canceller([this, finished]() mutable {
    if (!cancel_()) leave(", which could not be reached");
    while (poll(&finished, 1, kAgainMilliseconds) == 0) cancel_();
  });
  if (poll(&finished, 1, kPatienceSeconds * 1000) != 1) {
    leave(": it had not ended after " + counted(kPatienceSeconds, "second"));
  }
  canceller.join();
}

}  // namespace kivosql
