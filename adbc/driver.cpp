// The table of the driver's functions.

#include "adbc.h"
#include "functions.h"
#include "handles.h"
#include "options.h"
#include "streams.h"

namespace kivo::adbc {

namespace {

AdbcStatusCode newDatabase(AdbcDatabase* database, AdbcError* error) {
  return guarded(error, [&] { makeObject(database); });
}

AdbcStatusCode initDatabase(AdbcDatabase* database, AdbcError* error) {
  return guarded(error, [&] { at(database).init(); });
}

/// Connections and streams may outlive the driver's table of functions; there is nothing to release.
AdbcStatusCode releaseDriver(AdbcDriver* driver, AdbcError* error) {
  return guarded(error, [&] { given(driver, "the driver")->release = nullptr; });
}

void fillIn(AdbcDriver& driver) {
  driver.private_data = nullptr;
  driver.release = releaseDriver;

  driver.DatabaseInit = initDatabase;
  driver.DatabaseNew = newDatabase;
  driver.DatabaseSetOption = Options<AdbcDatabase>::set;
  driver.DatabaseRelease = release<AdbcDatabase>;

  driver.ConnectionCommit = commit;
  driver.ConnectionGetInfo = getInfo;
  driver.ConnectionGetObjects = getObjects;
  driver.ConnectionGetTableSchema = getTableSchema;
  driver.ConnectionGetTableTypes = getTableTypes;
  driver.ConnectionInit = initConnection;
  driver.ConnectionNew = newConnection;
  driver.ConnectionSetOption = Options<AdbcConnection>::set;
  driver.ConnectionReadPartition = readPartition;
  driver.ConnectionRelease = release<AdbcConnection>;
  driver.ConnectionRollback = rollback;

  driver.StatementBind = bind;
  driver.StatementBindStream = bindStream;
  driver.StatementExecuteQuery = executeQuery;
  driver.StatementExecutePartitions = executePartitions;
  driver.StatementGetParameterSchema = getParameterSchema;
  driver.StatementNew = newStatement;
  driver.StatementPrepare = prepare;
  driver.StatementRelease = release<AdbcStatement>;
  driver.StatementSetOption = Options<AdbcStatement>::set;
  driver.StatementSetSqlQuery = setSql;
  driver.StatementSetSubstraitPlan = setSubstraitPlan;
}

void fillInNewer(AdbcDriver& driver) {
  driver.ErrorGetDetailCount = errorDetailCount;
  driver.ErrorGetDetail = errorDetail;
  driver.ErrorFromArrayStream = errorFromArrayStream;

  driver.DatabaseGetOption = Options<AdbcDatabase>::get;
  driver.DatabaseGetOptionBytes = Options<AdbcDatabase>::getBytes;
  driver.DatabaseGetOptionDouble = Options<AdbcDatabase>::getDouble;
  driver.DatabaseGetOptionInt = Options<AdbcDatabase>::getInt;
  driver.DatabaseSetOptionBytes = Options<AdbcDatabase>::setBytes;
  driver.DatabaseSetOptionDouble = Options<AdbcDatabase>::setDouble;
  driver.DatabaseSetOptionInt = Options<AdbcDatabase>::setInt;

  driver.ConnectionCancel = cancelConnection;
  driver.ConnectionGetOption = Options<AdbcConnection>::get;
  driver.ConnectionGetOptionBytes = Options<AdbcConnection>::getBytes;
  driver.ConnectionGetOptionDouble = Options<AdbcConnection>::getDouble;
  driver.ConnectionGetOptionInt = Options<AdbcConnection>::getInt;
  driver.ConnectionGetStatistics = getStatistics;
  driver.ConnectionGetStatisticNames = getStatisticNames;
  driver.ConnectionSetOptionBytes = Options<AdbcConnection>::setBytes;
  driver.ConnectionSetOptionDouble = Options<AdbcConnection>::setDouble;
  driver.ConnectionSetOptionInt = Options<AdbcConnection>::setInt;

  driver.StatementCancel = cancelStatement;
  driver.StatementExecuteSchema = executeSchema;
  driver.StatementGetOption = Options<AdbcStatement>::get;
  driver.StatementGetOptionBytes = Options<AdbcStatement>::getBytes;
  driver.StatementGetOptionDouble = Options<AdbcStatement>::getDouble;
  driver.StatementGetOptionInt = Options<AdbcStatement>::getInt;
  driver.StatementSetOptionBytes = Options<AdbcStatement>::setBytes;
  driver.StatementSetOptionDouble = Options<AdbcStatement>::setDouble;
  driver.StatementSetOptionInt = Options<AdbcStatement>::setInt;
}

}  // namespace

}  // namespace kivo::adbc

AdbcStatusCode AdbcDriverInit(int version, void* driver, AdbcError* error) {
  using namespace kivo::adbc;
  return guarded(error, [&] {
    if (version != ADBC_VERSION_1_0_0 && version != ADBC_VERSION_1_1_0) {
      throw Fault(ADBC_STATUS_NOT_IMPLEMENTED, "this driver implements ADBC 1.0.0 and 1.1.0");
    }
    auto& functions = *static_cast<AdbcDriver*>(given(driver, "the driver"));
    fillIn(functions);
    // The structure of version 1.0.0 ends before the newer ones.
    if (version >= ADBC_VERSION_1_1_0) fillInNewer(functions);
  });
}

AdbcStatusCode AdbcDriverJdbcInit(int version, void* driver, AdbcError* error) {
  return AdbcDriverInit(version, driver, error);
}
