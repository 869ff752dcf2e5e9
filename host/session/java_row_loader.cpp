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
  auto* const reason = static_cast<jstring>(env_->CallObjectMethod(loader_, store, ends, text));
  if (env_->ExceptionCheck() == JNI_TRUE) return false;
  const char* characters = reason == nullptr ? nullptr : env_->GetStringUTFChars(reason, nullptr);
  if (characters != nullptr) why = characters;
  if (characters != nullptr) env_->ReleaseStringUTFChars(reason, characters);
  return reason == nullptr;
}

}  // namespace kivosql
