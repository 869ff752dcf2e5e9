#include "interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "exit_codes.h"
#include "messages.h"

namespace kivosql {

namespace {

constexpr int kPatienceMilliseconds = 5000;
constexpr char kSignalled = 's';
constexpr char kFinished = 'f';

std::atomic<bool> signalled{false};
std::atomic<int> writeEnd{-1};

void onInterrupt(int /*signal*/) {
  const int error = errno;
  signalled = true;
  if (write(writeEnd, &kSignalled, 1) < 0) _exit(kInterrupted);
  errno = error;
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

/// The first interrupt cancels; a second one, or a database that does not answer, ends the process.
void Interrupt::watch() {
  char what = kFinished;
  if (read(pipe_[0], &what, 1) != 1 || what == kFinished) return;
  const int patience = session_.cancel() ? kPatienceMilliseconds : 0;
  pollfd more{pipe_[0], POLLIN, 0};
  if (poll(&more, 1, patience) == 1 && read(pipe_[0], &what, 1) == 1 && what == kFinished) return;
  complain("interrupted; the database was not told, or did not answer");
  _exit(kInterrupted);
}

}  // namespace kivosql
