#include "session/session.h"

#include "JavaVmHost.h"
#include "KivoUtf8.h"

namespace kivosql {

namespace {

/// @return null, with nothing pending, when the object's class has no such method.
jmethodID findMethod(JNIEnv* env, jobject object, const char* name, const char* signature) {
  const jclass type = env->GetObjectClass(object);
  const jmethodID method = env->GetMethodID(type, name, signature);
  env->ExceptionClear();
  env->DeleteLocalRef(type);
  return method;
}

}  // namespace

bool Session::describe(const std::string& table) {
  if (!query("select * from " + table + " where 1 = 0", 0)) return false;
  Row none;
  return next(none) != Step::failed;
}

bool isUtf8(const std::string& text) { return kivo::utf8::toModified(text).replacements == 0; }

std::string toJava(const std::string& text) { return kivo::utf8::toModified(text).text; }

Target toJava(const Target& target) {
  Target java = target;
  for (std::string* text : {&java.url, &java.type, &java.host, &java.port, &java.instance, &java.database, &java.user,
                            &java.password, &java.className}) {
    *text = toJava(*text);
  }
  return java;
}

std::string fromJava(const std::string& text) { return kivo::utf8::toStandard(text).text; }

void PackedRows::add(const Cell& cell) {
  text += cell.text;
  const auto end = static_cast<std::int32_t>(text.size());
  ends.push_back(cell.isNull ? ~end : end);
}

void PackedRows::clear() {
  ends.clear();
  text.clear();
}

Step BlockRows::next(Row& row) {
  if (!blocks_) return Step::end;
  if (++row_ >= blocks_->rows()) {
    row_ = 0;
    if (!blocks_->next()) return blocks_->errorState == 0 ? Step::end : Step::failed;
  }
  row.resize(static_cast<std::size_t>(blocks_->columns()));
  int column = 0;
  for (Cell& cell : row) {
    ++column;
    cell = {blocks_->text(row_, column), blocks_->isNull(row_, column)};
  }
  return Step::row;
}

namespace {

/// Makes a Java call on a thread that is not attached. @return whether that worked.
template <typename Call>
bool callFromOutside(void* object, Call call) {
  JNIEnv* env = nullptr;
  if (object == nullptr || _globaljvm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr) != JNI_OK) {
    return false;
  }
  call(env, static_cast<jobject>(object));
  const bool worked = env->ExceptionCheck() == JNI_FALSE;
  env->ExceptionClear();
  // Detaching releases local references too.
  _globaljvm->DetachCurrentThread();
  return worked;
}

}  // namespace

bool cancelInJava(void* object) {
  return callFromOutside(object, [](JNIEnv* env, jobject target) {
    const jmethodID cancel = env->GetMethodID(env->GetObjectClass(target), "cancel", "()V");
    if (cancel != nullptr) env->CallVoidMethod(target, cancel);
  });
}

bool cancelStatementInJava(void* statement) {
  return callFromOutside(statement, [](JNIEnv* env, jobject target) {
    const jclass type = env->FindClass("com/ulvanejdbc/Cancellation");
    const jmethodID cancel =
        type == nullptr ? nullptr : env->GetStaticMethodID(type, "cancel", "(Ljava/sql/Statement;)V");
    if (cancel != nullptr) env->CallStaticVoidMethod(type, cancel, target);
  });
}

bool closeInJava(JNIEnv* env, void* object) {
  if (object == nullptr) return true;
  auto* const target = static_cast<jobject>(object);
  const jmethodID close = findMethod(env, target, "close", "()V");
  if (close == nullptr) return true;
  env->CallVoidMethod(target, close);
  const bool threw = env->ExceptionCheck() == JNI_TRUE;
  if (threw) env->ExceptionDescribe();
  return !threw;
}

bool isBrokenInJava(JNIEnv* env, void* object) {
  constexpr jint kPatienceSeconds = 5;
  if (object == nullptr) return true;
  auto* const target = static_cast<jobject>(object);
  const jmethodID isValid = findMethod(env, target, "isValid", "(I)Z");
  const bool valid = isValid == nullptr || env->CallBooleanMethod(target, isValid, kPatienceSeconds) == JNI_TRUE;
  const bool threw = env->ExceptionCheck() == JNI_TRUE;
  env->ExceptionClear();
  return !valid && !threw;
}

}  // namespace kivosql
