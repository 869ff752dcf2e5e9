// The C interface of ADBC (Arrow Database Connectivity), revisions 1.0.0 and 1.1.0, as far as a driver needs it. The
// guard and the names are the documented ones, so that other declarations of it may stand beside these.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KivoArrow.h"

#ifndef ADBC
#define ADBC

using AdbcStatusCode = std::uint8_t;

#define ADBC_STATUS_OK 0
#define ADBC_STATUS_UNKNOWN 1
#define ADBC_STATUS_NOT_IMPLEMENTED 2
#define ADBC_STATUS_NOT_FOUND 3
#define ADBC_STATUS_ALREADY_EXISTS 4
#define ADBC_STATUS_INVALID_ARGUMENT 5
#define ADBC_STATUS_INVALID_STATE 6
#define ADBC_STATUS_INVALID_DATA 7
#define ADBC_STATUS_INTEGRITY 8
#define ADBC_STATUS_INTERNAL 9
#define ADBC_STATUS_IO 10
#define ADBC_STATUS_CANCELLED 11
#define ADBC_STATUS_TIMEOUT 12
#define ADBC_STATUS_UNAUTHENTICATED 13
#define ADBC_STATUS_UNAUTHORIZED 14

#define ADBC_VERSION_1_0_0 1000000
#define ADBC_VERSION_1_1_0 1001000

#define ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA INT32_MIN

