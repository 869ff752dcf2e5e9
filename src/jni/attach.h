#pragma once

#include <jni.h>

#include "JavaVmHost.h"

namespace kivo {

/// Attaches the calling thread to the process's Java VM, for good. @return its environment, null when the VM refuses.
inline JNIEnv* attachThread() {
  JNIEnv* env = nullptr;
  _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
  return env;
}

}  // namespace kivo
