#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "jdbc/diagnostics.h"
#include "jni/attach.h"
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
  env = attachThread();
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

  LocalRef<jobjectArray> array(env);
  LocalRef<jclass> stringClass(env);
  const auto textAt = [strings](jsize index) { return strings[index]; };
  return makeTextArray(env, stringClass, array, count, textAt) ? array.release() : nullptr;
}
