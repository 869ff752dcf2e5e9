#include "jni/method.h"

namespace kivo {

namespace {
constexpr JavaMethod kConstructor{"<init>", "()V"};
constexpr jint kReferences = 2;
}  // namespace

LocalRef<jobject> newObject(JNIEnv* env, jclass objectClass) {
  const jmethodID constructor = findMethod(env, objectClass, kConstructor);
  if (constructor == nullptr) return LocalRef<jobject>(env);
  // When the constructor throws, HotSpot's NewObject returns null yet keeps a reference to the object that it made.
  // Only the end of a frame releases that one.
  if (env->PushLocalFrame(kReferences) != JNI_OK) return LocalRef<jobject>(env);
  return LocalRef<jobject>(env, env->PopLocalFrame(env->NewObject(objectClass, constructor)));
}

}  // namespace kivo
