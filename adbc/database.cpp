#include <cstdlib>
#include <string>
#include <vector>

#include "java_vm.h"
#include "jni/pending.h"
#include "objects.h"

namespace kivo::adbc {

namespace {

constexpr JavaMethod kOpen{"open", "([Ljava/lang/String;)Lcom/ulvanejdbc/adbc/AdbcDatabase;"};
constexpr JavaMethod kConnect{"connect", "()Lcom/ulvanejdbc/adbc/AdbcConnection;"};

constexpr const char* kUri = "uri";
constexpr const char* kPassword = "password";
constexpr const char* kJvm = "adbc.jdbc.jvm";
constexpr const char* kHeap = "adbc.jdbc.heap_mb";
constexpr const char* kJvmOptions = "adbc.jdbc.jvm_options";
constexpr const char* kProperty = "adbc.jdbc.property.";
constexpr const char* kNames[] = {kUri, "username", kPassword,  "adbc.jdbc.driver_path", "adbc.jdbc.driver_class",
                                  kJvm, kHeap,      kJvmOptions};

bool isKnown(const std::string& name) {
  for (const char* known : kNames) {
    if (name == known) return true;
  }
  return name.rfind(kProperty, 0) == 0 && name != kProperty;
}

/// Whether an option holds a password, under the driver's own name or the JDBC driver's.
bool isSecret(const std::string& name) { return name == kPassword || name == std::string(kProperty) + kPassword; }

int heapOf(const std::string& text) {
  if (text.empty()) return 0;
  char* end = nullptr;
  const long megabytes = std::strtol(text.c_str(), &end, 10);
  constexpr long kMaximum = 1 << 24;
  if (*end != '\0' || megabytes < 1 || megabytes > kMaximum) {
    throw Fault(ADBC_STATUS_INVALID_ARGUMENT, std::string(kHeap) + " must be a number of megabytes, not " + text);
  }
  return static_cast<int>(megabytes);
}

}  // namespace

void Database::setOption(const char* name, const char* value) {
  if (!isKnown(name)) throw Fault(ADBC_STATUS_NOT_IMPLEMENTED, std::string("unknown database option: ") + name);
  if (java_)
    throw Fault(ADBC_STATUS_INVALID_STATE, std::string(name) + " must be set before the database is initialized");
  options_.erase(name);
  if (value != nullptr) options_.emplace(name, value);
}

std::string Database::option(const char* name) {
  // A password that is set stays here.
  const auto found = isSecret(name) ? options_.end() : options_.find(name);
  if (found == options_.end()) throw Fault(ADBC_STATUS_NOT_FOUND, std::string(name) + " is not set");
  return found->second;
}

void Database::init() {
  if (java_) throw Fault(ADBC_STATUS_INVALID_STATE, "the database is already initialized");
  const auto text = [&](const char* name) {
    const auto found = options_.find(name);
    return found == options_.end() ? std::string() : found->second;
  };
  if (text(kUri).empty()) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "the option uri must be set to a JDBC URL");
  needVm({text(kJvm), heapOf(text(kHeap)), text(kJvmOptions)});
  JNIEnv* env = environment();
  const PendingAside aside(env);
  std::vector<const char*> texts;
  for (const auto& [name, value] : options_) {
    texts.push_back(name.c_str());
    texts.push_back(value.c_str());
  }
  const LocalRef<jobjectArray> options = javaTexts(env, texts);
  jclass databases = jarClass(env, JarClass::database);
  const jmethodID open = needed(env, env->GetStaticMethodID(databases, kOpen.name, kOpen.signature));
  const LocalRef<jobject> database(env, needed(env, env->CallStaticObjectMethod(databases, open, options.get())));
  JavaObject::throwFailure(env, database.get(), JavaObject::MayBeNone::yes);
  java_.keep(env, database.get());
}

LocalRef<jobject> Database::connect(JNIEnv* env) {
  if (!java_) throw Fault(ADBC_STATUS_INVALID_STATE, "the database is not initialized");
  return java_.ask(env, kConnect);
}

}  // namespace kivo::adbc
