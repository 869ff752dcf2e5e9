// The peers without Java: libpq, ODBC and SOCI, on PostgreSQL.
#include <libpq-fe.h>
#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#include <sql.h>
#include <sqlext.h>

#include <array>
#include <stdexcept>

#include "bench.h"

namespace kivo::bench {
namespace {

constexpr int kRowset = 128;
constexpr const char* kOdbcDriver = "/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so";

std::string libpqTarget(const Target& target) {
  return "host=" + target.host + " port=" + target.port + " dbname=" + target.database + " user=" + target.user +
         " password=" + target.password;
}

using PqConnection = std::unique_ptr<PGconn, decltype(&PQfinish)>;
using PqResult = std::unique_ptr<PGresult, decltype(&PQclear)>;

PqConnection connectLibpq(const Target& target) {
  PqConnection connection(PQconnectdb(libpqTarget(target).c_str()), PQfinish);
  require(PQstatus(connection.get()) == CONNECTION_OK, PQerrorMessage(connection.get()));
  return connection;
}

void takeAll(const PGresult* result, Reading& reading) {
  const int rows = PQntuples(result);
  const int columns = PQnfields(result);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      if (PQgetisnull(result, row, column) != 0) {
        reading.takeNull();
      } else {
        reading.take({PQgetvalue(result, row, column), static_cast<std::size_t>(PQgetlength(result, row, column))});
      }
    }
  }
}

class LibpqReader : public Reader {
 public:
  LibpqReader(const Target& target, bool singleRow) : connection_(connectLibpq(target)), singleRow_(singleRow) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    Reading reading;
    require(PQsendQuery(connection_.get(), sql.c_str()) == 1, PQerrorMessage(connection_.get()));
    if (singleRow_) PQsetSingleRowMode(connection_.get());
    while (const PqResult result{PQgetResult(connection_.get()), PQclear}) {
      const ExecStatusType status = PQresultStatus(result.get());
      require(status == PGRES_TUPLES_OK || status == PGRES_SINGLE_TUPLE, PQerrorMessage(connection_.get()));
      if (reading.firstRow == 0) reading.firstRow = watch.seconds();
      takeAll(result.get(), reading);
    }
    return reading;
  }

 private:
  PqConnection connection_;
  bool singleRow_;
};

/// One ODBC connection with its statement.
class Odbc {
 public:
  explicit Odbc(const Target& target) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
    std::string text = std::string("Driver=") + kOdbcDriver + ";Servername=" + target.host + ";Port=" + target.port +
                       ";Database=" + target.database + ";UID=" + target.user + ";PWD=" + target.password;
    check(SQLDriverConnect(connection_, nullptr, bytes(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
    SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement);
  }
  ~Odbc() {
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }
  Odbc(const Odbc&) = delete;
  Odbc& operator=(const Odbc&) = delete;

  static SQLCHAR* bytes(std::string& text) { return reinterpret_cast<SQLCHAR*>(text.data()); }

  void check(SQLRETURN result) const {
    if (SQL_SUCCEEDED(result)) return;
    std::array<SQLCHAR, 512> text{};
    const bool ofStatement = statement != SQL_NULL_HSTMT;
    SQLGetDiagRec(ofStatement ? SQL_HANDLE_STMT : SQL_HANDLE_DBC, ofStatement ? statement : connection_, 1, nullptr,
                  nullptr, text.data(), static_cast<SQLSMALLINT>(text.size()), nullptr);
    throw std::runtime_error(reinterpret_cast<const char*>(text.data()));
  }

  void execute(std::string sql) const { check(SQLExecDirect(statement, bytes(sql), SQL_NTS)); }
  void commit() const { check(SQLEndTran(SQL_HANDLE_DBC, connection_, SQL_COMMIT)); }
  void setAutoCommit(bool on) const {
    const SQLULEN mode = on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
    check(SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(mode), 0));
  }
  void set(SQLINTEGER attribute, const void* value) const {
    check(SQLSetStmtAttr(statement, attribute, const_cast<void*>(value), 0));
  }
  void setNumber(SQLINTEGER attribute, SQLULEN value) const { set(attribute, reinterpret_cast<const void*>(value)); }

  SQLHSTMT statement = SQL_NULL_HSTMT;

 private:
  SQLHENV environment_ = SQL_NULL_HENV;
  SQLHDBC connection_ = SQL_NULL_HDBC;
};

