#pragma once

#include <jni.h>

#include <string>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "bench.h"
#include "jdbcWrapper.h"

namespace kivo::bench {

/// Rows of a round trip, as JdbcUtils sets it.
constexpr int kFetchSize = 128;

inline void requireJava(JNIEnv* env, const char* what) {
  if (env->ExceptionCheck() == JNI_FALSE) return;
  env->ExceptionDescribe();
  env->ExceptionClear();
  require(false, what);
}

/// One bench.PureJava object: a connection of the harness's own.
class PureJava {
 public:
  PureJava(const Target& target, int fetchSize, bool autoCommit) {
    _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
    class_ = env->FindClass("bench/PureJava");
    requireJava(env, "bench.PureJava is not on the class path");
    const jmethodID make = method("<init>", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;IZ)V");
    const jobject made = env->NewObject(class_, make, text(target.url), text(target.user), text(target.password),
                                        static_cast<jint>(fetchSize), static_cast<jboolean>(autoCommit));
    requireJava(env, "connecting");
    object = env->NewGlobalRef(made);
  }

  ~PureJava() {
    if (object == nullptr) return;
    env->CallVoidMethod(object, method("close", "()V"));
    env->ExceptionClear();
    env->DeleteGlobalRef(object);
  }
  PureJava(const PureJava&) = delete;
  PureJava& operator=(const PureJava&) = delete;

  jmethodID method(const char* name, const char* signature) const { return env->GetMethodID(class_, name, signature); }
  jstring text(const std::string& value) const { return env->NewStringUTF(value.c_str()); }

  template <class... Arguments>
  void run(const char* name, const char* signature, Arguments... arguments) const {
    env->CallVoidMethod(object, method(name, signature), arguments...);
    requireJava(env, name);
  }

  jobject get(const char* name, const char* signature) const {
    return env->CallObjectMethod(object, method(name, signature));
  }

  JNIEnv* env = nullptr;
  jobject object = nullptr;

 private:
  jclass class_ = nullptr;
};

/// Local references pile up on a native thread; each read gets a frame.
class Frame {
 public:
  explicit Frame(JNIEnv* owner) : env(owner) { env->PushLocalFrame(32); }
  ~Frame() { env->PopLocalFrame(nullptr); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

 private:
  JNIEnv* env;
};

/// JdbcUtils on a connection of the harness's, so that every database can be read through it.
struct OpenUtils {
  OpenUtils(const Target& target, bool autoCommit) : java(target, kFetchSize, autoCommit) {
    require(utils.javaInit(), "attaching");
    utils.connection = java.env->NewGlobalRef(java.get("connection", "()Ljava/sql/Connection;"));
    utils.autoCommit = autoCommit;
  }
  ~OpenUtils() { utils.closeConnection(); }
  OpenUtils(const OpenUtils&) = delete;
  OpenUtils& operator=(const OpenUtils&) = delete;

  void query(std::string sql) { require(utils.executeQuery(sql, 0), sql); }

  PureJava java;
  JdbcUtils utils;
};

struct OpenWrapper {
  explicit OpenWrapper(const Target& target) {
    std::string url = target.url;
    check(wrapper.errorState == 0 && wrapper.setUrl("", "", "", "", "", url) &&
          wrapper.getConnection(target.user, target.password) && wrapper.getStatement());
  }
  ~OpenWrapper() { wrapper.closeConnection(); }
  OpenWrapper(const OpenWrapper&) = delete;
  OpenWrapper& operator=(const OpenWrapper&) = delete;

  void check(bool done) const { require(done, wrapper.errorMessage); }
  void query(const std::string& sql) { check(wrapper.executeQuery(sql, 0)); }

  jdbcWrapper wrapper;
};

}  // namespace kivo::bench
