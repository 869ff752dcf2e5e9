#pragma once

#include <jni.h>

#include "jni/local_ref.h"

namespace kivo {

/// A look that leaves the exception where it is.
inline bool isPending(JNIEnv* env) { return env->ExceptionCheck() == JNI_TRUE; }

/// Clears the pending exception, if any, and hands it out. Each asking makes a reference, so only this file's functions
/// ask.
LocalRef<jthrowable> takePending(JNIEnv* env);

/// If a Java exception is pending, prints it to standard error and clears it. @return whether there was one.
bool describePending(JNIEnv* env);

/// On entry: prints and clears what an earlier member left pending, so that no Java call is made on top of it.
inline void describeLeftover(JNIEnv* env) {
  if (isPending(env)) describePending(env);
}

/// Runs describePending() when an operation ends, whichever way. Declared last, it runs before the references go.
class PendingCheck {
 public:
  explicit PendingCheck(JNIEnv* owner) : env(owner) {}
  ~PendingCheck() { describePending(env); }
  PendingCheck(const PendingCheck&) = delete;
  PendingCheck& operator=(const PendingCheck&) = delete;

 private:
  JNIEnv* env;
};

/// Sets a pending exception aside and puts it back at the end: for code that may neither report it nor call Java on top
/// of it.
class PendingAside {
 public:
  explicit PendingAside(JNIEnv* owner) : env(owner), exception(owner) {
    if (env != nullptr && isPending(env)) exception = takePending(env);
  }
  ~PendingAside() {
    if (exception) env->Throw(exception.get());
  }
  PendingAside(const PendingAside&) = delete;
  PendingAside& operator=(const PendingAside&) = delete;

 private:
  JNIEnv* env;
  LocalRef<jthrowable> exception;
};

}  // namespace kivo
