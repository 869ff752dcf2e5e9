// The peers without Java, on PostgreSQL: libpq and ODBC.
#include <libpq-fe.h>
#include <sql.h>
#include <sqlext.h>

#include <array>

#include "bench.h"

namespace kivo::bench {
namespace {

constexpr int kRowset = 128;
constexpr const char* kOdbcDriver = "/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so";

std::string libpqTarget(const Target& target) {
  return "host=" + target.at("host") + " port=" + target.at("port") + " dbname=" + target.at("database") +
         " user=" + target.at("user") + " password=" + target.at("password");
}

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

class Libpq {
 public:
  explicit Libpq(const Target& target) : connection_(PQconnectdb(libpqTarget(target).c_str()), PQfinish) {
    require(PQstatus(connection_.get()) == CONNECTION_OK, PQerrorMessage(connection_.get()));
  }

  Result execute(const std::string& sql, ExecStatusType expected) {
    Result result(PQexec(connection_.get(), sql.c_str()), PQclear);
    require(PQresultStatus(result.get()) == expected, PQerrorMessage(connection_.get()));
    return result;
  }

 private:
  std::unique_ptr<PGconn, decltype(&PQfinish)> connection_;
};

Client libpqReader(const Target& target) {
  return [libpq = std::make_shared<Libpq>(target)](const Work& work) {
    const double start = now();
    Reading reading;
    const Result owner = libpq->execute(work.query(), PGRES_TUPLES_OK);
    const PGresult* result = owner.get();
    reading.firstRow = now() - start;
    const int rows = PQntuples(result);
    const int columns = PQnfields(result);
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        if (PQgetisnull(result, row, column) != 0) {
          reading.takeNull();
        } else {
          const int length = PQgetlength(result, row, column);
          reading.take({PQgetvalue(result, row, column), static_cast<std::size_t>(length)});
        }
      }
    }
    return reading;
  };
}

void check(SQLRETURN result) { require(SQL_SUCCEEDED(result), "ODBC failed"); }

SQLCHAR* bytes(std::string& text) { return reinterpret_cast<SQLCHAR*>(text.data()); }

/// Binds arrays that the driver fills with 128 rows at a time.
class OdbcRowset {
 public:
  explicit OdbcRowset(const Target& target) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
    std::string text = std::string("Driver=") + kOdbcDriver + ";Servername=" + target.at("host") +
                       ";Port=" + target.at("port") + ";Database=" + target.at("database") +
                       ";UID=" + target.at("user") + ";PWD=" + target.at("password");
    check(SQLDriverConnect(connection_, nullptr, bytes(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
    SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_);
    check(SQLSetStmtAttr(statement_, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kRowset), 0));
    check(SQLSetStmtAttr(statement_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
  }
  ~OdbcRowset() {
    SQLFreeHandle(SQL_HANDLE_STMT, statement_);
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }
  OdbcRowset(const OdbcRowset&) = delete;
  OdbcRowset& operator=(const OdbcRowset&) = delete;

  Reading read(std::string sql) {
    const double start = now();
    Reading reading;
    check(SQLExecDirect(statement_, bytes(sql), SQL_NTS));
    bindColumns();
    while (SQL_SUCCEEDED(SQLFetch(statement_))) {
      if (reading.firstRow == 0) reading.firstRow = now() - start;
      for (SQLULEN row = 0; row < fetched_; ++row) {
        for (const Column& column : columns_) column.take(row, reading);
      }
    }
    SQLFreeStmt(statement_, SQL_CLOSE);
    SQLFreeStmt(statement_, SQL_UNBIND);
    return reading;
  }

 private:
  struct Column {
    std::size_t width;
    std::vector<char> texts;
    std::array<SQLLEN, kRowset> lengths;

    void take(SQLULEN row, Reading& reading) const {
      const SQLLEN length = lengths[row];
      if (length == SQL_NULL_DATA) return reading.takeNull();
      if (length >= static_cast<SQLLEN>(width)) require(false, "ODBC truncated a value");
      reading.take({&texts[row * width], static_cast<std::size_t>(length)});
    }
  };

  void bindColumns() {
    SQLSMALLINT count = 0;
    SQLNumResultCols(statement_, &count);
    columns_.resize(static_cast<std::size_t>(count));
    SQLUSMALLINT number = 0;
    for (Column& column : columns_) {
      SQLULEN size = 0;
      SQLDescribeCol(statement_, ++number, nullptr, 0, nullptr, nullptr, &size, nullptr, nullptr);
      column.width = size + 32;  // room for a sign, a decimal point and the NUL
      column.texts.resize(column.width * kRowset);
      check(SQLBindCol(statement_, number, SQL_C_CHAR, column.texts.data(), static_cast<SQLLEN>(column.width),
                       column.lengths.data()));
    }
  }

  SQLHENV environment_ = SQL_NULL_HENV;
  SQLHDBC connection_ = SQL_NULL_HDBC;
  SQLHSTMT statement_ = SQL_NULL_HSTMT;
  SQLULEN fetched_ = 0;
  std::vector<Column> columns_;
};

Client odbcReader(const Target& target) {
  return [odbc = std::make_shared<OdbcRowset>(target)](const Work& work) { return odbc->read(work.query()); };
}

}  // namespace

std::vector<Way> nativeWays() {
  return {
      {"reader", "libpq", "libpq, the whole result", libpqReader},
      {"reader", "odbc-rowset", "psqlODBC, bound rowset of 128", odbcReader},
  };
}

}  // namespace kivo::bench
