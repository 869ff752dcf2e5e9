#include "JdbcUtils.h"
#include "jdbc/diagnostics.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kSetMaxRows{"setMaxRows", "(I)V"};
constexpr JavaMethod kExecuteQuery{"executeQuery", "(Ljava/lang/String;)Ljava/sql/ResultSet;"};
constexpr JavaMethod kGetMetaData{"getMetaData", "()Ljava/sql/ResultSetMetaData;"};
constexpr JavaMethod kNext{"next", "()Z"};
constexpr JavaMethod kGetString{"getString", "(I)Ljava/lang/String;"};
constexpr JavaMethod kGetObject{"getObject", "(I)Ljava/lang/Object;"};
constexpr JavaMethod kGetAsUtcString{"getAsUtcString", "(Ljava/sql/ResultSet;II)Ljava/lang/String;"};

constexpr const char* kMaxRowsNotSet = "Could not set the maxrows in the statement.";
constexpr const char* kNoDateHelper = "*** could not get toAsUtcString method!!!! ***";  // sic: its old name

constexpr int kTypeOther = 1111;  // java.sql.Types.OTHER

/// A limit is a hint: one that the driver does not know or refuses is reported, and the query runs without it.
void limitRows(JNIEnv* env, jobject statement, int maxRows) {
  LocalRef<jclass> statementClass(env);
  const jmethodID setMaxRows = findMethodOf(env, statement, statementClass, kSetMaxRows);
  if (setMaxRows == nullptr) {
    printLine(kMaxRowsNotSet);
  } else {
    env->CallVoidMethod(statement, setMaxRows, static_cast<jint>(maxRows));
  }
  // The error must not reach the calls that follow.
  describePending(env);
}

/// Looks up what reading a row calls, into the object's fields.
bool findRowMethods(JdbcUtils& utils, jclass rowsClass) {
  utils.nextMethod = findMethod(utils.env, rowsClass, kNext);
  if (utils.nextMethod == nullptr) return false;
  utils.getStringMethod = findMethod(utils.env, rowsClass, kGetString);
  if (utils.getStringMethod == nullptr) return false;
  utils.getObjectMethod = findMethod(utils.env, rowsClass, kGetObject);
  return utils.getObjectMethod != nullptr;
}

bool findDateHelper(JdbcUtils& utils, LocalRef<jclass>& helperClass) {
  if (helperClass.reset(utils.env->FindClass("com/ulvanejdbc/datetime"))) {
    utils.getAsUtcStringMethod =
        utils.env->GetStaticMethodID(helperClass.get(), kGetAsUtcString.name, kGetAsUtcString.signature);
    if (utils.getAsUtcStringMethod != nullptr) return true;
  }
  printLine(kNoDateHelper);
  return false;
}

/// Keeps the helper class, the rows and their metadata: all of them, or no result.
bool keepResult(JdbcUtils& utils, jclass helperClass, jobject rows, jobject metaData) {
  JNIEnv* env = utils.env;
  if (keepGlobal(env, utils.datetimeClass, helperClass) && keepGlobal(env, utils.resultSet, rows) &&
      keepGlobal(env, utils.resultSetMetaData, metaData)) {
    return true;
  }
  dropGlobal(env, utils.resultSet);
  return false;
}

/// Records one type code per column, so that columns keep their places; OTHER for one that cannot be described.
void readColumnTypes(JdbcUtils& utils) {
  utils.columnTypes.clear();
  std::string name;
  for (int column = 0; column < utils.getNumColumns(); ++column) {
    int type = kTypeOther;
    const bool described = utils.getColumnInfo(column, name, type);
    const bool threw = describePending(utils.env);
    utils.columnTypes.push_back(described && !threw ? type : kTypeOther);
  }
}

}  // namespace

bool JdbcUtils::executeQuery(std::string& sql, int maxRows) {
  if (env == nullptr) return false;
  if (statement == nullptr && !getStatement()) return false;
  describeLeftover(env);
  closeRS();

  LocalRef<jobject> metaData(env);
  LocalRef<jobject> rows(env);
  LocalRef<jclass> rowsClass(env);
  LocalRef<jclass> helperClass(env);
  LocalRef<jclass> statementClass(env);
  PendingCheck check(env);
  LocalRef<jstring> text = newJavaText(env, sql);
  if (!text) return false;
  limitRows(env, statement, maxRows);
  const jmethodID execute = findMethodOf(env, statement, statementClass, kExecuteQuery);
  if (execute == nullptr) return false;
  rows = callObject(env, statement, execute, text.get());
  if (!rows) return false;
  const jmethodID getMetaData = findMethodOf(env, rows.get(), rowsClass, kGetMetaData);
  if (getMetaData == nullptr) return false;
  metaData = callObject(env, rows.get(), getMetaData);
  if (!metaData || !findRowMethods(*this, rowsClass.get())) return false;
  text.reset();
  if (!findDateHelper(*this, helperClass)) return false;
  if (!keepResult(*this, helperClass.get(), rows.get(), metaData.get())) return false;
  try {
    readColumnTypes(*this);
  } catch (...) {
    // A result whose columns are not all known must not stay open.
    closeRS();
    throw;
  }
  return true;
}
