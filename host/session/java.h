#pragma once

#include <jni.h>

#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "failure.h"
#include "jvm/find_jvm.h"

namespace kivosql {

/// Starts the process's Java VM. @return why not; empty when it runs
std::string startVm(const kivo::Jvm& jvm, const std::vector<std::string>& classPath, int heapMegabytes);

/// Text on its way to Java and back.
std::string toJava(std::string_view text);
std::string fromJava(std::string_view text);

/// One paragraph of @p text and of Java's descriptions of exceptions: messages and causes, each once, without traces.
std::string readable(const std::string& text, const std::string& descriptions);

/// A failure with Java's @p text for it, or what Java printed on standard error.
Failure javaFailure(const std::string& text, const std::string& printed = {});

/// Takes over descriptor 2 while it lives. JdbcUtils and JavaConnectionUtils make Java describe its exceptions there.
/// The host's own messages go elsewhere (messages.h).
class JavaErrors {
 public:
  JavaErrors();
  ~JavaErrors();
  JavaErrors(const JavaErrors&) = delete;
  JavaErrors& operator=(const JavaErrors&) = delete;

  /// What was printed since the last call.
  std::string take() const;

  /// Throws the failure of an operation that reported it by its result, by a pending exception, or by both.
  void check(JNIEnv* env, bool worked, const std::string& text = {}) const;

 private:
  int original_;
  int file_;
};

/// The result of a method without one.
struct Nothing {};

/// Calls a method by its name. No local reference stays, except to the result.
/// @return nothing if there is no such method or if it threw; only in the latter case an exception stays pending.
template <typename Result, typename... Arguments>
std::optional<Result> call(JNIEnv* env, jobject object, const char* name, const char* signature,
                           Arguments... arguments) {
  if (object == nullptr || env->ExceptionCheck() == JNI_TRUE) return {};
  const jclass type = env->GetObjectClass(object);
  const jmethodID method = env->GetMethodID(type, name, signature);
  env->DeleteLocalRef(type);
  if (method == nullptr) {
    env->ExceptionClear();
    return {};
  }
  Result result{};
  if constexpr (std::is_same_v<Result, bool>) {
    result = env->CallBooleanMethod(object, method, arguments...) == JNI_TRUE;
  } else if constexpr (std::is_same_v<Result, jint>) {
    result = env->CallIntMethod(object, method, arguments...);
  } else if constexpr (std::is_same_v<Result, jobject>) {
    result = env->CallObjectMethod(object, method, arguments...);
  } else {
    env->CallVoidMethod(object, method, arguments...);
  }
  return env->ExceptionCheck() == JNI_TRUE ? std::nullopt : std::optional<Result>(result);
}

/// What getColumnTypeName() of a Java object returns for a column, counted from 1; empty on failure.
std::string typeNameOf(JNIEnv* env, jobject columns, int number);

/// Calls cancel() of a Java object, from a thread that is not attached. @return whether that worked.
bool cancelInJava(jobject object);

/// Cancels a statement of a driver in the way that the driver needs, from a thread that is not attached.
bool cancelStatementInJava(jobject statement);

/// Whether isValid() of a Java object, which is null once closed, returns false.
bool isBrokenInJava(JNIEnv* env, jobject object);

}  // namespace kivosql
