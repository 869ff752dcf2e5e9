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

/// Records a missing Java method as the error.
void failMissing(jdbcWrapper& wrapper, const std::string& method);

/// The method in @p field when it can be called; else null with the reason recorded.
jmethodID callable(jdbcWrapper& wrapper, MethodField field);

/// A native argument as Java takes it. None is made on top of the exception that an argument before it left.
class JavaArgument {
 public:
  JavaArgument(JNIEnv* env, const std::string& argument) : text(env) {
    if (!isPending(env)) text = newJavaText(env, argument);
  }
  bool isMade() const { return static_cast<bool>(text); }
  jstring get() const { return text.get(); }
  void release() { text.reset(); }

 private:
  LocalRef<jstring> text;
};

class JavaNumber {
 public:
  JavaNumber(JNIEnv*, int argument) : number(argument) {}
  bool isMade() const { return true; }
  jint get() const { return number; }
  void release() {}

 private:
  jint number;
};

inline JavaArgument toJava(JNIEnv* env, const std::string& argument) { return {env, argument}; }
inline JavaNumber toJava(JNIEnv* env, int argument) { return {env, argument}; }

/// One operation, from its start to its end: clears the error of the one before, except for an object without its Java
/// object, which keeps the reason for that. What another object left pending on this thread is not this one's to
/// report, yet no Java call may run on top of it: it is set aside meanwhile.
class Operation {
 public:
  explicit Operation(jdbcWrapper& owner, bool keepError = false) : wrapper(owner), aside(owner.env) {
    if (!keepError && owner.utilitiesObject != nullptr) owner.clearError();
  }

  /// A yes/no operation: Java's answer; a no takes over Java's error.
  template <class... Arguments>
  bool callBool(MethodField field, const Arguments&... arguments) const {
    jboolean answer = JNI_FALSE;
    const bool called = call(field, &JNIEnv::CallBooleanMethod, answer, arguments...);
    if (called && answer != JNI_TRUE) takeJavaError();
    return called && answer == JNI_TRUE;
  }

  /// A number from Java in @p result. @return false, with the error recorded and @p result untouched, when Java gave
  /// none.
  template <class... Arguments>
  bool callInt(MethodField field, int& result, const Arguments&... arguments) const {
    jint number = 0;
    if (!call(field, &JNIEnv::CallIntMethod, number, arguments...)) return false;
    result = number;
    return true;
  }

  /// An object from Java in @p result, possibly null. @return false, with the error recorded, when Java gave none.
  template <class... Arguments>
  bool callObject(MethodField field, LocalRef<jobject>& result, const Arguments&... arguments) const {
    jobject object = nullptr;
    const bool called = call(field, &JNIEnv::CallObjectMethod, object, arguments...);
    result.reset(object);
    return called;
  }

  /// A text operation: fills @p text; null takes over Java's error.
  template <class... Arguments>
  bool callText(MethodField field, std::string& text, const Arguments&... arguments) const {
    text.clear();
    LocalRef<jobject> result(wrapper.env);
    if (!callObject(field, result, arguments...)) return false;
    if (!result) {
      takeJavaError();
      return false;
    }
    if (copyText(wrapper.env, static_cast<jstring>(result.get()), text)) return true;
    failOutOfMemory(wrapper);
    return false;
  }

  /// Takes over the Java object's error, if it has one.
  void takeJavaError() const;

 private:
  /// Makes the Java arguments, calls the method and releases them in the order in which they were made.
  /// @return false, with the error recorded, when the method cannot be called, memory ran out or an exception escaped.
  template <class Result, class... Arguments>
  bool call(MethodField field, Result (JNIEnv::*caller)(jobject, jmethodID, ...), Result& result,
            const Arguments&... arguments) const {
    const jmethodID method = callable(wrapper, field);
    if (method == nullptr) return false;
    const auto callWith = [&](auto&&... argument) {
      if (!(argument.isMade() && ...)) {
        failOutOfMemory(wrapper);
        return false;
      }
      result = (wrapper.env->*caller)(wrapper.utilitiesObject, method, argument.get()...);
      (argument.release(), ...);
      return !failEscaped(wrapper);
    };
    // Braces make the arguments from left to right.
    return std::apply(callWith, std::tuple{toJava(wrapper.env, arguments)...});
  }

  jdbcWrapper& wrapper;
  PendingAside aside;
};

}  // namespace kivo::wrapper