class OdbcReader : public Reader {
 public:
  explicit OdbcReader(const Target& target) : odbc_(target) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    Reading reading;
    odbc_.execute(sql);
    SQLSMALLINT columns = 0;
    SQLNumResultCols(odbc_.statement, &columns);
    fetch(columns, watch, reading);
    SQLFreeStmt(odbc_.statement, SQL_CLOSE);
    SQLFreeStmt(odbc_.statement, SQL_UNBIND);
    return reading;
  }

 protected:
  virtual void fetch(SQLSMALLINT columns, const Stopwatch& watch, Reading& reading) = 0;

  static void take(const char* text, SQLLEN length, Reading& reading) {
    if (length == SQL_NULL_DATA) {
      reading.takeNull();
    } else {
      reading.take({text, static_cast<std::size_t>(length)});
    }
  }

  Odbc odbc_;
};

/// Asks for each value on its own.
class OdbcGetData : public OdbcReader {
 public:
  using OdbcReader::OdbcReader;

 protected:
  void fetch(SQLSMALLINT columns, const Stopwatch& watch, Reading& reading) override {
    while (SQL_SUCCEEDED(SQLFetch(odbc_.statement))) {
      if (reading.firstRow == 0) reading.firstRow = watch.seconds();
      for (SQLSMALLINT column = 1; column <= columns; ++column) {
        SQLLEN length = 0;
        odbc_.check(SQLGetData(odbc_.statement, static_cast<SQLUSMALLINT>(column), SQL_C_CHAR, value_.data(),
                               static_cast<SQLLEN>(value_.size()), &length));
        take(value_.data(), length, reading);
      }
    }
  }

 private:
  std::vector<char> value_ = std::vector<char>((1U << 20U) + 1);
};

/// Binds arrays that the driver fills with 128 rows at a time.
class OdbcRowset : public OdbcReader {
 public:
  using OdbcReader::OdbcReader;

 protected:
  void fetch(SQLSMALLINT columns, const Stopwatch& watch, Reading& reading) override {
    bind(columns);
    while (SQL_SUCCEEDED(SQLFetch(odbc_.statement))) {
      if (reading.firstRow == 0) reading.firstRow = watch.seconds();
      for (SQLULEN row = 0; row < fetched_; ++row) {
        for (const Bound& bound : bound_) {
          if (bound.lengths[row] >= static_cast<SQLLEN>(bound.width)) throw std::runtime_error("a value was cut off");
          take(&bound.texts[row * bound.width], bound.lengths[row], reading);
        }
      }
    }
  }

 private:
  struct Bound {
    std::size_t width;
    std::vector<char> texts;
    std::vector<SQLLEN> lengths;
  };

  void bind(SQLSMALLINT columns) {
    odbc_.setNumber(SQL_ATTR_ROW_ARRAY_SIZE, kRowset);
    odbc_.set(SQL_ATTR_ROWS_FETCHED_PTR, &fetched_);
    bound_.resize(static_cast<std::size_t>(columns));
    SQLUSMALLINT number = 0;
    for (Bound& bound : bound_) {
      SQLULEN size = 0;
      SQLDescribeCol(odbc_.statement, ++number, nullptr, 0, nullptr, nullptr, &size, nullptr, nullptr);
      bound.width = size + 32;  // room for a sign, a point and the NUL
      bound.texts.resize(bound.width * kRowset);
      bound.lengths.resize(kRowset);
      odbc_.check(SQLBindCol(odbc_.statement, number, SQL_C_CHAR, bound.texts.data(), static_cast<SQLLEN>(bound.width),
                             bound.lengths.data()));
    }
  }

  SQLULEN fetched_ = 0;
  std::vector<Bound> bound_;
};

class SociReader : public Reader {
 public:
  explicit SociReader(const Target& target) : session_(soci::postgresql, libpqTarget(target)) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    Reading reading;
    soci::statement statement(session_);
    std::vector<std::vector<std::string>> columns(countColumns(sql), std::vector<std::string>(kRowset));
    for (std::vector<std::string>& column : columns) statement.exchange(soci::into(column));
    statement.alloc();
    statement.prepare(sql);
    statement.define_and_bind();
    statement.execute();
    while (statement.fetch()) {
      if (reading.firstRow == 0) reading.firstRow = watch.seconds();
      for (std::vector<std::string>& column : columns) {
        for (const std::string& text : column) reading.take(text);
        column.resize(kRowset);
      }
    }
    return reading;
  }

 private:
  std::size_t countColumns(const std::string& sql) {
    soci::row row;
    session_.once << "select * from (" + sql + ") as one limit 1", soci::into(row);
    return row.size();
  }

  soci::session session_;
};

constexpr int kPerStatement = 1000;
constexpr const char* kInsert = "insert into ";

