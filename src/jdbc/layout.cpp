#include <cstddef>

#include "JdbcUtils.h"

// Standard containers make the class formally not of standard layout; on this platform both compilers define offsetof
// for it, and this is the one place that asks.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// Hosts allocate these objects themselves: the layout is part of the binary interface.
static_assert(sizeof(JdbcUtils) == 240);
static_assert(offsetof(JdbcUtils, env) == 0);
static_assert(offsetof(JdbcUtils, connection) == 8);
static_assert(offsetof(JdbcUtils, statement) == 16);
static_assert(offsetof(JdbcUtils, resultSet) == 24);
static_assert(offsetof(JdbcUtils, resultSetMetaData) == 32);
static_assert(offsetof(JdbcUtils, nextMethod) == 40);
static_assert(offsetof(JdbcUtils, setAutoCommitMethod) == 48);
static_assert(offsetof(JdbcUtils, commitMethod) == 56);
static_assert(offsetof(JdbcUtils, autoCommit) == 64);
static_assert(offsetof(JdbcUtils, getStringMethod) == 72);
static_assert(offsetof(JdbcUtils, getObjectMethod) == 80);
static_assert(offsetof(JdbcUtils, getAsUtcStringMethod) == 88);
static_assert(offsetof(JdbcUtils, datetimeClass) == 96);
static_assert(offsetof(JdbcUtils, vendor) == 104);
static_assert(offsetof(JdbcUtils, url) == 136);
static_assert(offsetof(JdbcUtils, columnTypes) == 168);
static_assert(offsetof(JdbcUtils, oracleSystemTablePrefixes) == 192);
