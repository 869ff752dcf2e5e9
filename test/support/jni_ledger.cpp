#include "jni_ledger.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "JavaVmHost.h"

namespace kivo::test {
namespace {

using Lock = std::lock_guard<std::mutex>;

constexpr std::size_t kTraceLimit = 10000;

thread_local Fault plannedFault = Fault::kNull;
thread_local FaultCounter callFaults;

FaultCounter& countedFaults() { return plannedFault == Fault::kAllocation ? allocationFaults() : callFaults; }

bool faultHits(const char* known) {
  return std::strchr(known, static_cast<char>(plannedFault)) != nullptr && callFaults.hits();
}

/// Threads are numbered here: the system gives an ended thread's identity to the next one.
long thisThread() {
  static std::atomic<long> seen{0};
  thread_local const long number = ++seen;
  return number;
}

jclass globalClass(JNIEnv* real, const char* name) {
  const jclass found = real->FindClass(name);
  auto* const kept = static_cast<jclass>(real->NewGlobalRef(found));
  real->DeleteLocalRef(found);
  return kept;
}

}  // namespace

JniLedger::JniLedger() : real_(_globaljvm) {
  if (real_ == nullptr) throw std::logic_error("a JNI ledger needs the process's Java VM");
  vm_.functions = &vmTable();
  vm_.ledger = this;
  JNIEnv* real = attachThread().real;
  outOfMemory_ = globalClass(real, "java/lang/OutOfMemoryError");
  injected_ = globalClass(real, "java/lang/IllegalStateException");
  _globaljvm = &vm_;
}

JniLedger::~JniLedger() {
  _globaljvm = real_;
  JNIEnv* real = attachThread().real;
  real->DeleteGlobalRef(outOfMemory_);
  real->DeleteGlobalRef(injected_);
}

std::string JniLedger::complaint() const {
  std::string text;
  for (const std::string& violation : violations_) text += violation + '\n';
  const std::pair<const char*, int> kinds[] = {{"local references", liveLocals()},
                                               {"global references", liveGlobals()},
                                               {"characters", liveCharacters()},
                                               {"frames", openFrames()}};
  for (const auto& [kind, live] : kinds) {
    if (live != 0) text += std::to_string(live) + ' ' + kind + " left\n";
  }
  return text;
}

int JniLedger::openFrames() const {
  std::size_t frames = 0;
  for (const auto& [number, thread] : threads_) frames += thread.frames.size();
  return static_cast<int>(frames);
}

long JniLedger::callCount(std::string_view function) const {
  return std::count_if(trace_.begin(), trace_.end(),
                       [function](const std::string& call) { return call.substr(0, call.find(' ')) == function; });
}

void JniLedger::plan(Fault fault, int nth, bool lasting) {
  plannedFault = fault;
  countedFaults() = FaultCounter{nth, lasting};
}

void JniLedger::arm(bool armed) { countedFaults().armed = armed; }

bool JniLedger::faultFired() { return countedFaults().fired; }

JniLedger::Thread& JniLedger::attachThread() {
  JNIEnv* real = nullptr;
  real_->AttachCurrentThread(reinterpret_cast<void**>(&real), nullptr);
  const Lock lock(mutex_);
  Thread& thread = threads_[thisThread()];
  thread.functions = &table();
  thread.ledger = this;
  thread.number = thisThread();
  thread.real = real;
  return thread;
}

jint JniLedger::attach(const Rule& rule, void** environment, Attach how) {
  const AllocationPause pause;
  {
    const Lock lock(mutex_);
    if (trace_.size() < kTraceLimit) trace_.emplace_back(rule.name);
  }
  if (faultHits(rule.faults)) return JNI_ERR;
  (real_->*how)(environment, nullptr);
  *environment = env();
  return JNI_OK;
}

/// Not counted as a call: it reports what is, and cannot fail.
jint JniLedger::environment(void** environment, jint version) {
  const AllocationPause pause;
  const jint state = real_->GetEnv(environment, version);
  if (state == JNI_OK) *environment = env();
  return state;
}

jint JniLedger::detach() {
  const AllocationPause pause;
  {
    const Lock lock(mutex_);
    Thread& thread = threads_[thisThread()];
    for (auto local = locals_.begin(); local != locals_.end();) {
      local = local->second == &thread ? locals_.erase(local) : std::next(local);
    }
    thread.locals = 0;
    thread.frames.clear();
    thread.real = nullptr;
  }
  return real_->DetachCurrentThread();
}

/// @return whether the call is to be made; if not, its answer is null or 0.
bool JniLedger::admit(Call& call) {
  {
    const Lock lock(mutex_);
    if (trace_.size() < kTraceLimit) trace_.push_back(describe(call));
    const bool ownThread = call.thread.number == thisThread() && call.thread.real != nullptr;
    if (const char* fault = ownThread ? judge(call) : "wrong thread") {
      violations_.push_back(std::string(fault) + ": " + describe(call));
      return false;
    }
    settle(call);
  }
  if (!faultHits(call.rule.faults)) return true;
  call.fault = plannedFault;
  if (call.fault == Fault::kThrowAfter) return true;
  throwInjected(call);
  return false;
}

/// @return whether the library gets the result.
bool JniLedger::conclude(const Call& call, const void* result) {
  if (call.fault == Fault::kThrowAfter) {
    if (call.rule.result == 'l') call.thread.real->DeleteLocalRef(static_cast<jobject>(const_cast<void*>(result)));
    throwInjected(call);
    return false;
  }
  if (call.rule.arguments[0] == 'f') beginFrame(call.thread);
  if (result == nullptr) return true;
  const Lock lock(mutex_);
  adopt(call, result);
  return true;
}

void JniLedger::throwInjected(const Call& call) const {
  JNIEnv* real = call.thread.real;
  if (call.fault == Fault::kNull || real->ExceptionCheck() == JNI_TRUE) return;
  real->ThrowNew(call.fault == Fault::kOutOfMemory ? outOfMemory_ : injected_, "injected by the JNI ledger");
}

}  // namespace kivo::test
