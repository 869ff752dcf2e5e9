#include "terminal/interrupt.h"

#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <string>

#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr auto kPatience = std::chrono::seconds(5);
constexpr auto kAgain = std::chrono::milliseconds(200);

std::atomic<int> signalled{0};
sem_t woken;  // by a signal, or at the end

/// The first signal cancels. A database that hangs does not react to that, so a second Ctrl-C ends the process. Other
/// signals do not count twice: shells and service managers send them twice.
void onSignal(int signal) {
  int none = 0;
  if (signalled.compare_exchange_strong(none, signal)) {
    sem_post(&woken);
  } else if (signal == SIGINT) {
    _exit(Interrupt::exitCode());
  }
}

[[noreturn]] void leave(const std::string& why) {
  // Away from a line that moves.
  if (errorsOnTerminal) draw("\n");
  complain("interrupted; the statement may run on in the database" + why);
  _exit(Interrupt::exitCode());
}

/// Cancels until all has ended, since a statement that was about to begin misses the first time.
void watch(const std::function<bool()>& cancel, const std::shared_future<void>& finished) {
  while (sem_wait(&woken) != 0) continue;
  if (finished.wait_for(std::chrono::seconds(0)) == std::future_status::ready) return;
  std::thread canceller([&cancel, finished] {
    if (!cancel()) leave(", which could not be reached");
    while (finished.wait_for(kAgain) == std::future_status::timeout) cancel();
  });
  if (finished.wait_for(kPatience) == std::future_status::timeout) {
    leave(": it had not ended after " + counted(kPatience.count(), "second"));
  }
  canceller.join();
}

}  // namespace

Interrupt::Interrupt(const std::function<bool()>& cancel) {
  sem_init(&woken, 0, 0);
  watcher_ = std::thread(watch, cancel, finished_.get_future().share());
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
  // The handlers stay: if the process ended while its database closes, stored rows could be lost.
  finished_.set_value();
  sem_post(&woken);
  watcher_.join();
}

bool Interrupt::happened() { return signalled != 0; }

int Interrupt::exitCode() { return 128 + (happened() ? signalled.load() : SIGINT); }

}  // namespace kivosql
