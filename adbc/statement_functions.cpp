#include "functions.h"
#include "handles.h"
#include "streams.h"

namespace kivo::adbc {

AdbcStatusCode newStatement(AdbcConnection* connection, AdbcStatement* statement, AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    makeObject(statement);
    try {
      at(statement).make(session);
    } catch (...) {
      delete &at(statement);
      statement->private_data = nullptr;
      throw;
    }
  });
}

AdbcStatusCode setSql(AdbcStatement* statement, const char* sql, AdbcError* error) {
  return guarded(error, [&] { at(statement).setSql(given(sql, "the statement's text")); });
}

AdbcStatusCode prepare(AdbcStatement* statement, AdbcError* error) {
  return guarded(error, [&] { at(statement).prepare(); });
}

AdbcStatusCode bind(AdbcStatement* statement, ArrowArray* rows, ArrowSchema* schema, AdbcError* error) {
  return guarded(error, [&] {
    Statement& bound = at(statement);
    bound.bind(Bound(*given(rows, "the batch"), *given(schema, "the schema")));
  });
}

AdbcStatusCode bindStream(AdbcStatement* statement, ArrowArrayStream* rows, AdbcError* error) {
  return guarded(error, [&] {
    Statement& bound = at(statement);
    bound.bind(Bound(*given(rows, "the stream")));
  });
}

AdbcStatusCode executeQuery(AdbcStatement* statement, ArrowArrayStream* out, std::int64_t* changed, AdbcError* error) {
  return guarded(error, [&] {
    const std::int64_t count = at(statement).execute(out);
    if (changed != nullptr) *changed = count;
  });
}

AdbcStatusCode executeSchema(AdbcStatement* statement, ArrowSchema* out, AdbcError* error) {
  return guarded(error, [&] { at(statement).executeSchema(*given(out, "the schema")); });
}

AdbcStatusCode getParameterSchema(AdbcStatement* statement, ArrowSchema* out, AdbcError* error) {
  return guarded(error, [&] { at(statement).parameterSchema(*given(out, "the schema")); });
}

AdbcStatusCode cancelStatement(AdbcStatement* statement, AdbcError* error) {
  return guarded(error, [&] { at(statement).cancel(); });
}

AdbcStatusCode executePartitions(AdbcStatement* statement, ArrowSchema* /*schema*/, AdbcPartitions* /*partitions*/,
                                 std::int64_t* /*changed*/, AdbcError* error) {
  return refuse(error, statement, "executing into partitions");
}

AdbcStatusCode setSubstraitPlan(AdbcStatement* statement, const std::uint8_t* /*plan*/, std::size_t /*size*/,
                                AdbcError* error) {
  return refuse(error, statement, "Substrait");
}

}  // namespace kivo::adbc
