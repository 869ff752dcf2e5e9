// Hosts allocate the objects of these classes themselves: their layout is part of the binary interface.

#include <cstddef>

#include "JavaConnectionUtils.h"
#include "JdbcUtils.h"
#include "RowBlocks.h"
#include "jdbcWrapper.h"

// Standard containers make some of them formally not of standard layout. On this platform both compilers define
// offsetof for them all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

static_assert(sizeof(JavaConnectionUtils) == 48);
static_assert(offsetof(JavaConnectionUtils, env) == 0);
static_assert(offsetof(JavaConnectionUtils, className) == 8);
static_assert(offsetof(JavaConnectionUtils, connectionObject) == 40);

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

static_assert(sizeof(jdbcWrapper) == 216);
static_assert(offsetof(jdbcWrapper, env) == 0);
static_assert(offsetof(jdbcWrapper, threadId) == 8);
static_assert(offsetof(jdbcWrapper, utilitiesClass) == 16);
static_assert(offsetof(jdbcWrapper, utilitiesObject) == 24);
static_assert(offsetof(jdbcWrapper, setUrlMethod) == 32);
static_assert(offsetof(jdbcWrapper, getUrlMethod) == 40);
static_assert(offsetof(jdbcWrapper, getConnectionMethod) == 48);
static_assert(offsetof(jdbcWrapper, getTablesMethod) == 56);
static_assert(offsetof(jdbcWrapper, getStatementMethod) == 64);
static_assert(offsetof(jdbcWrapper, executeQueryMethod) == 72);
static_assert(offsetof(jdbcWrapper, executeUpdateMethod) == 80);
static_assert(offsetof(jdbcWrapper, nextMethod) == 88);
static_assert(offsetof(jdbcWrapper, addToBatchMethod) == 96);
static_assert(offsetof(jdbcWrapper, executeBatchMethod) == 104);
static_assert(offsetof(jdbcWrapper, getColumnMethod) == 112);
static_assert(offsetof(jdbcWrapper, getNumColumnsMethod) == 120);
static_assert(offsetof(jdbcWrapper, getColumnNameMethod) == 128);
static_assert(offsetof(jdbcWrapper, getColumnTypeMethod) == 136);
static_assert(offsetof(jdbcWrapper, closeConnectionMethod) == 144);
static_assert(offsetof(jdbcWrapper, getVendorMethod) == 152);
static_assert(offsetof(jdbcWrapper, getErrorCodeMethod) == 160);
static_assert(offsetof(jdbcWrapper, getErrorMessageMethod) == 168);
static_assert(offsetof(jdbcWrapper, errorState) == 176);
static_assert(offsetof(jdbcWrapper, errorMessage) == 184);

static_assert(sizeof(RowBlocks) == 96);
static_assert(offsetof(RowBlocks, env) == 0);
static_assert(offsetof(RowBlocks, packer) == 8);
static_assert(offsetof(RowBlocks, packMethod) == 16);
static_assert(offsetof(RowBlocks, failureMethod) == 24);
static_assert(offsetof(RowBlocks, ends) == 32);
static_assert(offsetof(RowBlocks, texts) == 40);
static_assert(offsetof(RowBlocks, rowCount) == 48);
static_assert(offsetof(RowBlocks, columnCount) == 52);
static_assert(offsetof(RowBlocks, blockState) == 56);
static_assert(offsetof(RowBlocks, errorState) == 60);
static_assert(offsetof(RowBlocks, errorMessage) == 64);
static_assert(sizeof(RowBlocksOptions) == 12);
