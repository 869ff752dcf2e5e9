#include <vector>

#include "functions.h"
#include "handles.h"
#include "jni/numbers.h"
#include "listings.h"
#include "streams.h"

namespace kivo::adbc {

namespace {

constexpr JavaMethod kCommit{"commit", "()Z"};
constexpr JavaMethod kRollback{"rollback", "()Z"};
constexpr JavaMethod kCancel{"cancel", "()Z"};
constexpr JavaMethod kInfo{"info", "([I)[B"};
constexpr JavaMethod kObjects{"objects",
                              "(ILjava/lang/String;Ljava/lang/String;Ljava/lang/String;[Ljava/lang/String;"
                              "Ljava/lang/String;)[B"};
constexpr JavaMethod kTableTypes{"tableTypes", "()[B"};
constexpr JavaMethod kTableSchema{
    "tableSchema", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)Lcom/ulvanejdbc/arrow/BatchReader;"};

/// Calls a method of the connection that succeeds or fails.
AdbcStatusCode runOnConnection(AdbcConnection* connection, const JavaMethod& method, AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    const Turn turn(*session);
    session->connection.run(turn.env, method);
  });
}

/// Answers with what a method of the connection lists.
template <class... Arguments>
void list(Session& session, JNIEnv* env, const ArrowField& fields, ArrowArrayStream* out, const JavaMethod& method,
          Arguments... arguments) {
  const LocalRef<jobject> tree = session.connection.ask(env, method, arguments...);
  makeTreeStream(fields, bytesOf(env, tree.get()), *out);
}

}  // namespace

AdbcStatusCode newConnection(AdbcConnection* connection, AdbcError* error) {
  return guarded(error, [&] { makeObject(connection); });
}

AdbcStatusCode initConnection(AdbcConnection* connection, AdbcDatabase* database, AdbcError* error) {
  return guarded(error, [&] { at(connection).init(at(database)); });
}

AdbcStatusCode commit(AdbcConnection* connection, AdbcError* error) {
  return runOnConnection(connection, kCommit, error);
}

AdbcStatusCode rollback(AdbcConnection* connection, AdbcError* error) {
  return runOnConnection(connection, kRollback, error);
}

/// On any thread, while others have their turn.
AdbcStatusCode cancelConnection(AdbcConnection* connection, AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    JNIEnv* env = environment();
    const PendingAside aside(env);
    session->connection.run(env, kCancel);
  });
}

AdbcStatusCode getInfo(AdbcConnection* connection, const std::uint32_t* codes, std::size_t count, ArrowArrayStream* out,
                       AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    given(out, "the stream");
    const Turn turn(*session);
    LocalRef<jintArray> numbers(turn.env);
    if (codes != nullptr) {
      numbers = newIntArray(turn.env, std::vector<int>(codes, codes + count));
      needed(turn.env, numbers.get());
    }
    list(*session, turn.env, kInfoFields, out, kInfo, numbers.get());
  });
}

AdbcStatusCode getObjects(AdbcConnection* connection, int depth, const char* catalog, const char* schema,
                          const char* table, const char** types, const char* column, ArrowArrayStream* out,
                          AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    given(out, "the stream");
    const Turn turn(*session);
    const LocalRef<jstring> catalogText = javaText(turn.env, catalog);
    const LocalRef<jstring> schemaText = javaText(turn.env, schema);
    const LocalRef<jstring> tableText = javaText(turn.env, table);
    const LocalRef<jstring> columnText = javaText(turn.env, column);
    LocalRef<jobjectArray> typeTexts(turn.env);
    if (types != nullptr) {
      const char** end = types;
      while (*end != nullptr) ++end;
      typeTexts = javaTexts(turn.env, {types, end});
    }
    list(*session, turn.env, kObjectFields, out, kObjects, jint{depth}, catalogText.get(), schemaText.get(),
         tableText.get(), typeTexts.get(), columnText.get());
  });
}

AdbcStatusCode getTableTypes(AdbcConnection* connection, ArrowArrayStream* out, AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    given(out, "the stream");
    const Turn turn(*session);
    list(*session, turn.env, kTableTypeFields, out, kTableTypes);
  });
}

AdbcStatusCode getTableSchema(AdbcConnection* connection, const char* catalog, const char* schema, const char* table,
                              ArrowSchema* out, AdbcError* error) {
  return guarded(error, [&] {
    const auto session = at(connection).session();
    given(out, "the schema");
    const Turn turn(*session);
    const LocalRef<jstring> catalogText = javaText(turn.env, catalog);
    const LocalRef<jstring> schemaText = javaText(turn.env, schema);
    const LocalRef<jstring> tableText = javaText(turn.env, given(table, "the table's name"));
    const LocalRef<jobject> reader =
        session->connection.ask(turn.env, kTableSchema, catalogText.get(), schemaText.get(), tableText.get());
    if (!reader) throw Fault(ADBC_STATUS_INTERNAL, "out of memory");
    exportReaderSchema(turn.env, reader.get(), *out);
  });
}

AdbcStatusCode readPartition(AdbcConnection* connection, const std::uint8_t* /*partition*/, std::size_t /*size*/,
                             ArrowArrayStream* /*out*/, AdbcError* error) {
  return refuse(error, connection, "reading partitions");
}

AdbcStatusCode getStatistics(AdbcConnection* connection, const char* /*catalog*/, const char* /*schema*/,
                             const char* /*table*/, char /*approximate*/, ArrowArrayStream* /*out*/, AdbcError* error) {
  return refuse(error, connection, "statistics");
}

AdbcStatusCode getStatisticNames(AdbcConnection* connection, ArrowArrayStream* /*out*/, AdbcError* error) {
  return refuse(error, connection, "statistics");
}

}  // namespace kivo::adbc
