#include "session/java_row_loader.h"

namespace kivosql {

namespace {

/// Local references of a native thread live until they are released; these go with the object. An exception, too.
class LocalFrame {
 public:
  explicit LocalFrame(JNIEnv* env) : env_(env), pushed_(env->PushLocalFrame(16) == 0) {}
  ~LocalFrame() {
    env_->ExceptionClear();
    if (pushed_) env_->PopLocalFrame(nullptr);
  }
  LocalFrame(const LocalFrame&) = delete;
  LocalFrame& operator=(const LocalFrame&) = delete;

  /// False when memory ran out.
  bool pushed() const { return pushed_; }

 private:
  JNIEnv* env_;
  bool pushed_;
};

std::string takeText(JNIEnv* env, jobject text) {
  auto* const string = static_cast<jstring>(text);
  const char* characters = string == nullptr ? nullptr : env->GetStringUTFChars(string, nullptr);
  if (characters == nullptr) return {};
  std::string taken = characters;
  env->ReleaseStringUTFChars(string, characters);
  return taken;
}

/// @return null when memory ran out.
jobjectArray newArray(JNIEnv* env, const std::vector<std::string>& texts) {
  const jclass type = env->FindClass("java/lang/String");
  const auto size = static_cast<jsize>(texts.size());
  const jobjectArray array = type == nullptr ? nullptr : env->NewObjectArray(size, type, nullptr);
  for (jsize index = 0; array != nullptr && index < size; ++index) {
    const jstring element = env->NewStringUTF(toJava(texts[static_cast<std::size_t>(index)]).c_str());
    if (element == nullptr) return nullptr;
    env->SetObjectArrayElement(array, index, element);
    env->DeleteLocalRef(element);
  }
  return array;
}

}  // namespace

JavaRowLoader::~JavaRowLoader() {
  if (loader_ != nullptr) env_->DeleteGlobalRef(loader_);
}

bool JavaRowLoader::open(JNIEnv* env, jobject utilities, const std::string& insert, int columns) {
  env_ = env;
  const LocalFrame frame(env);
  if (!frame.pushed()) return false;
  const jclass type = env->FindClass("com/ulvanejdbc/RowLoader");
  if (type == nullptr) return false;
  const jmethodID of = env->GetStaticMethodID(
      type, "of", "(Lcom/ulvanejdbc/jdbcUtilities;Ljava/lang/String;I)Lcom/ulvanejdbc/RowLoader;");
  if (of == nullptr) return false;
  const jstring statement = env->NewStringUTF(insert.c_str());
  if (statement == nullptr) return false;
  const jobject made = env->CallStaticObjectMethod(type, of, utilities, statement, static_cast<jint>(columns));
  if (env->ExceptionCheck() == JNI_TRUE || made == nullptr) return false;
  loader_ = env->NewGlobalRef(made);
  return loader_ != nullptr;
}

bool JavaRowLoader::store(PackedRows& rows, std::string& why) {
  // Java counts the bytes of a text in an int.
  if (loader_ == nullptr || rows.text.size() > INT32_MAX) return false;
  const LocalFrame frame(env_);
  if (!frame.pushed()) return false;
  const jmethodID store = env_->GetMethodID(env_->GetObjectClass(loader_), "store",
                                            "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)Ljava/lang/String;");
  if (store == nullptr) return false;
  const jobject ends =
      env_->NewDirectByteBuffer(rows.ends.data(), static_cast<jlong>(rows.ends.size() * sizeof(rows.ends[0])));
  if (ends == nullptr) return false;
  const jobject text = env_->NewDirectByteBuffer(rows.text.data(), static_cast<jlong>(rows.text.size()));
  if (text == nullptr) return false;
  const jobject reason = env_->CallObjectMethod(loader_, store, ends, text);
  if (env_->ExceptionCheck() == JNI_TRUE) return false;
  why = takeText(env_, reason);
  return reason == nullptr;
}

bool findFailedStatement(JNIEnv* env, jobject utilities, const std::vector<std::string>& statements,
                         std::size_t& number, std::string& why) {
  const LocalFrame frame(env);
  if (!frame.pushed()) return false;
  const jclass type = env->FindClass("com/ulvanejdbc/FailedStatement");
  if (type == nullptr) return false;
  const jmethodID find = env->GetStaticMethodID(
      type, "find", "(Lcom/ulvanejdbc/jdbcUtilities;[Ljava/lang/String;)Lcom/ulvanejdbc/FailedStatement;");
  const jfieldID numberField = find == nullptr ? nullptr : env->GetFieldID(type, "number", "I");
  const jfieldID whyField = numberField == nullptr ? nullptr : env->GetFieldID(type, "why", "Ljava/lang/String;");
  const jobjectArray array = whyField == nullptr ? nullptr : newArray(env, statements);
  if (array == nullptr) return false;
  const jobject found = env->CallStaticObjectMethod(type, find, utilities, array);
  if (found == nullptr) return false;
  number = static_cast<std::size_t>(env->GetIntField(found, numberField));
  why = takeText(env, env->GetObjectField(found, whyField));
  return true;
}

bool callUtilities(JNIEnv* env, jobject utilities, const char* method, std::string& why) {
  const LocalFrame frame(env);
  if (!frame.pushed()) return false;
  const jclass type = env->GetObjectClass(utilities);
  const jmethodID call = env->GetMethodID(type, method, "()Z");
  const jmethodID reason =
      call == nullptr ? nullptr : env->GetMethodID(type, "getErrorMessage", "()Ljava/lang/String;");
  if (reason == nullptr) return false;
  const bool worked = env->CallBooleanMethod(utilities, call) == JNI_TRUE;
  if (env->ExceptionCheck() == JNI_TRUE) return false;
  const jobject text = env->CallObjectMethod(utilities, reason);
  if (env->ExceptionCheck() == JNI_FALSE) why = takeText(env, text);
  return worked;
}

}  // namespace kivosql
