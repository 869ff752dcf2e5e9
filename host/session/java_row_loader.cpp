#include "session/java_row_loader.h"

namespace kivosql {

namespace {

constexpr const char* kUnusable = "could not use the Java class com/ulvanejdbc/RowLoader, or memory ran out";

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

bool JavaRowLoader::prepare(JNIEnv* env, jobject utilities, const std::string& table,
                            const std::vector<std::string>& columns) {
  env_ = env;
  const LocalFrame frame(env);
  if (frame.pushed() && make(utilities, table, columns)) return call("prepare");
  error_ = kUnusable;
  return false;
}

bool JavaRowLoader::make(jobject utilities, const std::string& table, const std::vector<std::string>& columns) {
  const jclass type = env_->FindClass("com/ulvanejdbc/RowLoader");
  const jmethodID of =
      type == nullptr ? nullptr
                      : env_->GetStaticMethodID(type, "of",
                                                "(Lcom/ulvanejdbc/jdbcUtilities;Ljava/lang/String;[Ljava/lang/String;)"
                                                "Lcom/ulvanejdbc/RowLoader;");
  const jstring name = of == nullptr ? nullptr : env_->NewStringUTF(toJava(table).c_str());
  const jobjectArray names = name == nullptr ? nullptr : newArray(env_, columns);
  if (names == nullptr) return false;
  const jobject made = env_->CallStaticObjectMethod(type, of, utilities, name, names);
  if (env_->ExceptionCheck() == JNI_TRUE) return false;
  loader_ = env_->NewGlobalRef(made);
  return loader_ != nullptr;
}

bool JavaRowLoader::call(const char* method) {
  const LocalFrame frame(env_);
  error_ = kUnusable;
  if (!frame.pushed() || loader_ == nullptr) return false;
  const jmethodID id = env_->GetMethodID(env_->GetObjectClass(loader_), method, "()Z");
  const bool answer = id != nullptr && env_->CallBooleanMethod(loader_, id) == JNI_TRUE;
  const bool worked = answer && env_->ExceptionCheck() == JNI_FALSE;
  if (!worked) takeError();
  return worked;
}

template <typename Result>
std::optional<Result> JavaRowLoader::callWith(PackedRows& rows, const char* method, const char* signature,
                                              Result (JNIEnv::*caller)(jobject, jmethodID, ...)) {
  error_ = kUnusable;
  if (loader_ == nullptr) return {};
  const jmethodID id = env_->GetMethodID(env_->GetObjectClass(loader_), method, signature);
  if (id == nullptr) return {};
  const jobject ends =
      env_->NewDirectByteBuffer(rows.ends.data(), static_cast<jlong>(rows.ends.size() * sizeof(rows.ends[0])));
  if (ends == nullptr) return {};
  const jobject text = env_->NewDirectByteBuffer(rows.text.data(), static_cast<jlong>(rows.text.size()));
  if (text == nullptr) return {};
  const Result result = (env_->*caller)(loader_, id, ends, text);
  return env_->ExceptionCheck() == JNI_FALSE ? std::optional<Result>(result) : std::nullopt;
}

bool JavaRowLoader::store(PackedRows& rows) {
  // Java counts the bytes of a text in an int.
  if (rows.text.size() > INT32_MAX) {
    error_ = "a batch has more than 2 GB of text";
    return false;
  }
  const LocalFrame frame(env_);
  if (!frame.pushed()) return false;
  const auto stored =
      callWith(rows, "store", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)Z", &JNIEnv::CallBooleanMethod);
  if (stored == JNI_TRUE) return true;
  if (stored) takeError();
  return false;
}

std::optional<std::size_t> JavaRowLoader::failedRow(PackedRows& rows) {
  const LocalFrame frame(env_);
  if (!frame.pushed()) return {};
  const auto row = callWith(rows, "failedRow", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)I", &JNIEnv::CallIntMethod);
  if (!row) return {};
  takeError();
  return *row < 0 ? std::nullopt : std::optional<std::size_t>(*row);
}

void JavaRowLoader::takeError() {
  if (env_->ExceptionCheck() == JNI_TRUE) return;
  const jmethodID error = env_->GetMethodID(env_->GetObjectClass(loader_), "error", "()Ljava/lang/String;");
  const jobject text = error == nullptr ? nullptr : env_->CallObjectMethod(loader_, error);
  if (env_->ExceptionCheck() == JNI_FALSE) error_ = takeText(env_, text);
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