/// "insert into T values (...), (...)": the way to write much through an interface of statements.
class LibpqWriter : public Writer {
 public:
  explicit LibpqWriter(const Target& target) : connection_(connectLibpq(target)) {}

  void write(const std::string& table, int rows) override {
    run("begin");
    for (int row = 0; row < rows;) {
      std::string sql = kInsert + table + " values ";
      for (const int end = row + kPerStatement; row < end && row < rows; ++row) {
        sql += (row % kPerStatement == 0 ? "(" : ", (") + std::to_string(row) + ", '" + note(row) + "', " + half(row) +
               ")";
      }
      run(sql);
    }
    run("commit");
  }

 private:
  void run(const std::string& sql) {
    const PqResult result(PQexec(connection_.get(), sql.c_str()), PQclear);
    require(PQresultStatus(result.get()) == PGRES_COMMAND_OK, PQerrorMessage(connection_.get()));
  }

  PqConnection connection_;
};

/// A prepared statement over bound arrays of parameters.
class OdbcWriter : public Writer {
 public:
  explicit OdbcWriter(const Target& target) : odbc_(target) {}

  void write(const std::string& table, int rows) override {
    odbc_.setAutoCommit(false);
    odbc_.setNumber(SQL_ATTR_PARAMSET_SIZE, kPerStatement);
    std::string sql = kInsert + table + " values (?, ?, ?)";
    odbc_.check(SQLPrepare(odbc_.statement, Odbc::bytes(sql), SQL_NTS));
    bind(1, SQL_C_SLONG, SQL_INTEGER, 0, numbers_.data(), 0, nullptr);
    bind(2, SQL_C_CHAR, SQL_VARCHAR, kWidth, texts_.data(), kWidth, lengths_.data());
    bind(3, SQL_C_DOUBLE, SQL_DOUBLE, 0, halves_.data(), 0, nullptr);
    for (int start = 0; start < rows; start += kPerStatement) {
      for (int at = 0; at < kPerStatement; ++at) fill(static_cast<std::size_t>(at), start + at);
      odbc_.check(SQLExecute(odbc_.statement));
    }
    odbc_.commit();
    odbc_.setAutoCommit(true);
    SQLFreeStmt(odbc_.statement, SQL_RESET_PARAMS);
  }

 private:
  static constexpr std::size_t kWidth = 32;

  void bind(SQLUSMALLINT number, SQLSMALLINT native, SQLSMALLINT type, SQLULEN size, SQLPOINTER values, SQLLEN width,
            SQLLEN* lengths) {
    odbc_.check(
        SQLBindParameter(odbc_.statement, number, SQL_PARAM_INPUT, native, type, size, 0, values, width, lengths));
  }

  void fill(std::size_t at, int row) {
    numbers_[at] = row;
    halves_[at] = row * 0.5;
    const std::string text = note(row);
    text.copy(&texts_[at * kWidth], kWidth);
    lengths_[at] = static_cast<SQLLEN>(text.size());
  }

  Odbc odbc_;
  std::vector<SQLINTEGER> numbers_ = std::vector<SQLINTEGER>(kPerStatement);
  std::vector<double> halves_ = std::vector<double>(kPerStatement);
  std::vector<char> texts_ = std::vector<char>(kPerStatement * kWidth);
  std::vector<SQLLEN> lengths_ = std::vector<SQLLEN>(kPerStatement);
};

}  // namespace

std::vector<ReaderWay> nativeReaders() {
  return {
      {"libpq", "libpq, the whole result", false, 0,
       [](const Target& target) { return std::make_unique<LibpqReader>(target, false); }},
      {"libpq-row", "libpq, row by row", false, 0,
       [](const Target& target) { return std::make_unique<LibpqReader>(target, true); }},
      {"odbc-getdata", "psqlODBC, SQLGetData", false, 0,
       [](const Target& target) { return std::make_unique<OdbcGetData>(target); }},
      {"odbc-rowset", "psqlODBC, bound rowset of 128", false, 0,
       [](const Target& target) { return std::make_unique<OdbcRowset>(target); }, false, true},
      {"soci", "SOCI, vectors of 128", false, 0,
       [](const Target& target) { return std::make_unique<SociReader>(target); }},
  };
}

std::vector<WriterWay> nativeWriters() {
  return {
      {"libpq", "libpq, 1000 rows a statement", false, 0,
       [](const Target& target) { return std::make_unique<LibpqWriter>(target); }},
      {"odbc", "psqlODBC, prepared, arrays of 1000", false, 0,
       [](const Target& target) { return std::make_unique<OdbcWriter>(target); }},
  };
}

}  // namespace kivo::bench
