#pragma once

#include <jni.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "fault.h"
#include "jni/local_ref.h"
#include "jni/method.h"

namespace kivo::adbc {

/// An object of the jar, which native code drives. Its methods throw nothing but an error of the VM itself: their own
/// failures are read from the object.
class JavaObject {
 public:
  JavaObject() = default;
  ~JavaObject() { drop(); }
  JavaObject(const JavaObject&) = delete;
  JavaObject& operator=(const JavaObject&) = delete;

  void keep(JNIEnv* env, jobject object);
  jobject get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  /// Lets go of the object. Any thread; in a child process the VM is left alone.
  void drop();

  /// Calls a method that succeeds or fails. Throws its failure.
  template <class... Arguments>
  void run(JNIEnv* env, const JavaMethod& method, Arguments... arguments) const {
    const jboolean worked = env->CallBooleanMethod(object_, find(env, method), arguments...);
    expectNothingThrown(env);
    if (worked != JNI_TRUE) throwFailure(env, object_);
  }

  /// Calls a method that returns an object, or null: that is a failure if the object says so.
  template <class... Arguments>
  LocalRef<jobject> ask(JNIEnv* env, const JavaMethod& method, Arguments... arguments) const {
    LocalRef<jobject> answer(env, env->CallObjectMethod(object_, find(env, method), arguments...));
    expectNothingThrown(env);
    if (!answer) throwFailure(env, object_, MayBeNone::yes);
    return answer;
  }

  /// Calls a method without failures of its own.
  jlong number(JNIEnv* env, const JavaMethod& method) const;

  /// Whether a failure is only one if the object says so.
  enum class MayBeNone { no, yes };

  /// Throws the last failure of an object of the jar.
  static void throwFailure(JNIEnv* env, jobject failed, MayBeNone none = MayBeNone::no);

  [[noreturn]] static void throwNoMemory();

  /// Throws what a JNI call left pending, which can only be a lack of memory.
  static void expectNothingThrown(JNIEnv* env);

 private:
  jmethodID find(JNIEnv* env, const JavaMethod& method) const;

  jobject object_ = nullptr;
};

/// @return what a JNI call gave. Throws when that is null, which can only be for lack of memory.
template <class Reference>
Reference needed(JNIEnv* env, Reference given) {
  JavaObject::expectNothingThrown(env);
  if (given == nullptr) JavaObject::throwNoMemory();
  return given;
}

/// @return a Java string, null for null. Throws without memory.
LocalRef<jstring> javaText(JNIEnv* env, const char* text);

/// @return a String[]; null texts stay null.
LocalRef<jobjectArray> javaTexts(JNIEnv* env, const std::vector<const char*>& texts);

/// @return the bytes of a byte[], which must not be null.
std::string bytesOf(JNIEnv* env, jobject array);

/// @return a Java string's text in standard UTF-8.
std::string textOf(JNIEnv* env, jobject text);

}  // namespace kivo::adbc
