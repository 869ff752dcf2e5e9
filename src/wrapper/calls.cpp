#include "wrapper/calls.h"

#include <utility>

#include "jni/method.h"
#include "wrapper/methods.h"

namespace kivo::wrapper {

namespace {

constexpr const char* kOutOfMemory = "out of memory";
constexpr const char* kNoObject = "there is no Java utilities object";
constexpr const char* kNoText = "a Java exception that could not say what it is";
constexpr JavaMethod kToString{"toString", "()Ljava/lang/String;"};

/// What the exception says of itself; false when even that fails, with whatever it threw cleared.
bool describe(JNIEnv* env, jobject exception, std::string& text) {
  LocalRef<jclass> exceptionClass(env);
  const jmethodID toString = findMethodOf(env, exception, exceptionClass, kToString);
  LocalRef<jobject> said(env);
  if (toString != nullptr) said = kivo::callObject(env, exception, toString);
  const bool copied = said && copyText(env, static_cast<jstring>(said.get()), text);
  if (!copied) env->ExceptionClear();
  return copied;
}

}  // namespace

void fail(jdbcWrapper& wrapper, std::string message) {
  wrapper.errorState = 2;
  wrapper.errorMessage = std::move(message);
}

void failOutOfMemory(jdbcWrapper& wrapper) {
  wrapper.env->ExceptionClear();
  fail(wrapper, kOutOfMemory);
}

std::string takeEscaped(JNIEnv* env) {
  const LocalRef<jthrowable> exception = takePending(env);
  // What gives null and throws nothing has run out of memory.
  if (!exception) return kOutOfMemory;
  std::string text;
  return describe(env, exception.get(), text) ? text : kNoText;
}

bool failEscaped(jdbcWrapper& wrapper) {
  if (!isPending(wrapper.env)) return false;
  fail(wrapper, takeEscaped(wrapper.env));
  return true;
}

void failMissing(jdbcWrapper& wrapper, const std::string& method) {
  fail(wrapper, "method pointer to " + method + " is NULL");
}

jmethodID callable(jdbcWrapper& wrapper, MethodField field) {
  if (wrapper.utilitiesObject == nullptr) {
    if (wrapper.errorState == 0) fail(wrapper, kNoObject);
    return nullptr;
  }
  if (wrapper.env == nullptr) {
    fail(wrapper, kNotAttached);
    return nullptr;
  }
  if (wrapper.*field == nullptr) {
    failMissing(wrapper, reportedName(field));
    return nullptr;
  }
  return wrapper.*field;
}

void Operation::takeJavaError() const {
  int code = 0;
  if (!callInt(&jdbcWrapper::getErrorCodeMethod, code) || code == 0) return;

  LocalRef<jobject> message(wrapper.env);
  if (!callObject(&jdbcWrapper::getErrorMessageMethod, message)) return;
  wrapper.errorState = code == 1 ? 1 : 2;
  if (!message) {
    wrapper.errorMessage = "error code " + std::to_string(code) + " without a message";
  } else if (!copyText(wrapper.env, static_cast<jstring>(message.get()), wrapper.errorMessage)) {
    failOutOfMemory(wrapper);
  }
}

}  // namespace kivo::wrapper
