// The peers over JDBC: pure Java and hand-written JNI.
#include <cstring>

#include "java_objects.h"

namespace kivo::bench {
namespace {

/// What a Java program does, by a method of bench.PureJava. @param settings what to append to PostgreSQL's URL.
auto pure(const char* method, int fetchSize = kFetchSize, const char* settings = "") {
  return [=](Target target) -> Client {
    std::string& url = target["url"];
    if (url.find("postgresql") != std::string::npos) url += settings;
    return [=, java = std::make_shared<PureJava>(target, fetchSize, false)](const Work& work) {
      const Frame frame(java->env);
      const jobject seen =
          java->call(method, "(Ljava/lang/String;I)[J", java->text(work.table), static_cast<jint>(work.rows));
      jlong values[3];
      java->env->GetLongArrayRegion(static_cast<jlongArray>(seen), 0, 3, values);
      return Reading{values[0], values[1], static_cast<double>(values[2]) * 1e-9};
    };
  };
}

/// The text of a cell that was read by hand, or null after an exception.
char* copyOut(JNIEnv* env, jobject cell) {
  if (env->ExceptionCheck() == JNI_TRUE || cell == nullptr) return nullptr;
  const auto text = static_cast<jstring>(cell);
  const char* characters = env->GetStringUTFChars(text, nullptr);
  const std::size_t size = std::strlen(characters) + 1;
  char* copy = static_cast<char*>(std::malloc(size));
  std::memcpy(copy, characters, size);
  env->ReleaseStringUTFChars(text, characters);
  env->DeleteLocalRef(text);
  return copy;
}

std::vector<jint> columnTypes(const PureJava& java) {
  const auto numbers = static_cast<jintArray>(java.call("types", "()[I"));
  std::vector<jint> types(static_cast<std::size_t>(java.env->GetArrayLength(numbers)));
  java.env->GetIntArrayRegion(numbers, 0, static_cast<jsize>(types.size()), types.data());
  return types;
}

/// A loop over a ResultSet as one would write it by hand. It checks for exceptions before and after each call, as the
/// library must, and reads dates and times through the same helper.
Reading readByHand(const PureJava& java, const std::string& sql) {
  const double start = now();
  JNIEnv* env = java.env;
  const Frame frame(env);
  const jobject rows = java.call("query", "(Ljava/lang/String;)Ljava/sql/ResultSet;", java.text(sql));
  const std::vector<jint> types = columnTypes(java);
  const jclass dates = env->FindClass("com/ulvanejdbc/datetime");
  const jmethodID getUtc =
      env->GetStaticMethodID(dates, "getAsUtcString", "(Ljava/sql/ResultSet;II)Ljava/lang/String;");
  const jclass rowsClass = env->GetObjectClass(rows);
  const jmethodID nextMethod = env->GetMethodID(rowsClass, "next", "()Z");
  const jmethodID getString = env->GetMethodID(rowsClass, "getString", "(I)Ljava/lang/String;");
  const auto next = [&] {
    requireJava(env, "an earlier call");
    return env->CallBooleanMethod(rows, nextMethod) == JNI_TRUE;
  };
  const auto get = [&](jint column) {
    requireJava(env, "an earlier call");
    const jint type = types[static_cast<std::size_t>(column) - 1];
    return copyOut(env, type >= 91 && type <= 93 ? env->CallStaticObjectMethod(dates, getUtc, rows, type, column)
                                                 : env->CallObjectMethod(rows, getString, column));
  };
  return readCells(static_cast<int>(types.size()), start, next, get);
}

auto byHand(bool autoCommit) {
  return [=](const Target& target) -> Client {
    return [java = std::make_shared<PureJava>(target, kFetchSize, autoCommit)](const Work& work) {
      return readByHand(*java, work.query());
    };
  };
}

/// The calls that jdbcWrapper makes on its Java object, written by hand.
Client wrapperByHand(const Target& target) {
  return [open = std::make_shared<OpenWrapper>(target)](const Work& work) {
    const double start = now();
    jdbcWrapper& wrapper = open->source;
    JNIEnv* env = wrapper.env;
    open->query(work.query());
    const auto next = [&] {
      requireJava(env, "an earlier call");
      const bool isRow = env->CallBooleanMethod(wrapper.utilitiesObject, wrapper.nextMethod) == JNI_TRUE;
      return env->ExceptionCheck() == JNI_FALSE && isRow;
    };
    const auto get = [&](jint column) {
      requireJava(env, "an earlier call");
      return copyOut(env, env->CallObjectMethod(wrapper.utilitiesObject, wrapper.getColumnMethod, column));
    };
    return readCells(wrapper.getNumColumns(), start, next, get);
  };
}

}  // namespace

std::vector<Way> javaPeers() {
  return {
      {"reader", "java", "pure Java, getString", pure("read")},
      {"reader", "java-512", "pure Java, getString, fetch size 512", pure("read", 512)},
      {"reader", "java-typed", "pure Java, typed getters, fetch size 1024", pure("readTyped", 1024)},
      {"reader", "jni", "JNI by hand, JdbcUtils' calls", byHand(false)},
      {"reader", "jni-auto", "JNI by hand, JdbcUtils' calls, auto-commit", byHand(true)},
      {"reader", "jni-wrapper", "JNI by hand, jdbcWrapper's calls", wrapperByHand},
      {"writer", "java", "pure Java, statements as text", pure("writeText")},
      {"writer", "java-prepared", "pure Java, prepared, the driver's best setting",
       pure("writePrepared", kFetchSize, "?reWriteBatchedInserts=true")},
  };
}

}  // namespace kivo::bench
