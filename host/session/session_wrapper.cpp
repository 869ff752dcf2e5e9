#include "session/session_wrapper.h"

namespace kivosql {

namespace {

/// Throws why the last call that went to the companion jar by a method's name failed, unless it returned true.
void checkCall(jdbcWrapper& database, std::optional<bool> worked) {
  if (worked == true) return;
  database.env->ExceptionClear();
  database.errorMessage = "could not use the companion jar, or memory ran out";
  database.getErrorFromJava();
  throw javaFailure(fromJava(database.errorMessage));
}

}  // namespace

void RowLoader::add(const Cell& value) {
  text_ += value.text;
  const auto end = static_cast<std::int32_t>(text_.size());
  ends_.push_back(value.isNull ? ~end : end);
}

void RowLoader::store() {
  // Java counts the bytes of a text in an int.
  if (text_.size() > INT32_MAX) throw Failure("a batch has more than 2 GB of text");
  checkCall(database_, callWithRows<bool>("store", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)Z"));
  ends_.clear();
  text_.clear();
}

std::optional<std::size_t> RowLoader::failedRow(Failure& why) {
  const auto row = callWithRows<jint>("failedRow", "(Ljava/nio/ByteBuffer;Ljava/nio/ByteBuffer;)I");
  if (row.value_or(-1) < 0) return {};
  if (const auto failure = attempt([this] { checkCall(database_, false); })) why = *failure;
  return *row;
}

void RowLoader::sync() { checkCall(database_, call<bool>(database_.env, loader_, "sync", "()Z")); }

template <typename Result>
std::optional<Result> RowLoader::callWithRows(const char* method, const char* signature) {
  JNIEnv* const env = database_.env;
  const auto size = static_cast<jlong>(ends_.size() * sizeof(ends_[0]));
  const jobject ends = env->NewDirectByteBuffer(ends_.data(), size);
  const jobject text =
      ends == nullptr ? nullptr : env->NewDirectByteBuffer(text_.data(), static_cast<jlong>(text_.size()));
  const auto result = call<Result>(env, loader_, method, signature, ends, text);
  env->ExceptionClear();
  env->DeleteLocalRef(text);
  env->DeleteLocalRef(ends);
  return result;
}

std::vector<Column> WrapperSession::query(const std::string& sql, int maxRows, int blockRows) {
  check(database_.executeQuery(toJava(sql), maxRows));
  return readRows(blockRows);
}

std::optional<int> WrapperSession::execute(const std::string& sql, int maxRows, int blockRows,
                                           std::vector<Column>& columns) {
  JNIEnv* const env = database_.env;
  const jstring text = env->NewStringUTF(toJava(sql).c_str());
  const auto count = call<jint>(env, database_.utilitiesObject, "execute", "(Ljava/lang/String;I)I", text, maxRows);
  env->DeleteLocalRef(text);
  checkCall(database_, count.value_or(-1) != -1);
  if (*count >= 0) return *count;
  columns = readRows(blockRows);
  return {};
}

int WrapperSession::update(const std::string& sql) {
  const int count = database_.executeUpdate(toJava(sql));
  check(count >= 0);
  return count;
}

std::vector<Column> WrapperSession::readRows(int blockRows) {
  check(rows_.open(database_, 1, blockRows));
  return rows_.columns();
}

RowLoader WrapperSession::loader(const std::string& table, const std::vector<Column>& columns) {
  std::string names;
  for (const Column& column : columns) names += column.name + '\0';
  JNIEnv* const env = database_.env;
  const jobject utilities = database_.utilitiesObject;
  const jstring javaTable = env->NewStringUTF(toJava(table).c_str());
  const jstring javaNames = javaTable == nullptr ? nullptr : env->NewStringUTF(toJava(names).c_str());
  const auto loader =
      call<jobject>(env, utilities, "loader", "(Ljava/lang/String;Ljava/lang/String;)Lcom/ulvanejdbc/RowLoader;",
                    javaTable, javaNames);
  checkCall(database_, loader.value_or(nullptr) != nullptr);
  return {database_, *loader};
}

bool WrapperSession::connect(Target& java) {
  return database_.errorState == 0 &&
         database_.setUrl(java.type, java.host, java.port, java.instance, java.database, java.url) &&
         database_.getConnection(java.user, java.password) && database_.getStatement();
}

void WrapperSession::check(bool worked) {
  if (!worked) throw javaFailure(fromJava(database_.errorMessage));
}

void WrapperSession::transact(const char* method) {
  const jobject utilities = database_.utilitiesObject;
  checkCall(database_, call<bool>(database_.env, utilities, method, "()Z"));
}

std::unique_ptr<Session> makeWrapperSession() { return std::make_unique<WrapperSession>(); }

}  // namespace kivosql
