#include "JdbcUtils.h"
#include "jdbc/diagnostics.h"
#include "jdbc/vendors.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kCreateStatement{"createStatement", "()Ljava/sql/Statement;"};
constexpr JavaMethod kSetFetchSize{"setFetchSize", "(I)V"};
constexpr JavaMethod kClose{"close", "()V"};

constexpr const char* kResultNotClosed = "**** Failed call close() on an open resultSet.";
constexpr const char* kStatementNotClosed = "**** Failed to call close() on an open statement.";
constexpr const char* kConnectionNotClosed = "**** Failed to call close() on an open connection.";

/// Calls close() on a held object; @p failed is printed when it has no such method.
void callClose(JNIEnv* env, jobject held, const char* failed) {
  LocalRef<jclass> heldClass(env);
  const jmethodID close = findMethodOf(env, held, heldClass, kClose);
  if (close != nullptr) {
    env->CallVoidMethod(held, close);
  } else {
    printLine(failed);
  }
}

/// Closes and releases a held object, what depends on it before; whatever close() threw is printed after the release.
void closeHeld(JNIEnv* env, jobject& held, const char* failed, jobject* dependent = nullptr) {
  if (held == nullptr) return;
  describeLeftover(env);
  PendingCheck check(env);
  callClose(env, held, failed);
  if (dependent != nullptr) dropGlobal(env, *dependent);
  dropGlobal(env, held);
}

bool applyFetchSize(JNIEnv* env, jobject statement, LocalRef<jclass>& statementClass, jint rows) {
  const jmethodID setFetchSize = findMethodOf(env, statement, statementClass, kSetFetchSize);
  if (setFetchSize == nullptr) return false;
  env->CallVoidMethod(statement, setFetchSize, rows);
  return true;
}

}  // namespace

bool JdbcUtils::getStatement() {
  if (env == nullptr || connection == nullptr) return false;
  if (statement != nullptr) return true;
  describeLeftover(env);
  closeST();

  LocalRef<jobject> created(env);
  LocalRef<jclass> statementClass(env);
  LocalRef<jclass> connectionClass(env);
  PendingCheck check(env);
  const jmethodID createStatement = findMethodOf(env, connection, connectionClass, kCreateStatement);
  if (createStatement == nullptr) return false;
  created = callObject(env, connection, createStatement);
  if (!created || !keepGlobal(env, statement, created.get())) return false;
  const jint fetchSize = vendorOfKey(vendor).fetchSize;
  return fetchSize == 0 || applyFetchSize(env, statement, statementClass, fetchSize);
}

void JdbcUtils::closeRS() {
  if (env == nullptr) return;
  closeHeld(env, resultSet, kResultNotClosed, &resultSetMetaData);
}

void JdbcUtils::closeST() {
  if (env == nullptr) return;
  closeRS();
  closeHeld(env, statement, kStatementNotClosed);
}

void JdbcUtils::closeConnection() {
  if (env == nullptr) return;
  closeST();
  closeHeld(env, connection, kConnectionNotClosed);
}
