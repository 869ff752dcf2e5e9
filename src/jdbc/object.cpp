#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "jdbc/diagnostics.h"
#include "jni/local_ref.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

/// After a reference went: reports what is pending, whoever left it.
void reportPending(JNIEnv* env, const char* line) {
  if (!isPending(env)) return;
  printLine(line);
  describePending(env);
}

}  // namespace

JdbcUtils::JdbcUtils()
    : oracleSystemTablePrefixes{"MVIEW$",  "AQ$",      "OL$",      "DEF$",     "LOGSTDBY$", "REPCAT$",
                                "LOGMNR_", "LOGMNRC_", "LOGMNRP_", "LOGMNRT_", "SQLPLUS_",  "HELP"} {}

JdbcUtils::~JdbcUtils() {
  if (env != nullptr) dropGlobal(env, datetimeClass);
}

bool JdbcUtils::javaInit() {
  if (env != nullptr) return true;
  if (_globaljvm == nullptr) return false;
  _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
  return env != nullptr;
}

void JdbcUtils::destroy() {
  if (env == nullptr) return;
  if (resultSet != nullptr) {
    dropGlobal(env, resultSetMetaData);
    dropGlobal(env, resultSet);
    reportPending(env, "Exception in deleting global ref to <resultSet>");
  }
  if (statement != nullptr) {
    dropGlobal(env, statement);
    reportPending(env, "Exception in deleting global ref to <statement>.");
  }
  if (connection != nullptr) {
    dropGlobal(env, connection);
    reportPending(env, "Exception in deleting global ref to <connection>.");
  }
}

jobjectArray JdbcUtils::NewStringArray(char** strings, int count) {
  if (env == nullptr) return nullptr;
  describeLeftover(env);

  LocalRef<jclass> stringClass(env, env->FindClass("java/lang/String"));
  if (!stringClass) return nullptr;
  LocalRef<jobjectArray> array(env, env->NewObjectArray(count, stringClass.get(), nullptr));
  if (!array) return nullptr;
  stringClass.reset();
  for (jsize index = 0; index < count; ++index) {
    if (strings[index] == nullptr) continue;
    const auto text = newJavaText(env, strings[index]);
    if (!text) return nullptr;
    env->SetObjectArrayElement(array.get(), index, text.get());
    if (isPending(env)) return nullptr;
  }
  return array.release();
}
