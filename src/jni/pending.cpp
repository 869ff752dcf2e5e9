#include "jni/pending.h"

namespace kivo {

LocalRef<jthrowable> takePending(JNIEnv* env) {
  LocalRef<jthrowable> exception(env, env->ExceptionOccurred());
  env->ExceptionClear();
  return exception;
}

bool describePending(JNIEnv* env) {
  const LocalRef<jthrowable> exception(env, env->ExceptionOccurred());
  if (!exception) return false;
  env->ExceptionDescribe();
  env->ExceptionClear();
  return true;
}

}  // namespace kivo
