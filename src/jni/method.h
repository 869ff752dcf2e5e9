#pragma once

#include <jni.h>

#include "jni/local_ref.h"
#include "jni/pending.h"

namespace kivo {

/// A Java method as JNI looks it up.
struct JavaMethod {
  const char* name;
  const char* signature;
};

inline jmethodID findMethod(JNIEnv* env, jclass declaring, const JavaMethod& method) {
  return env->GetMethodID(declaring, method.name, method.signature);
}

/// Takes the run-time class of @p object into @p objectClass and looks the method up on it.
/// @return null when either step failed, with Java's exception pending.
inline jmethodID findMethodOf(JNIEnv* env, jobject object, LocalRef<jclass>& objectClass, const JavaMethod& method) {
  return objectClass.reset(env->GetObjectClass(object)) ? findMethod(env, objectClass.get(), method) : nullptr;
}

/// Calls a method that returns an object; null also when it threw, with the exception left pending.
template <class... Arguments>
LocalRef<jobject> callObject(JNIEnv* env, jobject object, jmethodID method, Arguments... arguments) {
  LocalRef<jobject> result(env, env->CallObjectMethod(object, method, arguments...));
  if (isPending(env)) result.reset();
  return result;
}

/// Creates an object through the no-argument constructor of @p objectClass; null on failure, the exception pending.
LocalRef<jobject> newObject(JNIEnv* env, jclass objectClass);

}  // namespace kivo
