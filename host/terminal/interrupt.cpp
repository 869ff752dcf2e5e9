#include "terminal/interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include "cli/exit_codes.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr int kPatienceSeconds = 5;
constexpr char kSignalled = 's';
constexpr char kFinished = 'f';

std::atomic<bool> signalled{false};
std::atomic<int> writeEnd{-1};

void onInterrupt(int /*signal*/) {
  const int error = errno;
  if (signalled.exchange(true)) _exit(kInterrupted);
  if (write(writeEnd, &kSignalled, 1) < 0) _exit(kInterrupted);
  errno = error;
}

[[noreturn]] void leave(const std::string& text) {
  // Away from a line that moves.
  if (errorsOnTerminal()) draw("\n");
  complain(text);
  _exit(kInterrupted);
}

}  // namespace

Interrupt::Interrupt(Session& session) : session_(session) {
  struct sigaction inherited {};
  sigaction(SIGINT, nullptr, &inherited);
  // A shell's background job is not for Ctrl-C to end.
  if (inherited.sa_handler == SIG_IGN || pipe2(pipe_, O_CLOEXEC) != 0) return;
  writeEnd = pipe_[1];
  watcher_ = std::thread([this] { watch(); });
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
}

Interrupt::~Interrupt() {
  if (!watcher_.joinable()) return;
  std::signal(SIGINT, SIG_DFL);
  if (write(pipe_[1], &kFinished, 1) == 1) watcher_.join();
  for (int end : pipe_) close(end);
}

bool Interrupt::happened() { return signalled; }

/// The first interrupt cancels, which a database that hangs lets hang too; a second one ends the process.
void Interrupt::watch() {
  char what = kFinished;
  if (read(pipe_[0], &what, 1) != 1 || what == kFinished) return;
  std::thread canceller([this] {
    if (!session_.cancel()) leave("interrupted; the statement may run on in the database, which could not be asked");
  });
  pollfd finished{pipe_[0], POLLIN, 0};
  if (poll(&finished, 1, kPatienceSeconds * 1000) != 1) {
    leave("interrupted; the statement may run on in the database: it had not ended after " +
          counted(kPatienceSeconds, "second"));
  }
  canceller.join();
}

}  // namespace kivosql
