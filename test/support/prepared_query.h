#pragma once

#include <gtest/gtest.h>
#include <strings.h>

#include <cstdint>
#include <string>

#include "KivoArrow.h"
#include "arrow/parameters.h"
#include "arrow/reader.h"
#include "arrow/stream.h"
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

/// The jar's PreparedQuery, as native code drives it.
class Query {
 public:
  Query(const jdbcWrapper& wrapper, const std::string& sql) : env_(wrapper.env) {
    type_ = env_->FindClass("com/ulvanejdbc/arrow/PreparedQuery");
    const jmethodID of =
        env_->GetStaticMethodID(type_, "of", "(Lcom/ulvanejdbc/jdbcUtilities;)Lcom/ulvanejdbc/arrow/PreparedQuery;");
    query_ = env_->CallStaticObjectMethod(type_, of, wrapper.utilitiesObject);
    const jstring text = env_->NewStringUTF(sql.c_str());
    EXPECT_EQ(env_->CallBooleanMethod(query_, method("prepare", "(Ljava/lang/String;Z)Z"), text, JNI_FALSE), JNI_TRUE)
        << failure();
    env_->DeleteLocalRef(text);
  }
  ~Query() {
    EXPECT_EQ(env_->CallBooleanMethod(query_, method("close", "()Z")), JNI_TRUE) << failure();
    env_->DeleteLocalRef(query_);
    env_->DeleteLocalRef(type_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// @return what is wrong with the values; empty when nothing is.
  std::string bind(const ArrowSchema& schema, const ArrowArray& batch) {
    std::string fault;
    return bindParameters(env_, query_, schema, batch, fault) ? "" : fault;
  }

  long long updateAll() { return env_->CallLongMethod(query_, method("updateAll", "()J")); }

  long long update(int row) { return env_->CallLongMethod(query_, method("update", "(I)J"), row); }

  /// On any thread, whose environment it is.
  void cancel(JNIEnv* env) const {
    const LocalRef<jclass> type(env, env->GetObjectClass(query_));
    env->CallBooleanMethod(query_, env->GetMethodID(type.get(), "cancel", "()Z"));
  }

  /// Runs the query with a bound row, whose rows the wrapper's stream then reads.
  bool query(int row) { return env_->CallBooleanMethod(query_, method("query", "(I)Z"), row) == JNI_TRUE; }

  std::string failure() { return failureOf(env_, query_, method("failure", "()Ljava/lang/String;")); }

 private:
  jmethodID method(const char* name, const char* signature) { return env_->GetMethodID(type_, name, signature); }

  JNIEnv* env_;
  jclass type_;
  jobject query_;
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

  /// Of a BatchReader.
  Batch(JNIEnv* env, jobject reader) {
    ArrowArrayStream stream{};
    std::string error;
    ReaderMethods methods;
    const LocalRef<jclass> type(env, env->GetObjectClass(reader));
    EXPECT_TRUE(findReaderMethods(env, type.get(), methods) && openStream(env, methods, reader, stream, error))
        << error;
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
