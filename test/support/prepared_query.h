#pragma once

#include <gtest/gtest.h>
#include <strings.h>

#include <cstdint>
#include <string>

#include "KivoArrow.h"
#include "arrow/parameters.h"
#include "arrow_text.h"
#include "jdbcWrapper.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/text.h"
#include "wrapper_on_databases.h"

namespace kivo::test {

inline std::string failureOf(JNIEnv* env, jobject object, jmethodID failure) {
  const LocalRef<jobject> text = callObject(env, object, failure);
  std::string copy;
  if (text) copyText(env, static_cast<jstring>(text.get()), copy);
  return copy;
}

/// @return what a Java method returned, which must have thrown nothing.
template <class Result>
Result unthrown(JNIEnv* env, Result result) {
  EXPECT_FALSE(env->ExceptionCheck());
  return result;
}

/// An object of the jar, made by the method "of" of its class out of a wrapper's own.
class JarObject {
 public:
  JarObject(const jdbcWrapper& wrapper, const std::string& className) : env(wrapper.env) {
    const LocalRef<jclass> found(env, env->FindClass(className.c_str()));
    EXPECT_TRUE(keepGlobal(env, type_, found.get()));
    const jmethodID of =
        env->GetStaticMethodID(type_, "of", ("(Lcom/ulvanejdbc/jdbcUtilities;)L" + className + ';').c_str());
    const LocalRef<jobject> made(env, unthrown(env, env->CallStaticObjectMethod(type_, of, wrapper.utilitiesObject)));
    EXPECT_TRUE(keepGlobal(env, object, made.get()));
  }
  ~JarObject() {
    dropGlobal(env, object);
    dropGlobal(env, type_);
  }
  JarObject(const JarObject&) = delete;
  JarObject& operator=(const JarObject&) = delete;

  jmethodID method(const char* name, const char* signature) const { return env->GetMethodID(type_, name, signature); }

  template <class... Arguments>
  bool isTrue(const char* name, const char* signature, Arguments... arguments) const {
    return unthrown(env, env->CallBooleanMethod(object, method(name, signature), arguments...)) == JNI_TRUE;
  }

  std::string failure() const { return failureOf(env, object, method("failure", "()Ljava/lang/String;")); }

  JNIEnv* const env;
  jobject object = nullptr;  ///< a global reference, since another thread may cancel

 private:
  jclass type_ = nullptr;
};

/// The jar's PreparedQuery, as native code drives it.
class Query {
 public:
  Query(const jdbcWrapper& wrapper, const std::string& sql) : query_(wrapper, "com/ulvanejdbc/arrow/PreparedQuery") {
    const LocalRef<jstring> text = newJavaText(query_.env, sql);
    EXPECT_TRUE(query_.isTrue("prepare", "(Ljava/lang/String;Z)Z", text.get(), JNI_FALSE)) << failure();
  }
  ~Query() { EXPECT_TRUE(query_.isTrue("close", "()Z")) << failure(); }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// @return what is wrong with the values; empty when nothing is.
  std::string bind(const ArrowSchema& schema, const ArrowArray& batch) {
    std::string fault;
    return bindParameters(query_.env, query_.object, schema, batch, fault) ? "" : fault;
  }

  long long updateAll() {
    return unthrown(query_.env, query_.env->CallLongMethod(query_.object, query_.method("updateAll", "()J")));
  }

  long long update(int row) {
    return unthrown(query_.env, query_.env->CallLongMethod(query_.object, query_.method("update", "(I)J"), row));
  }

  /// On any thread, whose environment it is.
  void cancel(JNIEnv* env) const {
    const LocalRef<jclass> type(env, env->GetObjectClass(query_.object));
    unthrown(env, env->CallBooleanMethod(query_.object, env->GetMethodID(type.get(), "cancel", "()Z")));
  }

  /// Runs the query with a bound row, whose rows the wrapper's stream then reads.
  bool query(int row) { return query_.isTrue("query", "(I)Z", row); }

  std::string failure() { return query_.failure(); }

 private:
  JarObject query_;
};

/// A batch of a result, whose memory goes with it.
struct Batch {
  ArrowSchema schema{};
  ArrowArray rows{};

  /// Of the open result.
  explicit Batch(jdbcWrapper& wrapper) {
    ArrowArrayStream stream{};
    std::string error;
    EXPECT_TRUE(makeArrowStream(wrapper, stream, error)) << error;
    if (stream.release != nullptr) take(stream);
  }

  /// A cell of the first batch, in a column whose name's case does not matter.
  Text at(const char* column, std::int64_t row) const {
    for (std::int64_t index = 0; index < schema.n_children; ++index) {
      if (strcasecmp(schema.children[index]->name, column) != 0) continue;
      return ArrowText(*schema.children[index], *rows.children[index]).at(row);
    }
    return "no column " + std::string(column);
  }

  void take(ArrowArrayStream& stream) {
    EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
    if (stream.get_next(&stream, &rows) != 0) failure = stream.get_last_error(&stream);
    stream.release(&stream);
  }
  ~Batch() {
    if (schema.release != nullptr) schema.release(&schema);
    if (rows.release != nullptr) rows.release(&rows);
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  std::string failure;
};

/// One row with one value, in memory of its own.
struct OneValue {
  OneValue(const char* format, std::int64_t number) : value(number) {
    column.format = format;
    schema.format = "+s";
    schema.n_children = rows.n_children = 1;
    schema.children = &columnAddress;
    array.length = rows.length = 1;
    array.n_buffers = 2;
    array.buffers = buffers;
    rows.children = &arrayAddress;
  }
  OneValue(const OneValue&) = delete;
  OneValue& operator=(const OneValue&) = delete;

  const std::int64_t value;
  const void* buffers[2] = {nullptr, &value};
  ArrowSchema column{};
  ArrowSchema* columnAddress = &column;
  ArrowArray array{};
  ArrowArray* arrayAddress = &array;
  ArrowSchema schema{};
  ArrowArray rows{};
};

}  // namespace kivo::test
