#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "adbc.h"
#include "arrow_text.h"

namespace kivo::test {

/// How a call ended, and what its error said.
struct Outcome {
  AdbcStatusCode status = ADBC_STATUS_OK;
  std::string text;
  std::string sqlState;
  std::vector<std::pair<std::string, std::string>> details;

  explicit operator bool() const { return status == ADBC_STATUS_OK; }
};

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "status " << int{outcome.status} << " [" << outcome.sqlState << "] " << outcome.text;
}

/// The functions of version 1.1.0.
inline const AdbcDriver& adbc() {
  static const AdbcDriver driver = [] {
    AdbcDriver filled{};
    EXPECT_EQ(AdbcDriverInit(ADBC_VERSION_1_1_0, &filled, nullptr), ADBC_STATUS_OK);
    return filled;
  }();
  return driver;
}

/// Calls one of the driver's functions with an error of version 1.1.0 as its last argument.
template <class Function, class... Arguments>
Outcome call(Function AdbcDriver::*function, Arguments... arguments) {
  AdbcError error{};
  error.vendor_code = ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA;
  Outcome outcome;
  outcome.status = (adbc().*function)(arguments..., &error);
  if (error.message != nullptr) outcome.text = error.message;
  outcome.sqlState.assign(error.sqlstate, error.sqlstate[0] == '\0' ? 0 : sizeof error.sqlstate);
  for (int index = 0; index < adbc().ErrorGetDetailCount(&error); ++index) {
    const AdbcErrorDetail detail = adbc().ErrorGetDetail(&error, index);
    outcome.details.emplace_back(detail.key,
                                 std::string(reinterpret_cast<const char*>(detail.value), detail.value_length));
  }
  EXPECT_EQ(error.release != nullptr, outcome.status != ADBC_STATUS_OK);
  if (error.release != nullptr) error.release(&error);
  return outcome;
}

using Options = std::vector<std::pair<std::string, std::string>>;

/// A database object and a connection to it, or another connection to the same.
class AdbcClient {
 public:
  explicit AdbcClient(const Options& options) : opened(open(options)) {}
  explicit AdbcClient(AdbcClient& other) : opened(connect(other.database)) {}
  ~AdbcClient() {
    EXPECT_TRUE(connection.private_data == nullptr || call(&AdbcDriver::ConnectionRelease, &connection));
    EXPECT_TRUE(database.private_data == nullptr || call(&AdbcDriver::DatabaseRelease, &database));
  }
  AdbcClient(const AdbcClient&) = delete;
  AdbcClient& operator=(const AdbcClient&) = delete;

  AdbcDatabase database{};
  AdbcConnection connection{};

  /// How the first call ended that failed, or the last one.
  const Outcome opened;

  Outcome set(const char* option, const char* value) {
    return call(&AdbcDriver::ConnectionSetOption, &connection, option, value);
  }

 private:
  Outcome open(const Options& options) {
    Outcome outcome = call(&AdbcDriver::DatabaseNew, &database);
    for (const auto& [name, value] : options) {
      if (outcome) outcome = call(&AdbcDriver::DatabaseSetOption, &database, name.c_str(), value.c_str());
    }
    if (outcome) outcome = call(&AdbcDriver::DatabaseInit, &database);
    return outcome ? connect(database) : outcome;
  }

  Outcome connect(AdbcDatabase& to) {
    const Outcome outcome = call(&AdbcDriver::ConnectionNew, &connection);
    return outcome ? call(&AdbcDriver::ConnectionInit, &connection, &to) : outcome;
  }
};

/// A statement, which is released at the end.
class AdbcQuery {
 public:
  explicit AdbcQuery(AdbcClient& client, const char* sql = nullptr) {
    EXPECT_TRUE(call(&AdbcDriver::StatementNew, &client.connection, &statement));
    EXPECT_TRUE(sql == nullptr || call(&AdbcDriver::StatementSetSqlQuery, &statement, sql));
  }
  ~AdbcQuery() { EXPECT_TRUE(call(&AdbcDriver::StatementRelease, &statement)); }
  AdbcQuery(const AdbcQuery&) = delete;
  AdbcQuery& operator=(const AdbcQuery&) = delete;

  Outcome set(const char* option, const char* value) {
    return call(&AdbcDriver::StatementSetOption, &statement, option, value);
  }
  Outcome execute(ArrowArrayStream* out = nullptr) {
    return call(&AdbcDriver::StatementExecuteQuery, &statement, out, &changed);
  }
  Outcome bind(ArrowSchema& schema, ArrowArray& rows) {
    return call(&AdbcDriver::StatementBind, &statement, &rows, &schema);
  }
  Outcome bind(Batch&& batch) { return bind(batch.schema, batch.rows); }
  Outcome bind(ArrowArrayStream& rows) { return call(&AdbcDriver::StatementBindStream, &statement, &rows); }

  AdbcStatement statement{};
  std::int64_t changed = -2;
};

/// A statement that ingests what is bound to it.
struct AdbcIngestion : AdbcQuery {
  AdbcIngestion(AdbcClient& client, const char* table, const std::string& mode) : AdbcQuery(client) {
    EXPECT_TRUE(set("adbc.ingest.target_table", table));
    EXPECT_TRUE(set("adbc.ingest.mode", ("adbc.ingest.mode." + mode).c_str()));
  }
};

/// The rows of a stream; after a failure its text follows.
inline std::string textOf(ArrowArrayStream& stream) {
  const Read read = readAll(stream);
  return read.code == 0 ? read.text : read.text + "failed: " + read.error;
}

/// The rows of a query, or why there are none.
inline std::string rowsOf(AdbcClient& client, const char* sql) {
  AdbcQuery query(client, sql);
  Held<ArrowArrayStream> rows;
  const Outcome outcome = query.execute(&rows);
  return outcome ? textOf(rows) : "failed: " + outcome.text;
}

}  // namespace kivo::test
