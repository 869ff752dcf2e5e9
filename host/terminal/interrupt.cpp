#include "terminal/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include "failure.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kPatienceSeconds = 5;
constexpr int kAgainMilliseconds = 200;
constexpr char kSignalled = 's';
constexpr char kFinished = 'f';

std::atomic<int> signalled{0};
std::atomic<int> writeEnd{-1};

/// The first signal cancels, which a database that hangs lets hang too; a second Ctrl-C ends the process. Of the others
/// a second one means nothing: shells and service managers send them twice.
void onSignal(int signal) {
  const int error = errno;
  int none = 0;
  const bool first = signalled.compare_exchange_strong(none, signal);
  if (first ? write(writeEnd, &kSignalled, 1) < 0 : signal == SIGINT) _exit(Interrupt::exitCode());
  errno = error;
}

bool isIgnored(int signal) {
  struct sigaction inherited {};
  sigaction(signal, nullptr, &inherited);
  return inherited.sa_handler == SIG_IGN;
}

[[noreturn]] void leave(const std::string& text) {
  // Away from a line that moves.
  if (errorsOnTerminal()) draw("\n");
  complain(text);
  _exit(Interrupt::exitCode());
}

}  // namespace

Interrupt::Interrupt(Session& session) : session_(session) {
  if (pipe2(pipe_, O_CLOEXEC) != 0) return;
  writeEnd = pipe_[1];
  watcher_ = std::thread([this] { watch(); });
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  for (int signal : kSignals) {
    // A shell's background job is not for Ctrl-C to end, nor what nohup started for SIGHUP.
    if (!isIgnored(signal)) sigaction(signal, &action, nullptr);
  }
}

Interrupt::~Interrupt() {
  if (!watcher_.joinable()) return;
  // Handler and pipe stay: ended while its database closes, the process could lose rows that it said are stored.
  if (write(pipe_[1], &kFinished, 1) == 1) watcher_.join();
}

bool Interrupt::happened() { return signalled != 0; }

int Interrupt::exitCode() { return happened() ? kSignalExit + signalled : kInterrupted; }

/// Cancels again until all has ended, since what was about to begin is not reached by the first time.
void Interrupt::watch() {
  char what = kFinished;
  if (read(pipe_[0], &what, 1) != 1 || what == kFinished) return;
  pollfd finished{pipe_[0], POLLIN, 0};
  std::thread canceller([this, finished]() mutable {
    if (!session_.cancel()) leave("interrupted; the statement may run on in the database, which could not be reached");
    while (poll(&finished, 1, kAgainMilliseconds) == 0) session_.cancel();
  });
  if (poll(&finished, 1, kPatienceSeconds * 1000) != 1) {
    leave("interrupted; the statement may run on in the database: it had not ended after " +
          counted(kPatienceSeconds, "second"));
  }
  canceller.join();
}

}  // namespace kivosql
