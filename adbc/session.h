#pragma once

#include <jni.h>

#include <mutex>

#include "java_object.h"
#include "java_vm.h"
#include "jni/pending.h"

namespace kivo::adbc {

/// A connection, which its statements and their streams use as well, one at a time.
struct Session {
  std::mutex turn;
  JavaObject connection;
};

/// A turn at a session, on this thread. An exception that was pending on the thread is so again afterwards.
class Turn {
 public:
  explicit Turn(Session& session) : env(environment()), pending_(env), lock_(session.turn) {}

  /// Lets others have a turn while the step runs.
  template <class Step>
  bool pause(Step step) {
    lock_.unlock();
    const struct Resume {
      std::unique_lock<std::mutex>& lock;
      ~Resume() { lock.lock(); }
    } resume{lock_};
    return step();
  }

  JNIEnv* const env;

 private:
  PendingAside pending_;
  std::unique_lock<std::mutex> lock_;
};

}  // namespace kivo::adbc
