#pragma once

#include <jni.h>

#include <cstdlib>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "bench.h"
#include "jdbcWrapper.h"

namespace kivo::bench {

/// Rows per round trip, as JdbcUtils sets it.
constexpr int kFetchSize = 128;

inline void requireJava(JNIEnv* env, const char* what) {
  if (env->ExceptionCheck() == JNI_FALSE) return;
  env->ExceptionDescribe();
  env->ExceptionClear();
  require(false, what);
}

/// Frees the local references of a scope. A native thread would otherwise keep them all.
class Frame {
 public:
  explicit Frame(JNIEnv* env) : env_(env) { env->PushLocalFrame(32); }
  ~Frame() { env_->PopLocalFrame(nullptr); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

 private:
  JNIEnv* env_;
};

/// One bench.PureJava object, with a connection of its own.
class PureJava {
 public:
  PureJava(const Target& target, int fetchSize, bool autoCommit) {
    _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
    class_ = env->FindClass("bench/PureJava");
    requireJava(env, "bench.PureJava is not on the class path");
    const jmethodID make = method("<init>", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;IZ)V");
    const jobject made =
        env->NewObject(class_, make, text(target.at("url")), text(target.at("user")), text(target.at("password")),
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
  jobject call(const char* name, const char* signature, Arguments... arguments) const {
    const jobject result = env->CallObjectMethod(object, method(name, signature), arguments...);
    requireJava(env, name);
    return result;
  }

  JNIEnv* env = nullptr;
  jobject object = nullptr;

 private:
  jclass class_ = nullptr;
};

/// JdbcUtils on a connection of bench.PureJava, so that every database can be read through it.
struct OpenUtils {
  OpenUtils(const Target& target, bool autoCommit) : java(target, kFetchSize, autoCommit) {
    require(source.javaInit(), "attaching");
    source.connection = java.env->NewGlobalRef(java.call("connection", "()Ljava/sql/Connection;"));
    source.autoCommit = autoCommit;
    require(source.getStatement(), "getStatement");
  }
  ~OpenUtils() { source.closeConnection(); }
  OpenUtils(const OpenUtils&) = delete;
  OpenUtils& operator=(const OpenUtils&) = delete;

  void query(std::string sql) { require(source.executeQuery(sql, 0), sql); }
  bool get(int column, char*& value) { return source.getColumn(static_cast<unsigned long>(column), value); }
  void add(std::string sql) { require(source.addToBatch(sql) == 0, sql); }
  void store(long rows) {
    std::vector<int> counts(static_cast<std::size_t>(rows));
    require(source.executeBatch(counts.data()) == rows, "executeBatch");
  }

  PureJava java;
  JdbcUtils source;
};

struct OpenWrapper {
  explicit OpenWrapper(const Target& target) {
    std::string url = target.at("url");
    check(source.errorState == 0 && source.setUrl("", "", "", "", "", url) &&
          source.getConnection(target.at("user"), target.at("password")) && source.getStatement());
  }
  ~OpenWrapper() { source.closeConnection(); }
  OpenWrapper(const OpenWrapper&) = delete;
  OpenWrapper& operator=(const OpenWrapper&) = delete;

  void check(bool done) const { require(done, source.errorMessage); }
  void query(const std::string& sql) { check(source.executeQuery(sql, 0)); }
  bool get(int column, char*& value) { return source.getColumn(column, value); }
  void add(const std::string& sql) { check(source.addToBatch(sql)); }
  void store(long /*rows*/) {
    int result = 0;
    check(source.executeBatch(result));
  }

  jdbcWrapper source;
};

/// Reads cell by cell through two functions. As in the library, a cell is a buffer from malloc.
template <class Next, class Get>
Reading readCells(int columns, double start, Next next, Get get) {
  Reading reading;
  while (next()) {
    if (reading.firstRow == 0) reading.firstRow = now() - start;
    for (int column = 1; column <= columns; ++column) {
      char* value = get(column);
      if (value == nullptr) {
        reading.takeNull();
      } else {
        reading.take(value);
        std::free(value);
      }
    }
  }
  return reading;
}

}  // namespace kivo::bench
