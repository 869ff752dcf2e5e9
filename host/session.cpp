#include "session.h"

#include <cstdlib>
#include <cstring>

#include "JavaVmHost.h"
#include "KivoUtf8.h"

namespace kivosql {

bool Session::describe(const std::string& table) {
  if (!query("select * from " + table + " where 1 = 0", 0)) return false;
  Row none;
  return next(none) != Step::failed;
}

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

void takeCell(char* value, Cell& cell) {
  cell.isNull = value == nullptr;
  // Only these two lead bytes differ between Java's form and the standard one; most cells have neither.
  if (cell.isNull) {
    cell.text.clear();
  } else if (std::strpbrk(value, "\xC0\xED") == nullptr) {
    cell.text.assign(value);
  } else {
    cell.text = fromJava(value);
  }
  std::free(value);
}

bool cancelInJava(void* object) {
  JNIEnv* env = nullptr;
  if (object == nullptr || _globaljvm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr) != JNI_OK) {
    return false;
  }
  auto* const target = static_cast<jobject>(object);
  const jmethodID cancel = env->GetMethodID(env->GetObjectClass(target), "cancel", "()V");
  if (cancel != nullptr) env->CallVoidMethod(target, cancel);
  const bool asked = env->ExceptionCheck() == JNI_FALSE;
  env->ExceptionClear();
  // Detaching releases the local reference too.
  _globaljvm->DetachCurrentThread();
  return asked;
}

}  // namespace kivosql
