#include "wrapper/methods.h"

namespace kivo::wrapper {

namespace {

struct Method {
  const char* name;
  const char* signature;
  MethodField field;
  const char* reported;
};

/// In the order in which they are looked up and checked.
constexpr Method kMethods[] = {
    {"setUrl", "(Ljava/lang/String;Ljava/lang/String;ILjava/lang/String;Ljava/lang/String;Ljava/lang/String;)Z",
     &jdbcWrapper::setUrlMethod, "setUrl"},
    {"getConnection", "(Ljava/lang/String;Ljava/lang/String;)Z", &jdbcWrapper::getConnectionMethod, "getConnection"},
    {"getTables", "()[Ljava/lang/String;", &jdbcWrapper::getTablesMethod, "getTables"},
    {"getStatement", "()Z", &jdbcWrapper::getStatementMethod, "getStatement"},
    {"executeQuery", "(Ljava/lang/String;I)Z", &jdbcWrapper::executeQueryMethod, "executeQuery"},
    {"executeUpdate", "(Ljava/lang/String;)I", &jdbcWrapper::executeUpdateMethod, "executeUpdate"},
    {"next", "()Z", &jdbcWrapper::nextMethod, "next"},
    {"addToBatch", "(Ljava/lang/String;)Z", &jdbcWrapper::addToBatchMethod, "addTobatch"},  // sic
    {"executeBatch", "()I", &jdbcWrapper::executeBatchMethod, "executeBatch"},
    {"getColumn", "(I)Ljava/lang/String;", &jdbcWrapper::getColumnMethod, "getColumn"},
    {"getNumColumns", "()I", &jdbcWrapper::getNumColumnsMethod, "getNumColumn"},  // sic
    {"getColumnName", "(I)Ljava/lang/String;", &jdbcWrapper::getColumnNameMethod, "getColumnName"},
    {"getColumnType", "(I)I", &jdbcWrapper::getColumnTypeMethod, "getColumnType"},
    {"closeConnection", "()Z", &jdbcWrapper::closeConnectionMethod, "closeConnection"},
    {"getVendor", "()Ljava/lang/String;", &jdbcWrapper::getVendorMethod, "getVendor"},
    {"getUrl", "()Ljava/lang/String;", &jdbcWrapper::getUrlMethod, "getUrl"},
    {"getErrorCode", "()I", &jdbcWrapper::getErrorCodeMethod, "getErrorCode"},
    {"getErrorMessage", "()Ljava/lang/String;", &jdbcWrapper::getErrorMessageMethod, "getErrorMessage"},
};

}  // namespace

void findMethods(jdbcWrapper& wrapper, jclass utilitiesClass) {
  for (const Method& method : kMethods) {
    wrapper.*method.field = wrapper.env->GetMethodID(utilitiesClass, method.name, method.signature);
    if (wrapper.*method.field == nullptr) wrapper.env->ExceptionClear();
  }
}

void checkMethods(jdbcWrapper& wrapper) {
  for (const Method& method : kMethods) {
    if (!wrapper.checkMethodPointer(method.reported, wrapper.*method.field)) return;
  }
}

const char* reportedName(MethodField field) {
  for (const Method& method : kMethods) {
    if (method.field == field) return method.reported;
  }
  return "";
}

}  // namespace kivo::wrapper