extern "C" {

struct AdbcDriver;

/// Why a call failed. The caller makes it, all zero, and releases it.
struct AdbcError {
  char* message;
  std::int32_t vendor_code;
  char sqlstate[5];
  void (*release)(AdbcError*);

  // Only there when the caller set vendor_code to ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA.
  void* private_data;
  AdbcDriver* private_driver;
};

struct AdbcErrorDetail {
  const char* key;
  const std::uint8_t* value;
  std::size_t value_length;
};

struct AdbcDatabase {
  void* private_data;
  AdbcDriver* private_driver;
};

struct AdbcConnection {
  void* private_data;
  AdbcDriver* private_driver;
};

struct AdbcStatement {
  void* private_data;
  AdbcDriver* private_driver;
};

struct AdbcPartitions {
  std::size_t num_partitions;
  const std::uint8_t** partitions;
  const std::size_t* partition_lengths;
  void* private_data;
  void (*release)(AdbcPartitions*);
};

/// The functions of a driver, which a driver manager has it fill in.
struct AdbcDriver {
  void* private_data;
  void* private_manager;
  AdbcStatusCode (*release)(AdbcDriver*, AdbcError*);

  AdbcStatusCode (*DatabaseInit)(AdbcDatabase*, AdbcError*);
  AdbcStatusCode (*DatabaseNew)(AdbcDatabase*, AdbcError*);
  AdbcStatusCode (*DatabaseSetOption)(AdbcDatabase*, const char*, const char*, AdbcError*);
  AdbcStatusCode (*DatabaseRelease)(AdbcDatabase*, AdbcError*);

  AdbcStatusCode (*ConnectionCommit)(AdbcConnection*, AdbcError*);
  AdbcStatusCode (*ConnectionGetInfo)(AdbcConnection*, const std::uint32_t*, std::size_t, ArrowArrayStream*,
                                      AdbcError*);
  AdbcStatusCode (*ConnectionGetObjects)(AdbcConnection*, int, const char*, const char*, const char*, const char**,
                                         const char*, ArrowArrayStream*, AdbcError*);
  AdbcStatusCode (*ConnectionGetTableSchema)(AdbcConnection*, const char*, const char*, const char*, ArrowSchema*,
                                             AdbcError*);
  AdbcStatusCode (*ConnectionGetTableTypes)(AdbcConnection*, ArrowArrayStream*, AdbcError*);
  AdbcStatusCode (*ConnectionInit)(AdbcConnection*, AdbcDatabase*, AdbcError*);
  AdbcStatusCode (*ConnectionNew)(AdbcConnection*, AdbcError*);
  AdbcStatusCode (*ConnectionSetOption)(AdbcConnection*, const char*, const char*, AdbcError*);
  AdbcStatusCode (*ConnectionReadPartition)(AdbcConnection*, const std::uint8_t*, std::size_t, ArrowArrayStream*,
                                            AdbcError*);
  AdbcStatusCode (*ConnectionRelease)(AdbcConnection*, AdbcError*);
  AdbcStatusCode (*ConnectionRollback)(AdbcConnection*, AdbcError*);

  AdbcStatusCode (*StatementBind)(AdbcStatement*, ArrowArray*, ArrowSchema*, AdbcError*);
  AdbcStatusCode (*StatementBindStream)(AdbcStatement*, ArrowArrayStream*, AdbcError*);
  AdbcStatusCode (*StatementExecuteQuery)(AdbcStatement*, ArrowArrayStream*, std::int64_t*, AdbcError*);
  AdbcStatusCode (*StatementExecutePartitions)(AdbcStatement*, ArrowSchema*, AdbcPartitions*, std::int64_t*,
                                               AdbcError*);
  AdbcStatusCode (*StatementGetParameterSchema)(AdbcStatement*, ArrowSchema*, AdbcError*);
  AdbcStatusCode (*StatementNew)(AdbcConnection*, AdbcStatement*, AdbcError*);
  AdbcStatusCode (*StatementPrepare)(AdbcStatement*, AdbcError*);
  AdbcStatusCode (*StatementRelease)(AdbcStatement*, AdbcError*);
  AdbcStatusCode (*StatementSetOption)(AdbcStatement*, const char*, const char*, AdbcError*);
  AdbcStatusCode (*StatementSetSqlQuery)(AdbcStatement*, const char*, AdbcError*);
  AdbcStatusCode (*StatementSetSubstraitPlan)(AdbcStatement*, const std::uint8_t*, std::size_t, AdbcError*);

  // Only there from revision 1.1.0 on.
  int (*ErrorGetDetailCount)(const AdbcError*);
  AdbcErrorDetail (*ErrorGetDetail)(const AdbcError*, int);
  const AdbcError* (*ErrorFromArrayStream)(ArrowArrayStream*, AdbcStatusCode*);

  AdbcStatusCode (*DatabaseGetOption)(AdbcDatabase*, const char*, char*, std::size_t*, AdbcError*);
  AdbcStatusCode (*DatabaseGetOptionBytes)(AdbcDatabase*, const char*, std::uint8_t*, std::size_t*, AdbcError*);
  AdbcStatusCode (*DatabaseGetOptionDouble)(AdbcDatabase*, const char*, double*, AdbcError*);
  AdbcStatusCode (*DatabaseGetOptionInt)(AdbcDatabase*, const char*, std::int64_t*, AdbcError*);
  AdbcStatusCode (*DatabaseSetOptionBytes)(AdbcDatabase*, const char*, const std::uint8_t*, std::size_t, AdbcError*);
  AdbcStatusCode (*DatabaseSetOptionDouble)(AdbcDatabase*, const char*, double, AdbcError*);
  AdbcStatusCode (*DatabaseSetOptionInt)(AdbcDatabase*, const char*, std::int64_t, AdbcError*);

  AdbcStatusCode (*ConnectionCancel)(AdbcConnection*, AdbcError*);
  AdbcStatusCode (*ConnectionGetOption)(AdbcConnection*, const char*, char*, std::size_t*, AdbcError*);
  AdbcStatusCode (*ConnectionGetOptionBytes)(AdbcConnection*, const char*, std::uint8_t*, std::size_t*, AdbcError*);
  AdbcStatusCode (*ConnectionGetOptionDouble)(AdbcConnection*, const char*, double*, AdbcError*);
  AdbcStatusCode (*ConnectionGetOptionInt)(AdbcConnection*, const char*, std::int64_t*, AdbcError*);
  AdbcStatusCode (*ConnectionGetStatistics)(AdbcConnection*, const char*, const char*, const char*, char,
                                            ArrowArrayStream*, AdbcError*);
  AdbcStatusCode (*ConnectionGetStatisticNames)(AdbcConnection*, ArrowArrayStream*, AdbcError*);
  AdbcStatusCode (*ConnectionSetOptionBytes)(AdbcConnection*, const char*, const std::uint8_t*, std::size_t,
                                             AdbcError*);
  AdbcStatusCode (*ConnectionSetOptionDouble)(AdbcConnection*, const char*, double, AdbcError*);
  AdbcStatusCode (*ConnectionSetOptionInt)(AdbcConnection*, const char*, std::int64_t, AdbcError*);

  AdbcStatusCode (*StatementCancel)(AdbcStatement*, AdbcError*);
  AdbcStatusCode (*StatementExecuteSchema)(AdbcStatement*, ArrowSchema*, AdbcError*);
  AdbcStatusCode (*StatementGetOption)(AdbcStatement*, const char*, char*, std::size_t*, AdbcError*);
  AdbcStatusCode (*StatementGetOptionBytes)(AdbcStatement*, const char*, std::uint8_t*, std::size_t*, AdbcError*);
  AdbcStatusCode (*StatementGetOptionDouble)(AdbcStatement*, const char*, double*, AdbcError*);
  AdbcStatusCode (*StatementGetOptionInt)(AdbcStatement*, const char*, std::int64_t*, AdbcError*);
  AdbcStatusCode (*StatementSetOptionBytes)(AdbcStatement*, const char*, const std::uint8_t*, std::size_t, AdbcError*);
  AdbcStatusCode (*StatementSetOptionDouble)(AdbcStatement*, const char*, double, AdbcError*);
  AdbcStatusCode (*StatementSetOptionInt)(AdbcStatement*, const char*, std::int64_t, AdbcError*);
};

}  // extern "C"

#endif  // ADBC

/// Fills in the driver's functions, as far as the given version has them. Named twice, since a driver manager asks for
/// the first name or makes the second one of the file's name.
extern "C" KIVO_EXPORT AdbcStatusCode AdbcDriverInit(int version, void* driver, AdbcError* error);
extern "C" KIVO_EXPORT AdbcStatusCode AdbcDriverJdbcInit(int version, void* driver, AdbcError* error);
