#include "tree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "arrow/children.h"
#include "fault.h"

namespace kivo::adbc {

namespace {

class Reader {
 public:
  explicit Reader(const std::string& bytes) : bytes_(bytes) {}

  std::string take(std::size_t count) {
    if (count > bytes_.size() - at_) throw Fault(ADBC_STATUS_INTERNAL, "the companion jar is of another version");
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }

  /// A number of the given size, in this machine's order.
  std::string takeNumber(std::size_t size) {
    std::string number = take(size);
    std::reverse(number.begin(), number.end());
    return number;
  }

  bool takeFlag() { return take(1)[0] != 0; }

  std::int32_t takeCount() {
    std::uint32_t count = 0;
    for (const char byte : take(sizeof count)) count = count << 8U | static_cast<std::uint8_t>(byte);
    return static_cast<std::int32_t>(count);
  }

 private:
  const std::string& bytes_;
  std::size_t at_ = 0;
};

void appendNumber(std::string& bytes, std::int32_t number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void appendBit(std::string& bits, std::int64_t index, bool value) {
  if (index % 8 == 0) bits += '\0';
  if (value) bits.back() = static_cast<char>(static_cast<std::uint8_t>(bits.back()) | 1U << index % 8);
}

std::size_t widthOf(char format) {
  switch (format) {
    case 's':
      return sizeof(std::int16_t);
    case 'l':
      return sizeof(std::int64_t);
    default:
      return sizeof(std::int32_t);
  }
}

/// The values of a field while they are gathered, and what the array points to afterwards.
struct Column {
  explicit Column(const ArrowField& described) : field(described), arrays(described.children.size()) {
    for (const ArrowField& child : field.children) children.push_back(std::make_unique<Column>(child));
    if (hasOffsets()) appendNumber(offsets, 0);
  }

  bool isUnion() const { return field.format.compare(0, 3, "+ud") == 0; }
  bool isNested() const { return field.format[0] == '+'; }
  bool isStruct() const { return field.format == "+s"; }
  bool hasOffsets() const { return field.format == "u" || (isNested() && !isStruct() && !isUnion()); }

  void append(Reader& reader) {
    if (isUnion()) return appendChoice(reader);
    if (field.format == "u") return appendText(reader);
    if (hasOffsets()) return appendItems(reader);
    if (!reader.takeFlag()) return appendNull();
    begin(true);
    if (isStruct()) {
      for (const auto& child : children) child->append(reader);
    } else if (field.format == "b") {
      appendBit(values, length - 1, reader.takeFlag());
    } else {
      values += reader.takeNumber(widthOf(field.format[0]));
    }
  }

  void appendNull() {
    begin(false);
    if (hasOffsets()) return endItems(field.format == "u" ? values.size() : static_cast<std::size_t>(items().length));
    if (field.format == "b") return appendBit(values, length - 1, false);
    if (!isNested()) values.append(widthOf(field.format[0]), '\0');
    for (const auto& child : children) child->appendNull();
  }

  void appendText(Reader& reader) {
    const std::int32_t size = reader.takeCount();
    if (size < 0) return appendNull();
    begin(true);
    values += reader.take(static_cast<std::size_t>(size));
    endItems(values.size());
  }

  void appendItems(Reader& reader) {
    std::int32_t left = reader.takeCount();
    if (left < 0) return appendNull();
    begin(true);
    for (; left > 0; --left) {
      if (field.format == "+m") {
        items().begin(true);
        for (const auto& part : items().children) part->append(reader);
      } else {
        items().append(reader);
      }
    }
    endItems(static_cast<std::size_t>(items().length));
  }

  void appendChoice(Reader& reader) {
    const std::string choice = reader.take(1);
    Column& chosen = *children.at(static_cast<std::size_t>(choice[0]));
    ++length;
    values += choice;
    appendNumber(offsets, static_cast<std::int32_t>(chosen.length));
    chosen.append(reader);
  }

  Column& items() const { return *children[0]; }

  void begin(bool isValid) {
    appendBit(validity, length++, isValid);
    if (!isValid) ++nulls;
  }

  void endItems(std::size_t end) { appendNumber(offsets, static_cast<std::int32_t>(end)); }

  const ArrowField& field;
  std::vector<std::unique_ptr<Column>> children;
  std::int64_t length = 0;
  std::int64_t nulls = 0;
  std::string validity;
  std::string offsets;
  std::string values;  ///< of a union, which child each value is in

  const void* buffers[3] = {};
  Children<ArrowArray> arrays;
};

void releaseColumn(ArrowArray* array) {
  delete static_cast<Column*>(array->private_data);
  array->release = nullptr;
}

/// Hands the column over to the array.
void exportColumn(std::unique_ptr<Column> column, ArrowArray& array) {
  for (std::size_t index = 0; index < column->children.size(); ++index) {
    exportColumn(std::move(column->children[index]), column->arrays[index]);
  }
  const auto add = [&](const std::string& bytes) { column->buffers[array.n_buffers++] = bytes.data(); };
  array.n_buffers = 0;
  if (!column->isUnion()) add(column->validity);
  if (column->hasOffsets()) add(column->offsets);
  if (!column->isNested() || column->isUnion()) add(column->values);
  if (column->isUnion()) add(column->offsets);
  array.length = column->length;
  array.null_count = column->nulls;
  array.offset = 0;
  array.n_children = column->arrays.count();
  array.buffers = column->buffers;
  array.children = column->arrays.addresses();
  array.dictionary = nullptr;
  array.release = releaseColumn;
  array.private_data = column.release();
}

}  // namespace

void exportTree(const ArrowField& root, const std::string& bytes, ArrowArray& array) {
  auto rows = std::make_unique<Column>(root);
  Reader reader(bytes);
  for (std::int32_t left = reader.takeCount(); left > 0; --left) {
    rows->begin(true);
    for (const auto& column : rows->children) column->append(reader);
  }
  exportColumn(std::move(rows), array);
}

}  // namespace kivo::adbc
