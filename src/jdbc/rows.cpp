#include <climits>

#include "JdbcUtils.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;

namespace {

constexpr JavaMethod kGetColumnCount{"getColumnCount", "()I"};
constexpr JavaMethod kGetColumnName{"getColumnName", "(I)Ljava/lang/String;"};
constexpr JavaMethod kGetColumnType{"getColumnType", "(I)I"};

/// DATE, TIME and TIMESTAMP of java.sql.Types.
bool isDateOrTime(int type) { return type >= 91 && type <= 93; }

jobject callForText(JdbcUtils& utils, int type, jint column) {
  if (!isDateOrTime(type)) return utils.env->CallObjectMethod(utils.resultSet, utils.getStringMethod, column);
  return utils.env->CallStaticObjectMethod(utils.datetimeClass, utils.getAsUtcStringMethod, utils.resultSet,
                                           static_cast<jint>(type), column);
}

}  // namespace

bool JdbcUtils::next() {
  if (env == nullptr || resultSet == nullptr) return false;
  describeLeftover(env);
  return env->CallBooleanMethod(resultSet, nextMethod) == JNI_TRUE;
}

bool JdbcUtils::getColumn(unsigned long columnIndex, char*& value) {
  if (env == nullptr || resultSet == nullptr) return false;
  value = nullptr;
  // There is no type to read a column by that the result does not have.
  if (columnIndex < 1 || columnIndex > columnTypes.size()) return false;
  describeLeftover(env);

  const LocalRef<jstring> text(env, callForText(*this, columnTypes[columnIndex - 1], static_cast<jint>(columnIndex)));
  if (!text || isPending(env)) return true;
  value = copyTextToBuffer(env, text.get());
  // Out of memory must not pass for SQL NULL.
  return value != nullptr;
}

int JdbcUtils::getNumColumns() {
  if (env == nullptr || resultSetMetaData == nullptr) return -1;
  describeLeftover(env);

  LocalRef<jclass> metaDataClass(env);
  const jmethodID getColumnCount = findMethodOf(env, resultSetMetaData, metaDataClass, kGetColumnCount);
  return getColumnCount == nullptr ? -1 : env->CallIntMethod(resultSetMetaData, getColumnCount);
}

bool JdbcUtils::getColumnInfo(int columnNumber, std::string& name, int& type) {
  if (env == nullptr || resultSetMetaData == nullptr || columnNumber == INT_MAX) return false;
  describeLeftover(env);

  LocalRef<jclass> metaDataClass(env);
  const jmethodID getColumnName = findMethodOf(env, resultSetMetaData, metaDataClass, kGetColumnName);
  if (getColumnName == nullptr) return false;
  const jmethodID getColumnType = findMethod(env, metaDataClass.get(), kGetColumnType);
  if (getColumnType == nullptr) return false;
  const jint column = columnNumber + 1;
  LocalRef<jobject> text = callObject(env, resultSetMetaData, getColumnName, column);
  if (!text || !copyText(env, static_cast<jstring>(text.get()), name)) return false;
  text.reset();
  type = env->CallIntMethod(resultSetMetaData, getColumnType, column);
  return true;
}
