#pragma once

#include <jni.h>

#include <utility>

namespace kivo {

/// Owns one JNI local reference and drops it: a native thread never returns into Java, so nothing else would.
template <class T>
class LocalRef {
 public:
  explicit LocalRef(JNIEnv* owner, jobject adopted = nullptr) : env(owner), reference(adopted) {}
  LocalRef(LocalRef&& other) noexcept : env(other.env), reference(std::exchange(other.reference, nullptr)) {}
  LocalRef& operator=(LocalRef&& other) noexcept {
    reset(std::exchange(other.reference, nullptr));
    return *this;
  }
  ~LocalRef() { reset(); }

  /// Drops what is held and adopts another reference. @return whether that one is not null.
  bool reset(jobject adopted = nullptr) {
    if (reference != nullptr) env->DeleteLocalRef(reference);
    reference = adopted;
    return reference != nullptr;
  }

  /// Hands the reference over to the caller.
  T release() { return static_cast<T>(std::exchange(reference, nullptr)); }

  T get() const { return static_cast<T>(reference); }
  explicit operator bool() const { return reference != nullptr; }

 private:
  JNIEnv* const env;
  jobject reference;
};

/// Drops the global reference in @p field, if any, and clears the field.
template <class T>
void dropGlobal(JNIEnv* env, T& field) {
  if (field != nullptr) env->DeleteGlobalRef(std::exchange(field, nullptr));
}

/// Keeps @p object beyond the call: stores a new global reference to it in @p field, dropping the one held before.
/// @return false when the VM has no memory for it; the field is as it was then.
template <class T>
bool keepGlobal(JNIEnv* env, T& field, jobject object) {
  const auto kept = static_cast<T>(env->NewGlobalRef(object));
  if (kept == nullptr) return false;
  dropGlobal(env, field);
  field = kept;
  return true;
}

}  // namespace kivo
