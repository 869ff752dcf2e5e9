#pragma once

#include <cstddef>
#include <cstdint>

#include "adbc.h"

namespace kivo::adbc {

// The driver's functions for connections and statements, under the names of ADBC's table without the object's.

AdbcStatusCode newConnection(AdbcConnection* connection, AdbcError* error);
AdbcStatusCode initConnection(AdbcConnection* connection, AdbcDatabase* database, AdbcError* error);
AdbcStatusCode commit(AdbcConnection* connection, AdbcError* error);
AdbcStatusCode rollback(AdbcConnection* connection, AdbcError* error);
AdbcStatusCode cancelConnection(AdbcConnection* connection, AdbcError* error);
AdbcStatusCode getInfo(AdbcConnection* connection, const std::uint32_t* codes, std::size_t count, ArrowArrayStream* out,
                       AdbcError* error);
AdbcStatusCode getObjects(AdbcConnection* connection, int depth, const char* catalog, const char* schema,
                          const char* table, const char** types, const char* column, ArrowArrayStream* out,
                          AdbcError* error);
AdbcStatusCode getTableTypes(AdbcConnection* connection, ArrowArrayStream* out, AdbcError* error);
AdbcStatusCode getTableSchema(AdbcConnection* connection, const char* catalog, const char* schema, const char* table,
                              ArrowSchema* out, AdbcError* error);
AdbcStatusCode readPartition(AdbcConnection* connection, const std::uint8_t* partition, std::size_t size,
                             ArrowArrayStream* out, AdbcError* error);
AdbcStatusCode getStatistics(AdbcConnection* connection, const char* catalog, const char* schema, const char* table,
                             char approximate, ArrowArrayStream* out, AdbcError* error);
AdbcStatusCode getStatisticNames(AdbcConnection* connection, ArrowArrayStream* out, AdbcError* error);
AdbcStatusCode newStatement(AdbcConnection* connection, AdbcStatement* statement, AdbcError* error);
AdbcStatusCode setSql(AdbcStatement* statement, const char* sql, AdbcError* error);
AdbcStatusCode prepare(AdbcStatement* statement, AdbcError* error);
AdbcStatusCode bind(AdbcStatement* statement, ArrowArray* rows, ArrowSchema* schema, AdbcError* error);
AdbcStatusCode bindStream(AdbcStatement* statement, ArrowArrayStream* rows, AdbcError* error);
AdbcStatusCode executeQuery(AdbcStatement* statement, ArrowArrayStream* out, std::int64_t* changed, AdbcError* error);
AdbcStatusCode executeSchema(AdbcStatement* statement, ArrowSchema* out, AdbcError* error);
AdbcStatusCode getParameterSchema(AdbcStatement* statement, ArrowSchema* out, AdbcError* error);
AdbcStatusCode cancelStatement(AdbcStatement* statement, AdbcError* error);
AdbcStatusCode executePartitions(AdbcStatement* statement, ArrowSchema* schema, AdbcPartitions* partitions,
                                 std::int64_t* changed, AdbcError* error);
AdbcStatusCode setSubstraitPlan(AdbcStatement* statement, const std::uint8_t* plan, std::size_t size, AdbcError* error);

}  // namespace kivo::adbc
