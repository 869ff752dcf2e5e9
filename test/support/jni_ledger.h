#pragma once

#include <gtest/gtest.h>
#include <jni.h>

#include <array>
#include <cstdarg>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "failing_malloc.h"

namespace kivo::test {

/// What can be done to a call. The table in jni_ledger_slots.cpp names by these letters the faults of each function.
enum class Fault : char {
  kOutOfMemory = 'M',  ///< Not made; null or 0, with an OutOfMemoryError pending.
  kNull = 'N',         ///< Not made; null, with nothing pending.
  kThrowBefore = 'B',  ///< Not made; null or 0, with an exception pending.
  kThrowAfter = 'A',   ///< Made, its result dropped for null or 0, with an exception pending.
  kAttach = 'T',       ///< AttachCurrentThread (AsDaemon) answers JNI_ERR and leaves the environment as it is.
  kAllocation = 'L',   ///< malloc or operator new gives nothing; a forwarded JNI call's own allocations succeed.
};

/// Stands between the library and the process's Java VM while it lives: `_globaljvm` is a VM that hands out one
/// environment a thread, whose every function judges, counts and records the call before the real one runs.
///
/// A call that breaks JNI's rules becomes a violation, is not made, and answers null or 0. A violation reads
/// "<what>: <function> <its text or method>", with <what> one of: exception pending, wrong thread, unused function,
/// null reference, dead reference, reference of another thread, global reference deleted as local, local reference
/// deleted as global, null method, unknown method, wrong call, null text, bad text, wrong characters, no frame.
///
/// The VM must exist before; objects of the library live within the ledger's life. References that the real
/// environment made are unknown here: a test works through env(). Results are read while no other thread is in a call.
class JniLedger {
 public:
  JniLedger();
  ~JniLedger();
  JniLedger(const JniLedger&) = delete;
  JniLedger& operator=(const JniLedger&) = delete;

  /// The environment that the library gets on this thread, which is attached when it is not.
  JNIEnv* env() { return &attachThread(); }

  const std::vector<std::string>& violations() const { return violations_; }
  int liveLocals() const { return static_cast<int>(locals_.size()); }
  int liveGlobals() const { return static_cast<int>(globals_.size()); }
  /// Texts and arrays' elements that were not given back.
  int liveCharacters() const { return static_cast<int>(characters_.size()); }
  /// Frames of local references that were not ended.
  int openFrames() const;
  /// All of the above in one text, empty when there is nothing: an operation's end in one assertion.
  std::string complaint() const;
  /// The maximum number of local references that one thread held at a time.
  int maxLocals() const { return maxLocals_; }
  /// The first 10,000 calls in order, as "CallVoidMethod setServerName", "FindClass java/lang/String",
  /// "DeleteLocalRef".
  const std::vector<std::string>& trace() const { return trace_; }
  /// How many of those were calls of one function.
  long callCount(std::string_view function) const;

  /// Of the calling thread. Neither is counted as a call.
  bool exceptionPending() { return attachThread().real->ExceptionCheck() == JNI_TRUE; }
  void clearException() { attachThread().real->ExceptionClear(); }

  /// Plans a fault for the nth call of the calling thread, made while armed, that knows this fault (lasting: and for
  /// all such calls after it). It stays until the next plan.
  static void plan(Fault fault, int nth, bool lasting = false);
  static void arm(bool armed);
  static bool faultFired();

 private:
  /// The environment of one thread.
  struct Thread : JNIEnv {
    JniLedger* ledger;
    JNIEnv* real;  ///< Null once the thread has detached itself.
    long number;
    int locals;
    std::vector<std::unordered_set<const void*>> frames;  ///< What was live when each open frame began.
  };
  struct Vm : JavaVM {
    JniLedger* ledger;
  };
  /// How one function is judged.
  struct Rule {
    const char* name;
    /// Each argument's kind: r reference, o reference or null, d local to delete, g global to delete, m method, t text,
    /// c characters of the first argument, v a Java method's arguments, f the size of a frame of local references, p
    /// what a frame's end keeps; '.' is not judged.
    const char* arguments;
    /// What the result is: l local reference, g global reference, m method, c characters of the first argument.
    char result;
    const char* faults;
    /// Type of the methods that may be called: the letter of their result, L for an object, "s" before it for static
    /// ones, C for constructors. For a lookup "s" when it finds static methods.
    const char* call = "";
    bool whilePending = false;
    int failure = 0;  ///< A failed call's answer, where it is a number.
  };
  struct Call {
    Thread& thread;
    const Rule& rule;
    std::array<const void*, 4> arguments;
    Fault fault = Fault::kNull;
  };
  struct Method {
    std::string name;
    std::string signature;
    std::string call;
  };
  /// The tables of functions.
  struct Slots;
  static const JNINativeInterface_& table();
  static const JNIInvokeInterface_& vmTable();

