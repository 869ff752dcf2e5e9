#include "streams.h"

#include <cerrno>
#include <exception>
#include <utility>

#include "arrow/environment.h"
#include "arrow/reader.h"
#include "arrow/stream.h"
#include "java_vm.h"
#include "jni/pending.h"
#include "tree.h"

namespace kivo::adbc {

namespace {

constexpr const char* kOutOfMemory = "out of memory";

void openReader(JNIEnv* env, jobject reader, ArrowArrayStream& out) {
  ReaderMethods methods;
  const bool found = findReaderMethods(env, jarClass(env, JarClass::batchReader), methods);
  env->ExceptionClear();
  if (!found) throw Fault(ADBC_STATUS_INTERNAL, "the companion jar is of another version");
  std::string text;
  if (openStream(env, methods, reader, out, text)) return;
  JavaObject::throwFailure(env, reader, JavaObject::MayBeNone::yes);
  throw Fault(ADBC_STATUS_INTERNAL, text);
}

/// The rows of a query. What fails is kept as an AdbcError, besides the text.
class RowStream {
 public:
  RowStream(JNIEnv* env, jobject reader, std::shared_ptr<Session> owner) : session_(std::move(owner)) {
    reader_.keep(env, reader);
    openReader(env, reader, rows_);
  }
  ~RowStream() {
    if (error_.release != nullptr) error_.release(&error_);
    // A child process leaves all to its parent, whose VM it is.
    if (rows_.release == nullptr || isForked()) return;
    const std::lock_guard lock(session_->turn);
    rows_.release(&rows_);
  }
  RowStream(const RowStream&) = delete;
  RowStream& operator=(const RowStream&) = delete;

  static RowStream* of(ArrowArrayStream* exported) { return static_cast<RowStream*>(exported->private_data); }

  void exportTo(ArrowArrayStream& out);

  int getSchema(ArrowSchema* schema) {
    const int code = rows_.get_schema(&rows_, schema);
    text_ = code == 0 ? nullptr : kOutOfMemory;
    return code;
  }

  int getNext(ArrowArray* array) {
    if (isForked()) return fail(EIO, Fault(ADBC_STATUS_INVALID_STATE, kForked));
    const std::lock_guard lock(session_->turn);
    const int code = rows_.get_next(&rows_, array);
    text_ = nullptr;
    return code == 0 ? 0 : fail(code, faultOf(rows_.get_last_error(&rows_)));
  }

  int failWithoutMemory() {
    text_ = kOutOfMemory;
    return ENOMEM;
  }

  const char* lastError() const { return text_; }
  const AdbcError* error(AdbcStatusCode* status) const {
    if (error_.release == nullptr) return nullptr;
    if (status != nullptr) *status = status_;
    return &error_;
  }

 private:
  /// With the codes, which only the reader has. @param text if it has no failure, as without memory
  Fault faultOf(const char* text) {
    JNIEnv* env = threadEnvironment();
    if (env != nullptr) {
      const PendingAside aside(env);
      try {
        JavaObject::throwFailure(env, reader_.get(), JavaObject::MayBeNone::yes);
      } catch (const Fault& fault) {
        return fault;
      }
    }
    return {ADBC_STATUS_INTERNAL, text == nullptr ? "" : text};
  }

  int fail(int code, const Fault& fault) {
    error_.vendor_code = ADBC_ERROR_VENDOR_CODE_PRIVATE_DATA;
    status_ = report(fault, &error_);
    text_ = error_.message == nullptr ? kOutOfMemory : error_.message;
    return code;
  }

  std::shared_ptr<Session> session_;
  JavaObject reader_;
  ArrowArrayStream rows_{};
  const char* text_ = nullptr;  ///< of the last call's failure
  AdbcError error_{};           ///< of the failure that ended the rows
  AdbcStatusCode status_ = ADBC_STATUS_OK;
};

int rowSchema(ArrowArrayStream* exported, ArrowSchema* schema) { return RowStream::of(exported)->getSchema(schema); }

int nextRows(ArrowArrayStream* exported, ArrowArray* array) {
  array->release = nullptr;
  try {
    return RowStream::of(exported)->getNext(array);
  } catch (const std::exception&) {
    return RowStream::of(exported)->failWithoutMemory();
  }
}

const char* rowError(ArrowArrayStream* exported) { return RowStream::of(exported)->lastError(); }

void releaseRows(ArrowArrayStream* exported) {
  delete RowStream::of(exported);
  exported->private_data = nullptr;
  exported->release = nullptr;
}

void RowStream::exportTo(ArrowArrayStream& out) { out = {rowSchema, nextRows, rowError, releaseRows, this}; }

/// A batch that is there already.
struct BatchStream {
  explicit BatchStream(const ArrowField& fields) : root(fields) {}
  ~BatchStream() {
    if (batch.release != nullptr) batch.release(&batch);
  }
  BatchStream(const BatchStream&) = delete;
  BatchStream& operator=(const BatchStream&) = delete;

  static BatchStream* of(ArrowArrayStream* exported) { return static_cast<BatchStream*>(exported->private_data); }

  const ArrowField root;
  ArrowArray batch{};
  const char* error = nullptr;  ///< of the last call
};

int batchSchema(ArrowArrayStream* exported, ArrowSchema* schema) {
  schema->release = nullptr;
  try {
    exportSchema(BatchStream::of(exported)->root, *schema);
    BatchStream::of(exported)->error = nullptr;
    return 0;
  } catch (const std::exception&) {
    BatchStream::of(exported)->error = kOutOfMemory;
    return ENOMEM;
  }
}

int nextBatch(ArrowArrayStream* exported, ArrowArray* array) {
  BatchStream::of(exported)->error = nullptr;
  *array = std::exchange(BatchStream::of(exported)->batch, ArrowArray{});
  return 0;
}

const char* batchError(ArrowArrayStream* exported) { return BatchStream::of(exported)->error; }

void releaseBatch(ArrowArrayStream* exported) {
  delete BatchStream::of(exported);
  exported->private_data = nullptr;
  exported->release = nullptr;
}

ArrowArrayStream exported(std::unique_ptr<BatchStream> stream) {
  return {batchSchema, nextBatch, batchError, releaseBatch, stream.release()};
}

}  // namespace

void makeRowStream(JNIEnv* env, jobject reader, const std::shared_ptr<Session>& session, ArrowArrayStream& out) {
  auto stream = std::make_unique<RowStream>(env, reader, session);
  stream.release()->exportTo(out);
}

void makeTreeStream(const ArrowField& root, const std::string& bytes, ArrowArrayStream& out) {
  auto stream = std::make_unique<BatchStream>(root);
  exportTree(stream->root, bytes, stream->batch);
  // No rows are no batch.
  if (stream->batch.length == 0) stream->batch.release(&stream->batch);
  out = exported(std::move(stream));
}

void makeEmptyStream(ArrowArrayStream& out) {
  out = exported(std::make_unique<BatchStream>(ArrowField{"+s", "", "", {}}));
}

void exportReaderSchema(JNIEnv* env, jobject reader, ArrowSchema& out) {
  ArrowArrayStream stream{};
  openReader(env, reader, stream);
  const int code = stream.get_schema(&stream, &out);
  stream.release(&stream);
  if (code != 0) throw Fault(ADBC_STATUS_INTERNAL, "out of memory");
}

const AdbcError* errorFromArrayStream(ArrowArrayStream* stream, AdbcStatusCode* status) {
  const bool ours = stream != nullptr && stream->release == releaseRows;
  return ours ? RowStream::of(stream)->error(status) : nullptr;
}

}  // namespace kivo::adbc
