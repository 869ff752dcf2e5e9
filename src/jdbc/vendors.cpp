#include "jdbc/vendors.h"

#include "JdbcUtils.h"

namespace kivo::jdbc {

namespace {

constexpr jint kFetchSize = 128;

const Vendor kVendors[] = {
    {"oracle",
     "oracle",
     "jdbc:oracle:thin:@{host}:{port}:{instance}",
     "for Oracle the instance name must not be empty",
     nullptr,
     "oracle/jdbc/pool/OracleDataSource",
     &JdbcUtils::jdbcURL,
     "setUser",
     "setPassword",
     kFetchSize,
     &JdbcUtils::getOracleTables,
     {}},
    {"mssql",
     "microsoft",
     "jdbc:microsoft:sqlserver://{host}[\\{instance}]:{port}[;databaseName={database}];responseBuffering=adaptive",
     nullptr,
     nullptr,
     "com/microsoft/sqlserver/jdbc/SQLServerDataSource",
     &JdbcUtils::SqlServerURL,
     "setUser",
     "setPassword",
     kFetchSize,
     nullptr,
     {{"INFORMATION_SCHEMA", "sys"}, {"dtproperties", "sysalternates", "sysconstraints", "syssegments"}, false}},
    {"velmar",
     "velmar",
     "jdbc:velmar:Tds:{host}:{port}[/{instance}]",
     nullptr,
     nullptr,
     "com/velmar/jdbc3/jdbc/VelmDataSource",
     &JdbcUtils::VelmarURL,
     "setUser",
     "setPassword",
     0,
     nullptr,
     {}},
    {"netezza",
     "netezza",
     "jdbc:netezza://{host}:{port}[/{instance}]",
     nullptr,
     nullptr,
     "org/netezza/jdbc3/Jdbc3PoolingDataSource",
     &JdbcUtils::DB2URL,
     "setUser",
     "setPassword",
     kFetchSize,
     nullptr,
     {}},
    {"teradata",
     "teradata",
     "jdbc:teradata://{host}/DBS_PORT={port}[,DATABASE={database}]",
     nullptr,
     "teradata jdbc does not support a specified instance.",
     "com/ncr/teradata/TeraDataSource",
     &JdbcUtils::TeradataURL,
     "setuser",  // sic: Teradata alone spells its setters in lower case
     "setpassword",
     kFetchSize,
     &JdbcUtils::getTeradataTables,
     {}},
    {"db2",
     "db2",
     "jdbc:db2://{host}:{port}[/{instance}]",
     nullptr,
     nullptr,
     "com/ibm/db2/jcc/DB2SimpleDataSource",
     &JdbcUtils::DB2URL,
     "setUser",
     "setPassword",
     kFetchSize,
     nullptr,
     {{"SYSIBM", "SYSCAT", "SYSSTAT", "SYSTOOLS", "SYSIBMADM"}, {}, true}},
    {"kdb",
     "kx",
     "jdbc:q:{host}:{port}",
     nullptr,
     nullptr,
     "com/kx/kdbDataSource",
     &JdbcUtils::kdbURL,
     "setUser",
     "setPassword",
     kFetchSize,
     nullptr,
     {}},
    {"postgresql",
     "postgresql",
     "jdbc:postgresql://{host}:{port}/{instance}",
     nullptr,
     nullptr,
     "org/postgresql/jdbc3/Jdbc3SimpleDataSource",
     &JdbcUtils::PostgresURL,
     "setUser",
     "setPassword",
     kFetchSize,
     nullptr,
     {}},
};

const Vendor kUnknown{"", "", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, kFetchSize, nullptr, {}};

const Vendor* findVendor(const char* Vendor::*name, const std::string& wanted) {
  for (const Vendor& vendor : kVendors) {
    if (wanted == vendor.*name) return &vendor;
  }
  return nullptr;
}

}  // namespace

const Vendor* vendorOfWord(const std::string& word) { return findVendor(&Vendor::word, word); }

const Vendor& vendorOfKey(const std::string& key) {
  const Vendor* vendor = findVendor(&Vendor::key, key);
  return vendor == nullptr ? kUnknown : *vendor;
}

}  // namespace kivo::jdbc