  Thread& attachThread();
  using Attach = jint (JavaVM::*)(void**, void*);
  jint attach(const Rule& rule, void** environment, Attach how);
  jint environment(void** environment, jint version);
  jint detach();
  bool admit(Call& call);
  bool conclude(const Call& call, const void* result);
  void throwInjected(const Call& call) const;

  const char* judge(const Call& call) const;
  const char* judgeArgument(const Call& call, char kind, const void* argument) const;
  const char* judgeReference(const Call& call, const void* reference) const;
  const char* judgeDeletion(const Call& call, char kind, const void* reference) const;
  const char* judgeMethod(const Call& call, const void* method) const;
  const char* judgeCharacters(const Call& call, const void* characters) const;
  const char* judgeJavaArguments(const Call& call, va_list arguments) const;
  void settle(const Call& call);
  void beginFrame(Thread& thread);
  void endFrame(Thread& thread);
  void adopt(const Call& call, const void* result);
  std::string describe(const Call& call) const;
  void violate(const std::string& what);

  std::mutex mutex_;
  JavaVM* real_;
  Vm vm_{};
  std::map<long, Thread> threads_;
  std::unordered_map<const void*, Thread*> locals_;
  std::unordered_set<const void*> globals_;
  std::unordered_map<const void*, const void*> characters_;
  std::unordered_map<const void*, Method> methods_;
  std::vector<std::string> violations_;
  std::vector<std::string> trace_;
  int maxLocals_ = 0;
  jclass outOfMemory_ = nullptr;
  jclass injected_ = nullptr;
};

/// Runs a body with the planned fault armed. @return false when a planned failing allocation escaped as bad_alloc.
class Armed {
 public:
  explicit Armed(Fault fault) : fault_(fault) {}

  template <class Body>
  bool operator()(Body body) const {
    const Scope scope;
    try {
      body();
    } catch (const std::bad_alloc&) {
      if (fault_ != Fault::kAllocation) throw;
      return false;
    }
    return true;
  }

 private:
  struct Scope {
    Scope() { JniLedger::arm(true); }
    ~Scope() { JniLedger::arm(false); }
  };
  Fault fault_;
};

/// Fails one call of the operation, the first, then the second, until a run is left untouched. An operation without a
/// parameter is armed whole; one that takes `const Armed&` arms the bodies that it passes to it, between its own set-up
/// and its assertions. After each run nothing may be violated or left over; a pending exception is cleared.
/// @return how many calls could fail.
template <class Operation>
int sweepFaults(JniLedger& ledger, Fault fault, Operation operation, bool lasting = false) {
  const int localsBefore = ledger.liveLocals();
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE(std::string("fault ") + static_cast<char>(fault) + " at call " + std::to_string(nth));
    const Armed armed(fault);
    JniLedger::plan(fault, nth, lasting);
    if constexpr (std::is_invocable_v<Operation, const Armed&>) {
      operation(armed);
    } else {
      armed(operation);
    }
    ledger.clearException();
    EXPECT_EQ(ledger.violations(), std::vector<std::string>());
    EXPECT_EQ(ledger.liveLocals(), localsBefore);
    EXPECT_EQ(ledger.liveCharacters(), 0);
    EXPECT_EQ(ledger.openFrames(), 0);
    if (!JniLedger::faultFired()) return nth - 1;
    if (testing::Test::HasFailure()) return -1;
  }
}

}  // namespace kivo::test
