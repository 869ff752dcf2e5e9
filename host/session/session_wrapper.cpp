#include "jdbcWrapper.h"
#include "session/block_rows.h"

namespace kivosql {

namespace {

constexpr const char* kUnusable = "could not use the companion jar, or memory ran out";

/// Why the last call to an object of the companion jar failed.
Failure failureOf(JNIEnv* env, jobject object) {
  env->ExceptionClear();
  auto* const text =
      static_cast<jstring>(call<jobject>(env, object, "getErrorMessage", "()Ljava/lang/String;").value_or(nullptr));
  const char* characters = text == nullptr ? nullptr : env->GetStringUTFChars(text, nullptr);
  if (characters == nullptr) return Failure(kUnusable);
  Failure failure = javaFailure(fromJava(characters));
  env->ReleaseStringUTFChars(text, characters);
  env->DeleteLocalRef(text);
  return failure;
}

/// Throws unless a method of the object has returned true.
void check(JNIEnv* env, jobject object, std::optional<bool> worked) {
  if (worked != true) throw failureOf(env, object);
}

/// The companion jar's RowLoader.
class JavaRowLoader : public RowLoader {
 public:
  /// @param loader a global reference, owned from now on
  JavaRowLoader(JNIEnv* env, jobject loader) : env_(env), loader_(loader) {}
  ~JavaRowLoader() override { env_->DeleteGlobalRef(loader_); }
  JavaRowLoader(const JavaRowLoader&) = delete;
  JavaRowLoader& operator=(const JavaRowLoader&) = delete;

  void store() override {
    // Java counts the bytes of a text in an int.
    if (text_.size() > INT32_MAX) throw Failure("a batch has more than 2 GB of text");
    check(env_, loader_, callWithRows<bool>("store", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)Z"));
  }

  std::optional<std::size_t> failedRow(Failure& why) override {
    const auto row = callWithRows<jint>("failedRow", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)I");
    if (row.value_or(-1) < 0) return {};
    why = failureOf(env_, loader_);
    return *row;
  }

  void sync() override { check(env_, loader_, call<bool>(env_, loader_, "sync", "()Z")); }

  bool undoes() override { return call<bool>(env_, loader_, "undoes", "()Z") == true; }

 private:
  template <typename Result>
  std::optional<Result> callWithRows(const char* method, const char* signature) {
    const auto size = static_cast<jlong>(ends_.size() * sizeof(ends_[0]));
    const jobject ends = env_->NewDirectByteBuffer(ends_.data(), size);
    const jobject text =
        ends == nullptr ? nullptr : env_->NewDirectByteBuffer(text_.data(), static_cast<jlong>(text_.size()));
    const auto result = call<Result>(env_, loader_, method, signature, ends, text);
    env_->ExceptionClear();
    env_->DeleteLocalRef(text);
    env_->DeleteLocalRef(ends);
    return result;
  }

  JNIEnv* env_;
  jobject loader_;
};

/// Any JDBC driver, errors as text; it streams large results by itself.
class WrapperSession : public WritingSession {
 public:
  std::vector<Column> query(const std::string& sql, int maxRows, int blockRows) override {
    check(database_.executeQuery(toJava(sql), maxRows) && rows_.describe(database_, 1));
    rows_.open(database_, blockRows);
    return rows_.columns();
  }

  bool next(Row& row) override { return rows_.next(row); }

  int update(const std::string& sql) override {
    const int count = database_.executeUpdate(toJava(sql));
    check(count >= 0);
    return count;
  }

  void beginTransaction() override { transact("beginTransaction"); }

  void endTransaction(bool commit) override { transact(commit ? "commitTransaction" : "rollbackTransaction"); }

  std::unique_ptr<RowLoader> loader(const std::string& table, const std::vector<Column>& columns) override {
    std::string names;
    for (const Column& column : columns) names += column.name + '\0';
    JNIEnv* const env = database_.env;
    const jobject utilities = database_.utilitiesObject;
    const jstring javaTable = env->NewStringUTF(toJava(table).c_str());
    const jstring javaNames = javaTable == nullptr ? nullptr : env->NewStringUTF(toJava(names).c_str());
    const auto made =
        call<jobject>(env, utilities, "loader", "(Ljava/lang/String;Ljava/lang/String;)Lcom/ulvanejdbc/RowLoader;",
                      javaTable, javaNames);
    const jobject loader = made ? env->NewGlobalRef(*made) : nullptr;
    if (loader == nullptr) throw failureOf(env, utilities);
    return std::make_unique<JavaRowLoader>(env, loader);
  }

  bool cancel() override { return cancelInJava(database_.utilitiesObject); }

  bool isBroken() override { return isBrokenInJava(database_.env, database_.utilitiesObject); }

  void close() override { check(database_.closeConnection()); }

 private:
  bool connect(Target& java) override {
    return database_.errorState == 0 &&
           database_.setUrl(java.type, java.host, java.port, java.instance, java.database, java.url) &&
           database_.getConnection(java.user, java.password) && database_.getStatement();
  }

  bool list(std::vector<std::string>& tables) override { return database_.getTables(tables); }

  void check(bool worked) override {
    if (!worked) throw javaFailure(fromJava(database_.errorMessage));
  }

  void transact(const char* method) {
    const jobject utilities = database_.utilitiesObject;
    kivosql::check(database_.env, utilities, call<bool>(database_.env, utilities, method, "()Z"));
  }

  jdbcWrapper database_;
  BlockRows rows_;  ///< of the last query; destroyed before the database
};

}  // namespace

std::unique_ptr<Session> makeWrapperSession() { return std::make_unique<WrapperSession>(); }

}  // namespace kivosql
