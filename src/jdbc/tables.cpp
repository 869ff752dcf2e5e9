#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "JdbcUtils.h"
#include "jdbc/vendors.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kGetMetaData{"getMetaData", "()Ljava/sql/DatabaseMetaData;"};
constexpr JavaMethod kGetTables{
    "getTables", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;[Ljava/lang/String;)Ljava/sql/ResultSet;"};
constexpr JavaMethod kNext{"next", "()Z"};
constexpr JavaMethod kGetString{"getString", "(I)Ljava/lang/String;"};

constexpr const char* kOracleCatalogue = "select table_name from user_tables";
constexpr const char* kTeradataCatalogue =
    "select TableName  from DBC.TablesX where TableKind='T' and not CreatorName='DBC'";

// Columns of DatabaseMetaData.getTables.
constexpr jint kSchemaColumn = 2;
constexpr jint kTableColumn = 3;
constexpr jint kTypeColumn = 4;

/// Lends the object's statement and result to a listing: sets them aside, with all that reading depends on, and puts
/// them back at the end, so that a query which the caller has open reads on.
class AsideQuery {
 public:
  explicit AsideQuery(JdbcUtils& owner)
      : utils(owner),
        statement(std::exchange(owner.statement, nullptr)),
        resultSet(std::exchange(owner.resultSet, nullptr)),
        resultSetMetaData(std::exchange(owner.resultSetMetaData, nullptr)),
        nextMethod(owner.nextMethod),
        getStringMethod(owner.getStringMethod),
        getObjectMethod(owner.getObjectMethod),
        getAsUtcStringMethod(owner.getAsUtcStringMethod) {
    columnTypes.swap(owner.columnTypes);
  }
  ~AsideQuery() {
    utils.closeST();
    utils.statement = statement;
    utils.resultSet = resultSet;
    utils.resultSetMetaData = resultSetMetaData;
    utils.nextMethod = nextMethod;
    utils.getStringMethod = getStringMethod;
    utils.getObjectMethod = getObjectMethod;
    utils.getAsUtcStringMethod = getAsUtcStringMethod;
    utils.columnTypes.swap(columnTypes);
  }
  AsideQuery(const AsideQuery&) = delete;
  AsideQuery& operator=(const AsideQuery&) = delete;

 private:
  JdbcUtils& utils;
  jobject statement;
  jobject resultSet;
  jobject resultSetMetaData;
  jmethodID nextMethod;
  jmethodID getStringMethod;
  jmethodID getObjectMethod;
  jmethodID getAsUtcStringMethod;
  std::vector<int> columnTypes;
};

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

/// Lists the names of a catalogue query's first column, except those that begin with a hidden prefix.
bool listCatalogue(JdbcUtils& utils, std::string sql, const std::set<std::string>& hiddenPrefixes,
                   std::vector<std::string>& tables) {
  if (utils.env == nullptr || utils.connection == nullptr) return false;
  const AsideQuery aside(utils);
  if (!utils.getStatement() || !utils.executeQuery(sql, 0)) return false;
  while (utils.next()) {
    char* text = nullptr;
    if (!utils.getColumn(1, text)) return false;
    const std::unique_ptr<char, FreeText> name(text);
    if (isPending(utils.env)) return false;
    if (!name) continue;
    const bool hidden = std::any_of(hiddenPrefixes.begin(), hiddenPrefixes.end(), [&name](const std::string& prefix) {
      return std::strncmp(name.get(), prefix.c_str(), prefix.size()) == 0;
    });
    if (!hidden) tables.emplace_back(name.get());
  }
  return !isPending(utils.env);
}

bool holds(const std::vector<const char*>& names, const std::string& wanted) {
  return std::find(names.begin(), names.end(), wanted) != names.end();
}

/// Appends the current row's table unless the rules leave it out. @return false on failure.
bool appendTable(JNIEnv* env, jobject rows, jmethodID getString, const TableRules& rules,
                 std::vector<std::string>& tables) {
  const LocalRef<jobject> schemaText = callObject(env, rows, getString, kSchemaColumn);
  if (isPending(env)) return false;
  const LocalRef<jobject> tableText = callObject(env, rows, getString, kTableColumn);
  if (!tableText || !callObject(env, rows, getString, kTypeColumn)) {
    tables.clear();
    return false;
  }
  std::string schema = "NULL";
  std::string table;
  if (schemaText && !copyText(env, static_cast<jstring>(schemaText.get()), schema)) return false;
  if (!copyText(env, static_cast<jstring>(tableText.get()), table)) return false;
  if (holds(rules.systemSchemas, schema) || holds(rules.systemTables, table)) return true;
  tables.push_back(rules.qualifiedBySchema ? schema + "." + table : table);
  return true;
}

/// Asks DatabaseMetaData for the tables of every schema; null on failure.
LocalRef<jobject> queryTables(JdbcUtils& utils, jobject metaData, jmethodID getTables) {
  char type[] = "TABLE";
  char* types[] = {type};
  const LocalRef<jobjectArray> typeArray(utils.env, utils.NewStringArray(types, 1));
  if (!typeArray) return LocalRef<jobject>(utils.env);
  const LocalRef<jstring> pattern = newJavaText(utils.env, "%");
  if (!pattern) return LocalRef<jobject>(utils.env);
  return callObject(utils.env, metaData, getTables, nullptr, nullptr, pattern.get(), typeArray.get());
}

bool appendTables(JNIEnv* env, jobject rows, LocalRef<jclass>& rowsClass, const TableRules& rules,
                  std::vector<std::string>& tables) {
  const jmethodID next = findMethodOf(env, rows, rowsClass, kNext);
  if (next == nullptr) return false;
  const jmethodID getString = findMethod(env, rowsClass.get(), kGetString);
  if (getString == nullptr) return false;
  while (env->CallBooleanMethod(rows, next) == JNI_TRUE) {
    if (isPending(env) || !appendTable(env, rows, getString, rules, tables)) return false;
  }
  return !isPending(env);
}

}  // namespace

bool JdbcUtils::getTables(std::vector<std::string>& tables) {
  if (env == nullptr || connection == nullptr) return false;
  const Vendor& known = vendorOfKey(vendor);
  if (known.listing != nullptr) return (this->*known.listing)(tables);
  describeLeftover(env);

  LocalRef<jobject> rows(env);
  LocalRef<jobject> metaData(env);
  LocalRef<jclass> rowsClass(env);
  LocalRef<jclass> metaDataClass(env);
  LocalRef<jclass> connectionClass(env);
  PendingCheck check(env);
  const jmethodID getMetaData = findMethodOf(env, connection, connectionClass, kGetMetaData);
  if (getMetaData == nullptr) return false;
  metaData = callObject(env, connection, getMetaData);
  if (!metaData) return false;
  const jmethodID getTablesMethod = findMethodOf(env, metaData.get(), metaDataClass, kGetTables);
  if (getTablesMethod == nullptr) return false;
  rows = queryTables(*this, metaData.get(), getTablesMethod);
  return rows && appendTables(env, rows.get(), rowsClass, known.tables, tables);
}

bool JdbcUtils::getOracleTables(std::vector<std::string>& tables) {
  return listCatalogue(*this, kOracleCatalogue, oracleSystemTablePrefixes, tables);
}

bool JdbcUtils::getTeradataTables(std::vector<std::string>& tables) {
  return listCatalogue(*this, kTeradataCatalogue, {}, tables);
}
