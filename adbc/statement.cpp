#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "arrow/parameters.h"
#include "arrow/schema.h"
#include "java_vm.h"
#include "jni/pending.h"
#include "objects.h"
#include "streams.h"

namespace kivo::adbc {

namespace {

constexpr JavaMethod kStatement{"statement", "()Lcom/ulvanejdbc/adbc/AdbcStatement;"};
constexpr JavaMethod kSetOption{"setOption", "(Ljava/lang/String;Ljava/lang/String;)Z"};
constexpr JavaMethod kGetOption{"getOption", "(Ljava/lang/String;)Ljava/lang/String;"};
constexpr JavaMethod kSetSql{"setSql", "(Ljava/lang/String;)Z"};
constexpr JavaMethod kPrepare{"prepare", "()Z"};
constexpr JavaMethod kParameters{"parameters", "()[B"};
constexpr JavaMethod kUnbind{"unbind", "()Z"};
constexpr JavaMethod kExecute{"execute", "()Lcom/ulvanejdbc/arrow/BatchReader;"};
constexpr JavaMethod kExecuteSchema{"executeSchema", "()Lcom/ulvanejdbc/arrow/BatchReader;"};
constexpr JavaMethod kAffected{"affected", "()J"};
constexpr JavaMethod kBeginRows{"beginRows", "(Ljava/lang/String;[Ljava/lang/String;)Z"};
constexpr JavaMethod kRunRows{"runRows", "()Z"};
constexpr JavaMethod kEndRows{"endRows", "(Z)Z"};
constexpr JavaMethod kCancel{"cancel", "()Z"};
constexpr JavaMethod kClose{"close", "()Z"};

constexpr JavaMethod kCloseReader{"close", "()V"};

constexpr const char* kTargetTable = "adbc.ingest.target_table";

/// @param description for each parameter its format and its type's name, texts that each end with a NUL
ArrowField parameterFields(const std::string& description) {
  ArrowField root{"+s", "", "", {}};
  const char* at = description.c_str();
  const char* const end = at + description.size();
  const auto next = [&at] {
    std::string text = at;
    at += text.size() + 1;
    return text;
  };
  while (at < end) {
    ArrowField field{next(), "", "", {}};
    field.typeName = next();
    root.children.push_back(std::move(field));
  }
  return root;
}

void closeReader(JNIEnv* env, jobject reader) {
  LocalRef<jclass> type(env);
  env->CallVoidMethod(reader, needed(env, findMethodOf(env, reader, type, kCloseReader)));
  JavaObject::expectNothingThrown(env);
}

}  // namespace

void Statement::make(const std::shared_ptr<Session>& session) {
  const Turn turn(*session);
  const LocalRef<jobject> made = session->connection.ask(turn.env, kStatement);
  if (!made) throw Fault(ADBC_STATUS_INTERNAL, "out of memory");
  java_.keep(turn.env, made.get());
  session_ = session;
}

void Statement::setOption(const char* name, const char* value) {
  const Turn turn(session());
  const LocalRef<jstring> key = javaText(turn.env, name);
  const LocalRef<jstring> text = javaText(turn.env, value);
  java_.run(turn.env, kSetOption, key.get(), text.get());
  if (name == std::string(kTargetTable)) ingests_ = value != nullptr;
}

std::string Statement::option(const char* name) {
  const Turn turn(session());
  const LocalRef<jstring> key = javaText(turn.env, name);
  const LocalRef<jobject> value = java_.ask(turn.env, kGetOption, key.get());
  if (!value) throw Fault(ADBC_STATUS_NOT_FOUND, std::string(name) + " is not set");
  return textOf(turn.env, value.get());
}

void Statement::close() {
  if (!session_ || isForked()) return;
  const Turn turn(*session_);
  java_.run(turn.env, kClose);
}

void Statement::setSql(const char* sql) {
  const Turn turn(session());
  const LocalRef<jstring> text = javaText(turn.env, sql);
  java_.run(turn.env, kSetSql, text.get());
  ingests_ = false;
}

void Statement::prepare() {
  const Turn turn(session());
  java_.run(turn.env, kPrepare);
}

void Statement::bind(Bound rows) {
  session();
  rows_ = std::move(rows);
}

void Statement::parameterSchema(ArrowSchema& out) {
  const Turn turn(session());
  const LocalRef<jobject> description = java_.ask(turn.env, kParameters);
  exportSchema(parameterFields(bytesOf(turn.env, description.get())), out);
}

void Statement::executeSchema(ArrowSchema& out) {
  const Turn turn(session());
  const LocalRef<jobject> reader = java_.ask(turn.env, kExecuteSchema);
  if (reader) return exportReaderSchema(turn.env, reader.get(), out);
  exportSchema({"+s", "", "", {}}, out);
}

std::int64_t Statement::execute(ArrowArrayStream* out) {
  session();
  Bound rows = std::move(rows_);
  if (ingests_ && !rows) throw Fault(ADBC_STATUS_INVALID_STATE, "no rows are bound to ingest");
  if (!rows || (!ingests_ && rows.isOneRow())) return executeOnce(rows, out);
  if (out != nullptr && !ingests_ && returnsRows()) {
    throw Fault(ADBC_STATUS_NOT_IMPLEMENTED, "a statement that returns rows takes one row of parameters");
  }
  const std::int64_t changed = runOverRows(rows);
  if (out != nullptr) makeEmptyStream(*out);
  return changed;
}

/// @param rows none, or one
std::int64_t Statement::executeOnce(Bound& rows, ArrowArrayStream* out) {
  const Turn turn(session());
  BoundBatch row;
  std::optional<PlainBatch> plain;
  if (rows && rows.next(row)) {
    bindBatch(turn.env, rows, plain.emplace(rows.schema(), *row));
  } else {
    // Those of a run that could not begin are gone.
    java_.run(turn.env, kUnbind);
  }
  const LocalRef<jobject> reader = java_.ask(turn.env, kExecute);
  if (!reader) {
    if (out != nullptr) makeEmptyStream(*out);
    return java_.number(turn.env, kAffected);
  }
  if (out != nullptr) {
    makeRowStream(turn.env, reader.get(), session_, *out);
  } else {
    closeReader(turn.env, reader.get());
  }
  return -1;
}

bool Statement::returnsRows() {
  const Turn turn(session());
  const LocalRef<jobject> reader = java_.ask(turn.env, kExecuteSchema);
  if (reader) closeReader(turn.env, reader.get());
  return static_cast<bool>(reader);
}

/// Runs the statement, or the insert of an ingestion, with all rows: with all of them or with none.
std::int64_t Statement::runOverRows(Bound& rows) {
  Turn turn(session());
  const LocalRef<jstring> formats = javaText(turn.env, rows.formats().c_str());
  const LocalRef<jobjectArray> names = javaTexts(turn.env, rows.names());
  java_.run(turn.env, kBeginRows, formats.get(), names.get());
  BoundBatch batch;
  try {
    while (turn.pause([&] { return rows.next(batch); })) {
      const PlainBatch plain(rows.schema(), *batch);
      bindBatch(turn.env, rows, plain);
      java_.run(turn.env, kRunRows);
    }
  } catch (...) {
    endRows(turn.env, false);
    throw;
  }
  endRows(turn.env, true);
  return java_.number(turn.env, kAffected);
}

void Statement::bindBatch(JNIEnv* env, const Bound& rows, const PlainBatch& batch) {
  std::string refusal;
  if (bindParameters(env, java_.get(), rows.plainSchema(), batch.get(), refusal)) return;
  JavaObject::throwFailure(env, java_.get(), JavaObject::MayBeNone::yes);
  throw Fault(ADBC_STATUS_INVALID_ARGUMENT, refusal);
}

/// @param worked if not, what failed before is the failure to report
void Statement::endRows(JNIEnv* env, bool worked) {
  try {
    java_.run(env, kEndRows, static_cast<jboolean>(worked));
  } catch (const Fault&) {
    if (worked) throw;
  }
}

void Statement::cancel() {
  session();
  JNIEnv* env = environment();
  const PendingAside aside(env);
  java_.run(env, kCancel);
}

Session& Statement::session() const {
  if (!session_) throw Fault(ADBC_STATUS_INVALID_STATE, "the statement has no connection");
  return *session_;
}

}  // namespace kivo::adbc
