#include "plain.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>

namespace kivo::adbc {

namespace {

bool isPlain(std::string_view format) { return format == "u" || format == "U" || format == "z" || format == "Z"; }
bool isView(std::string_view format) { return format == "vu" || format == "vz"; }

/// The format of a field as it is bound; null to leave it as it is.
const char* plainFormat(const ArrowSchema& field) {
  const std::string_view format = field.dictionary == nullptr ? field.format : field.dictionary->format;
  if (!isView(format) && (field.dictionary == nullptr || !isPlain(format))) return nullptr;
  const char kind = format.back();
  return kind == 'u' || kind == 'U' ? "U" : "Z";
}

bool isNull(const ArrowArray& array, std::int64_t row) {
  const auto* bits = array.n_buffers > 0 ? static_cast<const std::uint8_t*>(array.buffers[0]) : nullptr;
  const std::int64_t at = array.offset + row;
  return bits != nullptr && array.null_count != 0 && (bits[at / 8] >> (at % 8) & 1) == 0;
}

template <class Value>
std::int64_t entry(const ArrowArray& array, std::int64_t row) {
  return static_cast<std::int64_t>(static_cast<const Value*>(array.buffers[1])[array.offset + row]);
}

std::int64_t indexAt(char format, const ArrowArray& array, std::int64_t row) {
  switch (format) {
    case 'c':
      return entry<std::int8_t>(array, row);
    case 'C':
      return entry<std::uint8_t>(array, row);
    case 's':
      return entry<std::int16_t>(array, row);
    case 'S':
      return entry<std::uint16_t>(array, row);
    case 'i':
      return entry<std::int32_t>(array, row);
    case 'I':
      return entry<std::uint32_t>(array, row);
    default:
      return entry<std::int64_t>(array, row);
  }
}

template <class Offset>
std::string_view between(const ArrowArray& array, std::int64_t row) {
  const auto start = static_cast<std::size_t>(entry<Offset>(array, row));
  const auto end = static_cast<std::size_t>(entry<Offset>(array, row + 1));
  return {static_cast<const char*>(array.buffers[2]) + start, end - start};
}

/// A short value stands in the view itself. Of a longer one there is the beginning, then where the whole is.
struct View {
  std::int32_t size;
  std::int32_t beginning;
  std::int32_t buffer;
  std::int32_t offset;
};

std::string_view viewAt(const ArrowArray& array, std::int64_t row) {
  const View& view = static_cast<const View*>(array.buffers[1])[array.offset + row];
  const auto size = static_cast<std::size_t>(view.size);
  constexpr std::size_t kInside = sizeof(View) - sizeof view.size;
  if (size <= kInside) return {reinterpret_cast<const char*>(&view.beginning), size};
  return {static_cast<const char*>(array.buffers[2 + view.buffer]) + view.offset, size};
}

/// @return nothing for null
std::optional<std::string_view> valueAt(const ArrowSchema& field, const ArrowArray& array, std::int64_t row) {
  if (isNull(array, row)) return std::nullopt;
  if (field.dictionary != nullptr) {
    return valueAt(*field.dictionary, *array.dictionary, indexAt(*field.format, array, row));
  }
  const std::string_view format = field.format;
  if (isView(format)) return viewAt(array, row);
  return format == "u" || format == "z" ? between<std::int32_t>(array, row) : between<std::int64_t>(array, row);
}

}  // namespace

PlainSchema::PlainSchema(const ArrowSchema& original) : root_(original) {
  root_.release = nullptr;
  for (std::int64_t index = 0; index < original.n_children; ++index) {
    ArrowSchema field = *original.children[index];
    field.release = nullptr;
    if (const char* format = plainFormat(field)) {
      field.format = format;
      field.dictionary = nullptr;
    }
    fields_.push_back(field);
  }
  for (ArrowSchema& field : fields_) addresses_.push_back(&field);
  root_.children = addresses_.data();
}

PlainBatch::PlainBatch(const ArrowSchema& schema, const ArrowArray& original) : root_(original) {
  root_.release = nullptr;
  columns_.resize(static_cast<std::size_t>(original.n_children));
  const std::int64_t fields = original.n_children < schema.n_children ? original.n_children : schema.n_children;
  for (std::int64_t index = 0; index < original.n_children; ++index) {
    ArrowArray array = *original.children[index];
    array.release = nullptr;
    const bool stands = index >= fields || plainFormat(*schema.children[index]) == nullptr;
    if (!stands) {
      fill(*schema.children[index], array, original.offset + original.length,
           columns_[static_cast<std::size_t>(index)]);
    }
    arrays_.push_back(array);
  }
  for (ArrowArray& array : arrays_) addresses_.push_back(&array);
  root_.children = addresses_.data();
}

void PlainBatch::fill(const ArrowSchema& field, ArrowArray& array, std::int64_t rows, Column& column) {
  column.validity.resize(static_cast<std::size_t>(rows + 7) / 8);
  column.offsets.push_back(0);
  for (std::int64_t row = 0; row < rows; ++row) {
    const std::optional<std::string_view> value = valueAt(field, array, row);
    if (value) {
      char& bits = column.validity[static_cast<std::size_t>(row) / 8];
      bits = static_cast<char>(static_cast<std::uint8_t>(bits) | 1U << row % 8);
      column.values += *value;
    }
    column.offsets.push_back(static_cast<std::int64_t>(column.values.size()));
  }
  column.buffers[0] = column.validity.data();
  column.buffers[1] = column.offsets.data();
  column.buffers[2] = column.values.data();
  array.buffers = column.buffers;
  array.n_buffers = 3;
  array.offset = 0;
  array.null_count = -1;
  array.dictionary = nullptr;
}

}  // namespace kivo::adbc
