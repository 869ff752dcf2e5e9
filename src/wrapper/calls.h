#pragma once

#include <jni.h>

#include <string>
#include <tuple>

#include "jdbcWrapper.h"
#include "jni/local_ref.h"
#include "jni/pending.h"
#include "jni/text.h"

namespace kivo::wrapper {

using MethodField = jmethodID jdbcWrapper::*;

constexpr const char* kNotAttached = "could not attach the thread to the Java VM";

/// Records an error of this side's own: state 2.
void fail(jdbcWrapper& wrapper, std::string message);

/// Records that memory ran out and drops Java's exception about it.
void failOutOfMemory(jdbcWrapper& wrapper);

/// Takes an exception that escaped a Java call: clears it and returns its text.
std::string takeEscaped(JNIEnv* env);

/// If an exception escaped the last Java call, records its text as the error. @return whether one did.
bool failEscaped(jdbcWrapper& wrapper);

/// The method in @p field when it can be called; else null with the reason recorded.
jmethodID callable(jdbcWrapper& wrapper, MethodField field);

/// One operation, from its start to its end: clears the error of the one before, except for an object without its Java
/// object, which keeps the reason for that. What another object left pending on this thread is not this one's to
/// report, yet no Java call may run on top of it: it is set aside meanwhile.
class Operation {
 public:
  explicit Operation(jdbcWrapper& owner, bool keepError = false) : wrapper(owner), aside(owner.env) {
    if (!keepError && owner.utilitiesObject != nullptr) owner.clearError();
  }
  // Implicit, so that an operation can be made in the call that it consists of.
  operator jdbcWrapper&() const { return wrapper; }

 private:
  jdbcWrapper& wrapper;
  PendingAside aside;
};

/// A native argument as Java takes it. After one that could not be made, no further one is tried.
class JavaArgument {
 public:
  JavaArgument(JNIEnv* env, const std::string& argument, bool& made) : text(env) {
    if (!made) return;
    text = newJavaText(env, argument);
    made = static_cast<bool>(text);
  }
  jstring get() const { return text.get(); }
  void release() { text.reset(); }

 private:
  LocalRef<jstring> text;
};

class JavaNumber {
 public:
  JavaNumber(JNIEnv*, int argument, bool&) : number(argument) {}
  jint get() const { return number; }
  void release() {}

 private:
  jint number;
};

inline JavaArgument toJava(JNIEnv* env, const std::string& argument, bool& made) { return {env, argument, made}; }
inline JavaNumber toJava(JNIEnv* env, int argument, bool& made) { return {env, argument, made}; }

/// Makes the Java arguments, hands them to @p call and releases them in the order in which they were made.
/// @return false, with the error recorded, when memory ran out or an exception escaped.
template <class Call, class... Arguments>
bool perform(jdbcWrapper& wrapper, const Call& call, const Arguments&... arguments) {
  bool made = true;
  std::tuple javaArguments{toJava(wrapper.env, arguments, made)...};
  if (!made) {
    failOutOfMemory(wrapper);
    return false;
  }
  std::apply(
      [&call](auto&... argument) {
        call(argument.get()...);
        (argument.release(), ...);
      },
      javaArguments);
  return !failEscaped(wrapper);
}

/// A yes/no operation: Java's answer; a no takes over Java's error.
template <class... Arguments>
bool callBool(jdbcWrapper& wrapper, MethodField field, const Arguments&... arguments) {
  const jmethodID method = callable(wrapper, field);
  if (method == nullptr) return false;
  bool answer = false;
  const auto call = [&wrapper, method, &answer](auto... argument) {
    answer = wrapper.env->CallBooleanMethod(wrapper.utilitiesObject, method, argument...) == JNI_TRUE;
  };
  if (!perform(wrapper, call, arguments...)) return false;
  if (!answer) wrapper.getErrorFromJava();
  return answer;
}

/// A number from Java in @p result. @return false, with the error recorded and @p result untouched, when Java gave
/// none.
template <class... Arguments>
bool callInt(jdbcWrapper& wrapper, MethodField field, int& result, const Arguments&... arguments) {
  const jmethodID method = callable(wrapper, field);
  if (method == nullptr) return false;
  jint number = 0;
  const auto call = [&wrapper, method, &number](auto... argument) {
    number = wrapper.env->CallIntMethod(wrapper.utilitiesObject, method, argument...);
  };
  if (!perform(wrapper, call, arguments...)) return false;
  result = number;
  return true;
}

/// An object from Java in @p result, possibly null. @return false, with the error recorded, when Java gave none.
template <class... Arguments>
bool callObject(jdbcWrapper& wrapper, MethodField field, LocalRef<jobject>& result, const Arguments&... arguments) {
  const jmethodID method = callable(wrapper, field);
  if (method == nullptr) return false;
  const auto call = [&wrapper, method, &result](auto... argument) {
    result.reset(wrapper.env->CallObjectMethod(wrapper.utilitiesObject, method, argument...));
  };
  return perform(wrapper, call, arguments...);
}

/// A text operation: fills @p text; null takes over Java's error.
template <class... Arguments>
bool callText(jdbcWrapper& wrapper, MethodField field, std::string& text, const Arguments&... arguments) {
  text.clear();
  LocalRef<jobject> result(wrapper.env);
  if (!callObject(wrapper, field, result, arguments...)) return false;
  if (!result) {
    wrapper.getErrorFromJava();
    return false;
  }
  if (copyText(wrapper.env, static_cast<jstring>(result.get()), text)) return true;
  failOutOfMemory(wrapper);
  return false;
}

}  // namespace kivo::wrapper
