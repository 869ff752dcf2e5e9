#include "java_object.h"

#include <algorithm>

#include "KivoUtf8.h"
#include "arrow/environment.h"
#include "java_vm.h"
#include "jni/pending.h"
#include "jni/text.h"

namespace kivo::adbc {

namespace {

constexpr JavaMethod kReportOf{"of", "(Lcom/ulvanejdbc/arrow/Fallible;)[B"};
constexpr JavaMethod kFailure{"failure", "()Ljava/lang/String;"};

/// Before the text of a report.
constexpr std::size_t kStateAt = 1;
constexpr std::size_t kVendorCodeAt = 6;
constexpr std::size_t kTextAt = 10;

Fault faultOf(const std::string& report) {
  Fault fault(static_cast<AdbcStatusCode>(report[0]), report.substr(kTextAt));
  std::copy_n(report.begin() + kStateAt, sizeof fault.sqlState, fault.sqlState);
  std::uint32_t code = 0;
  for (std::size_t at = kVendorCodeAt; at < kTextAt; ++at) code = code << 8U | static_cast<std::uint8_t>(report[at]);
  fault.vendorCode = static_cast<std::int32_t>(code);
  return fault;
}

}  // namespace

void JavaObject::keep(JNIEnv* env, jobject object) {
  if (!keepGlobal(env, object_, object)) throwNoMemory();
}

void JavaObject::drop() {
  JNIEnv* env = object_ == nullptr || isForked() ? nullptr : threadEnvironment();
  if (env != nullptr) dropGlobal(env, object_);
  object_ = nullptr;
}

jlong JavaObject::number(JNIEnv* env, const JavaMethod& method) const {
  const jlong answer = env->CallLongMethod(object_, find(env, method));
  expectNothingThrown(env);
  return answer;
}

void JavaObject::throwFailure(JNIEnv* env, jobject failed, MayBeNone none) {
  if (none == MayBeNone::yes) {
    LocalRef<jclass> type(env);
    const jmethodID failure = needed(env, findMethodOf(env, failed, type, kFailure));
    const LocalRef<jobject> text = callObject(env, failed, failure);
    expectNothingThrown(env);
    if (!text) return;
  }
  jclass reports = jarClass(env, JarClass::errorReport);
  const jmethodID of = needed(env, env->GetStaticMethodID(reports, kReportOf.name, kReportOf.signature));
  const LocalRef<jobject> report(env, needed(env, env->CallStaticObjectMethod(reports, of, failed)));
  throw faultOf(bytesOf(env, report.get()));
}

void JavaObject::throwNoMemory() { throw Fault(ADBC_STATUS_INTERNAL, "out of memory"); }

void JavaObject::expectNothingThrown(JNIEnv* env) {
  if (!isPending(env)) return;
  env->ExceptionClear();
  throwNoMemory();
}

jmethodID JavaObject::find(JNIEnv* env, const JavaMethod& method) const {
  LocalRef<jclass> type(env);
  const jmethodID found = findMethodOf(env, object_, type, method);
  if (found != nullptr) return found;
  env->ExceptionClear();
  throw Fault(ADBC_STATUS_INTERNAL, std::string("the companion jar is of another version: it lacks ") + method.name);
}

LocalRef<jstring> javaText(JNIEnv* env, const char* text) {
  if (text == nullptr) return LocalRef<jstring>(env);
  LocalRef<jstring> made = newJavaText(env, text);
  needed(env, made.get());
  return made;
}

LocalRef<jobjectArray> javaTexts(JNIEnv* env, const std::vector<const char*>& texts) {
  LocalRef<jclass> stringClass(env);
  LocalRef<jobjectArray> array(env);
  const auto count = static_cast<jsize>(texts.size());
  const auto textAt = [&](jsize index) { return texts[static_cast<std::size_t>(index)]; };
  const bool made = makeTextArray(env, stringClass, array, count, textAt);
  JavaObject::expectNothingThrown(env);
  if (!made) JavaObject::throwNoMemory();
  return array;
}

std::string bytesOf(JNIEnv* env, jobject array) {
  if (array == nullptr) JavaObject::throwNoMemory();
  auto* const bytes = static_cast<jbyteArray>(array);
  std::string copy(static_cast<std::size_t>(env->GetArrayLength(bytes)), '\0');
  env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(copy.size()), reinterpret_cast<jbyte*>(copy.data()));
  JavaObject::expectNothingThrown(env);
  return copy;
}

std::string textOf(JNIEnv* env, jobject text) {
  std::string copy;
  if (!copyText(env, static_cast<jstring>(text), copy)) {
    env->ExceptionClear();
    JavaObject::throwNoMemory();
  }
  return utf8::toStandard(copy).text;
}

}  // namespace kivo::adbc
