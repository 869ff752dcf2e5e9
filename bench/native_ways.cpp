// The peer without Java, on PostgreSQL: libpq.
#include <libpq-fe.h>

#include "bench.h"

namespace kivo::bench {
namespace {

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

}  // namespace

std::vector<Way> nativeWays() { return {{"reader", "libpq", "libpq, the whole result", libpqReader}}; }

}  // namespace kivo::bench
