#include "jdbcWrapper.h"
#include "wrapper/calls.h"

using namespace kivo;
using namespace kivo::wrapper;

bool jdbcWrapper::setUrl(std::string dbType, std::string host, std::string port, std::string instance,
                         std::string database, std::string& url) {
  // A refusal without an error of Java's leaves the error of the operation before.
  const Operation operation(*this, true);
  if (!operation.callBool(&jdbcWrapper::setUrlMethod, dbType, host, portNumber(port), instance, database, url)) {
    return false;
  }
  getUrl(url);
  return true;
}

bool jdbcWrapper::getUrl(std::string& url) { return Operation(*this).callText(&jdbcWrapper::getUrlMethod, url); }

bool jdbcWrapper::getVendor(std::string& vendor) {
  return Operation(*this).callText(&jdbcWrapper::getVendorMethod, vendor);
}

bool jdbcWrapper::getConnection(std::string user, std::string password) {
  checkThreadState();
  return Operation(*this).callBool(&jdbcWrapper::getConnectionMethod, user, password);
}

bool jdbcWrapper::closeConnection() {
  checkThreadState();
  return Operation(*this).callBool(&jdbcWrapper::closeConnectionMethod);
}

bool jdbcWrapper::getStatement() { return Operation(*this).callBool(&jdbcWrapper::getStatementMethod); }

bool jdbcWrapper::executeQuery(std::string sql, int maxRows) {
  return Operation(*this).callBool(&jdbcWrapper::executeQueryMethod, sql, maxRows);
}

bool jdbcWrapper::next() { return Operation(*this).callBool(&jdbcWrapper::nextMethod); }

bool jdbcWrapper::getColumn(int column, char*& value) {
  const Operation operation(*this);
  value = nullptr;
  LocalRef<jobject> text(env);
  if (!operation.callObject(&jdbcWrapper::getColumnMethod, text, column)) return false;
  if (!text) {
    operation.takeJavaError();
    return errorState == 0;
  }
  value = copyTextToBuffer(env, static_cast<jstring>(text.get()));
  if (value == nullptr) failOutOfMemory(*this);
  return value != nullptr;
}

int jdbcWrapper::getNumColumns() {
  const Operation operation(*this);
  int columns = -1;
  if (operation.callInt(&jdbcWrapper::getNumColumnsMethod, columns) && columns < 0) operation.takeJavaError();
  return columns;
}

bool jdbcWrapper::getColumnName(int column, std::string& name) {
  return Operation(*this).callText(&jdbcWrapper::getColumnNameMethod, name, column);
}

bool jdbcWrapper::getColumnType(int column, int& type) {
  const Operation operation(*this);
  int code = 0;
  if (!operation.callInt(&jdbcWrapper::getColumnTypeMethod, code, column)) return false;
  operation.takeJavaError();
  if (errorState != 0) return false;
  type = code;
  return true;
}

bool jdbcWrapper::getColumnInfo(int column, std::string& name, int& type) {
  return getColumnName(column, name) && getColumnType(column, type);
}

int jdbcWrapper::executeUpdate(std::string sql) {
  const Operation operation(*this);
  int count = -1;
  if (operation.callInt(&jdbcWrapper::executeUpdateMethod, count, sql) && count < 0) operation.takeJavaError();
  return count;
}

bool jdbcWrapper::addToBatch(std::string sql) { return Operation(*this).callBool(&jdbcWrapper::addToBatchMethod, sql); }

bool jdbcWrapper::executeBatch(int& result) {
  const Operation operation(*this);
  result = -1;
  if (!operation.callInt(&jdbcWrapper::executeBatchMethod, result)) return false;
  operation.takeJavaError();
  return errorState == 0;
}
