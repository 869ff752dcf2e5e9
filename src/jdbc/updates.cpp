#include <algorithm>

#include "JdbcUtils.h"
#include "jdbc/diagnostics.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kExecuteUpdate{"executeUpdate", "(Ljava/lang/String;)I"};
constexpr JavaMethod kAddBatch{"addBatch", "(Ljava/lang/String;)V"};
constexpr JavaMethod kExecuteBatch{"executeBatch", "()[I"};

constexpr const char* kNoMethod = "mid is NULL!!!!";

/// Looks a method up on the statement's class; a missing one is reported, a missing class is not.
jmethodID findOnStatement(JdbcUtils& utils, LocalRef<jclass>& statementClass, const JavaMethod& method) {
  if (!statementClass.reset(utils.env->GetObjectClass(utils.statement))) return nullptr;
  const jmethodID found = findMethod(utils.env, statementClass.get(), method);
  if (found == nullptr) printLine(kNoMethod);
  return found;
}

/// Copies the counts of a Java int[], unless they are not wanted. @return how many there are, -1 when memory ran out.
int copyCounts(JNIEnv* env, jintArray array, int* counts) {
  const jsize length = env->GetArrayLength(array);
  jint* elements = env->GetIntArrayElements(array, nullptr);
  if (elements == nullptr) return -1;
  if (counts != nullptr) std::copy_n(elements, length, counts);
  env->ReleaseIntArrayElements(array, elements, JNI_ABORT);
  return length;
}

}  // namespace

int JdbcUtils::executeUpdate(std::string& sql) {
  if (env == nullptr || statement == nullptr) return -1;
  describeLeftover(env);

  LocalRef<jclass> statementClass(env);
  PendingCheck check(env);
  const jmethodID execute = findOnStatement(*this, statementClass, kExecuteUpdate);
  if (execute == nullptr) return -1;
  const LocalRef<jstring> text = newJavaText(env, sql);
  if (!text) return -1;
  const jint count = env->CallIntMethod(statement, execute, text.get());
  return isPending(env) ? -1 : count;
}

int JdbcUtils::addToBatch(std::string& sql) {
  if (env == nullptr || statement == nullptr) return -1;
  describeLeftover(env);
  if (autoCommit) setAutoCommit(false);
  // The statement is added also when the driver refused the switch: a batch that lacks its first one is worse.
  describeLeftover(env);

  LocalRef<jclass> statementClass(env);
  PendingCheck check(env);
  const jmethodID addBatch = findOnStatement(*this, statementClass, kAddBatch);
  if (addBatch == nullptr) return 0;
  const LocalRef<jstring> text = newJavaText(env, sql);
  if (text) env->CallVoidMethod(statement, addBatch, text.get());
  return 0;
}

int JdbcUtils::executeBatch(int* updateCounts) {
  if (env == nullptr || statement == nullptr) return -1;
  describeLeftover(env);

  LocalRef<jobject> counts(env);
  LocalRef<jclass> statementClass(env);
  PendingCheck check(env);
  const jmethodID execute = findOnStatement(*this, statementClass, kExecuteBatch);
  if (execute == nullptr) return -1;
  counts = callObject(env, statement, execute);
  const int written = counts ? copyCounts(env, static_cast<jintArray>(counts.get()), updateCounts) : -1;
  // Both follow in every case, a failed batch included; each first prints what the call before left pending.
  commit();
  setAutoCommit(true);
  return written;
}
