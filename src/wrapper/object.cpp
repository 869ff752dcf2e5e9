#include <pthread.h>

#include <string>

#include "JavaVmHost.h"
#include "jdbcWrapper.h"
#include "jni/attach.h"
#include "jni/method.h"
#include "wrapper/calls.h"
#include "wrapper/methods.h"

using namespace kivo;
using namespace kivo::wrapper;

namespace {

constexpr const char* kUtilitiesClass = "com/ulvanejdbc/jdbcUtilities";
constexpr const char* kNoVm = "there is no Java VM to attach to: call javaInit first";
constexpr const char* kNoClass = "could not find the Java class com/ulvanejdbc/jdbcUtilities: ";
constexpr const char* kNotCreated = "could not create the Java utilities object: ";

/// The environment that the calling thread got when it last attached here. The C library gives a new thread the id of
/// one that ended, so an equal id alone may stand for a dead thread, whose environment must not be used.
thread_local JNIEnv* attachedEnv = nullptr;

int currentThreadId() { return static_cast<int>(pthread_self()); }

/// Creates the Java object. @return false with the reason recorded.
bool createUtilities(jdbcWrapper& wrapper) {
  JNIEnv* env = wrapper.env;
  const LocalRef<jobject> created = newObject(env, wrapper.utilitiesClass);
  if (created && !isPending(env) && keepGlobal(env, wrapper.utilitiesObject, created.get())) return true;
  fail(wrapper, kNotCreated + takeEscaped(env));
  return false;
}

/// Looks the methods up and reports a missing one.
void lookUpMethods(jdbcWrapper& wrapper) {
  try {
    findMethods(wrapper, wrapper.utilitiesClass);
    checkMethods(wrapper);
  } catch (...) {
    // An object whose constructor throws gets no destructor call.
    dropGlobal(wrapper.env, wrapper.utilitiesObject);
    throw;
  }
}

}  // namespace

jdbcWrapper::jdbcWrapper() {
  checkThreadState();
  if (env == nullptr) {
    fail(*this, _globaljvm == nullptr ? kNoVm : kNotAttached);
    return;
  }
  const PendingAside aside(env);

  LocalRef<jclass> found(env, env->FindClass(kUtilitiesClass));
  if (!found) {
    fail(*this, kNoClass + takeEscaped(env));
    return;
  }
  utilitiesClass = found.get();
  if (createUtilities(*this)) lookUpMethods(*this);
  utilitiesClass = nullptr;
}

jdbcWrapper::~jdbcWrapper() {
  checkThreadState();
  if (env != nullptr) dropGlobal(env, utilitiesObject);
}

bool jdbcWrapper::javaInit() {
  if (_globaljvm == nullptr) return false;
  // Null after an attach that failed: the environment of another thread must not remain.
  env = attachThread();
  attachedEnv = env;
  return true;
}

void jdbcWrapper::checkThreadState() {
  const int current = currentThreadId();
  const bool isAttached = threadId >= 0 && threadId == current && env == attachedEnv;
  // Without an environment only an object that has nothing to call stays as it is; any other tries again.
  if (isAttached && (env != nullptr || utilitiesObject == nullptr)) return;
  threadId = current;
  javaInit();
}

// cppcheck-suppress passedByValue  // as the binary interface has it
bool jdbcWrapper::checkMethodPointer(std::string name, jmethodID method) {
  if (method != nullptr) return true;
  failMissing(*this, name);
  return false;
}

void jdbcWrapper::getErrorFromJava() { Operation(*this, true).takeJavaError(); }

void jdbcWrapper::clearError() {
  errorState = 0;
  errorMessage.clear();
}
