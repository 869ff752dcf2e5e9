#pragma once

#include <jni.h>

#include <vector>

#include "jni/local_ref.h"

namespace kivo {

/// @return null when the VM has no memory.
inline LocalRef<jintArray> newIntArray(JNIEnv* env, const std::vector<int>& numbers) {
  const auto count = static_cast<jsize>(numbers.size());
  LocalRef<jintArray> array(env, env->NewIntArray(count));
  if (array) env->SetIntArrayRegion(array.get(), 0, count, numbers.data());
  return array;
}

}  // namespace kivo
