#include "arrow/environment.h"

#include "JavaVmHost.h"

namespace kivo {

namespace {

/// Of a thread that was attached here. It is made on such threads only: another owner's stay as they are.
struct Attachment {
  Attachment() = default;
  ~Attachment() { _globaljvm->DetachCurrentThread(); }
  Attachment(const Attachment&) = delete;
  Attachment& operator=(const Attachment&) = delete;
};

}  // namespace

JNIEnv* threadEnvironment() {
  if (_globaljvm == nullptr) return nullptr;
  void* env = nullptr;
  if (_globaljvm->GetEnv(&env, JNI_VERSION_1_8) == JNI_OK) return static_cast<JNIEnv*>(env);
  if (_globaljvm->AttachCurrentThreadAsDaemon(&env, nullptr) != JNI_OK) return nullptr;
  static thread_local const Attachment attachment;
  return static_cast<JNIEnv*>(env);
}

}  // namespace kivo
