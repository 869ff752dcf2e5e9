#include "bound.h"

#include <cstring>
#include <utility>

#include "fault.h"

namespace kivo::adbc {

namespace {

[[noreturn]] void throwStreamFault(ArrowArrayStream& stream, int code) {
  const char* text = stream.get_last_error == nullptr ? nullptr : stream.get_last_error(&stream);
  throw Fault(ADBC_STATUS_IO,
              std::string("the bound stream failed: ") + (text == nullptr ? std::strerror(code) : text));
}

void appendFormats(const ArrowSchema& field, std::string& formats) {
  formats.append(field.format).append("\n");
  for (std::int64_t child = 0; child < field.n_children; ++child) appendFormats(*field.children[child], formats);
}

/// What was released before, as by an earlier bind, must not be looked into.
template <class Structure>
void requireLive(const Owned<Structure>& given, const char* what) {
  if (!given) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, std::string(what) + " was bound or released before");
}

void requireRows(const ArrowSchema& schema) {
  if (schema.format != nullptr && std::strcmp(schema.format, "+s") == 0) return;
  throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "rows to bind must be a struct with a field for each parameter");
}

}  // namespace

Bound::Bound(ArrowArray& batch, ArrowSchema& schema) : schema_(schema) {
  BoundBatch first(batch);
  requireLive(first, "the batch");
  requireLive(schema_, "the schema");
  requireRows(*schema_);
  plain_ = PlainSchema(*schema_);
  if ((*first).length > 0) ahead_.push_back(std::move(first));
}

Bound::Bound(ArrowArrayStream& stream) : stream_(stream) {
  requireLive(stream_, "the stream");
  const int code = (*stream_).get_schema(stream_.get(), schema_.get());
  if (code != 0) throwStreamFault(*stream_, code);
  requireRows(*schema_);
  plain_ = PlainSchema(*schema_);
}

bool Bound::next(BoundBatch& batch) {
  if (ahead_.empty()) return readStream(batch);
  batch = std::move(ahead_.front());
  ahead_.pop_front();
  return true;
}

bool Bound::isOneRow() {
  BoundBatch batch;
  while (ahead_.size() < 2 && readStream(batch)) ahead_.push_back(std::move(batch));
  return ahead_.size() == 1 && (*ahead_.front()).length == 1;
}

bool Bound::readStream(BoundBatch& batch) {
  do {
    batch.reset();
    if (!stream_) return false;
    const int code = (*stream_).get_next(stream_.get(), batch.get());
    if (code != 0) throwStreamFault(*stream_, code);
  } while (batch && (*batch).length == 0);
  return static_cast<bool>(batch);
}

std::string Bound::formats() const {
  std::string formats;
  for (std::int64_t column = 0; column < plainSchema().n_children; ++column)
    appendFormats(*plainSchema().children[column], formats);
  return formats;
}

std::vector<const char*> Bound::names() const {
  std::vector<const char*> names;
  for (std::int64_t column = 0; column < plainSchema().n_children; ++column) {
    const char* name = plainSchema().children[column]->name;
    names.push_back(name == nullptr ? "" : name);
  }
  return names;
}

}  // namespace kivo::adbc
