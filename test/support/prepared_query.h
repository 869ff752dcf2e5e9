#pragma once

#include <gtest/gtest.h>

#include <string>

#include "KivoArrow.h"
#include "arrow/parameters.h"
#include "jdbcWrapper.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/text.h"

namespace kivo::test {

/// An object of the jar's for a wrapper's connection, as native code drives it.
class JarObject {
 public:
  JarObject(const jdbcWrapper& wrapper, const std::string& name) : env_(wrapper.env) {
    const LocalRef<jclass> type(env_, env_->FindClass(name.c_str()));
    const std::string signature = "(Lcom/ulvanejdbc/jdbcUtilities;)L" + name + ';';
    const jmethodID of = env_->GetStaticMethodID(type.get(), "of", signature.c_str());
    const LocalRef<jobject> made(env_, env_->CallStaticObjectMethod(type.get(), of, wrapper.utilitiesObject));
    EXPECT_FALSE(env_->ExceptionCheck());
    EXPECT_TRUE(keepGlobal(env_, object_, made.get()));
  }
  ~JarObject() { dropGlobal(env_, object_); }
  JarObject(const JarObject&) = delete;
  JarObject& operator=(const JarObject&) = delete;

  std::string failure() const {
    std::string copy;
    const LocalRef<jobject> text = callObject(env_, object_, method(env_, "failure", "()Ljava/lang/String;"));
    if (text) copyText(env_, static_cast<jstring>(text.get()), copy);
    return copy;
  }

 protected:
  jmethodID method(JNIEnv* env, const char* name, const char* signature) const {
    LocalRef<jclass> type(env);
    return findMethodOf(env, object_, type, {name, signature});
  }

  template <class... Arguments>
  bool isTrue(JNIEnv* env, const char* name, const char* signature, Arguments... arguments) const {
    const jboolean answer = env->CallBooleanMethod(object_, method(env, name, signature), arguments...);
    EXPECT_FALSE(env->ExceptionCheck());
    return answer == JNI_TRUE;
  }

  JNIEnv* const env_;
  jobject object_ = nullptr;  ///< a global reference, since another thread may cancel
};

/// The jar's PreparedQuery.
class Query : public JarObject {
 public:
  Query(const jdbcWrapper& wrapper, const std::string& sql) : JarObject(wrapper, "com/ulvanejdbc/arrow/PreparedQuery") {
    const LocalRef<jstring> text = newJavaText(env_, sql);
    EXPECT_TRUE(isTrue(env_, "prepare", "(Ljava/lang/String;Z)Z", text.get(), JNI_FALSE)) << failure();
  }
  /// @param values to bind, with their schema
  template <class Values>
  Query(const jdbcWrapper& wrapper, const std::string& sql, const Values& values) : Query(wrapper, sql) {
    EXPECT_EQ(bind(values.schema, values.rows), "");
  }
  ~Query() { EXPECT_TRUE(isTrue(env_, "close", "()Z")) << failure(); }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  /// @return what is wrong with the values; empty when nothing is.
  std::string bind(const ArrowSchema& schema, const ArrowArray& batch) {
    std::string fault;
    return bindParameters(env_, object_, schema, batch, fault) ? "" : fault;
  }

  long long updateAll() {
    const long long count = env_->CallLongMethod(object_, method(env_, "updateAll", "()J"));
    EXPECT_FALSE(env_->ExceptionCheck());
    return count;
  }

  /// Runs the query with a bound row, whose rows the wrapper's stream then reads.
  bool query(int row) { return isTrue(env_, "query", "(I)Z", row); }

  /// On any thread, whose environment it is.
  void cancel(JNIEnv* env) const { isTrue(env, "cancel", "()Z"); }
};

}  // namespace kivo::test
