#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "KivoArrow.h"

namespace kivo::test {

/// An ArrowSchema, ArrowArray or ArrowArrayStream that is released at the end, if it was not before.
template <class Structure>
struct Held : Structure {
  Held() { static_cast<Structure&>(*this) = Structure{}; }
  ~Held() {
    if (this->release != nullptr) this->release(this);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
};

/// Moves a structure that its owner has no use for any more.
template <class Structure>
void moveTo(Held<Structure>& target, Structure& source) {
  static_cast<Structure&>(target) = source;
  source.release = nullptr;
}

/// Counts the rows of a stream, then releases it, and the first batch after it. @return nothing when a call failed.
/// Throws std::runtime_error where it breaks its word.
inline std::optional<std::int64_t> countRows(Held<ArrowArrayStream>& stream) {
  Held<ArrowArray> first;
  Held<ArrowSchema> schema;
  std::int64_t rows = 0;
  int code = stream.get_schema(&stream, &schema);
  for (bool more = code == 0; more;) {
    Held<ArrowArray> batch;
    code = stream.get_next(&stream, &batch);
    more = batch.release != nullptr;
    rows += batch.length;
    if (more && first.release == nullptr) moveTo(first, static_cast<ArrowArray&>(batch));
  }
  Held<ArrowArray> none;
  if (schema.release != nullptr && (stream.get_next(&stream, &none) != code || none.release != nullptr)) {
    throw std::runtime_error("rows after the end");
  }
  const bool failed = stream.get_last_error(&stream) != nullptr;
  stream.release(&stream);
  if (failed != (code != 0)) throw std::runtime_error("an error without a text, or a text without an error");
  return failed ? std::nullopt : std::optional(rows);
}

/// Reads the values of one Arrow array as text, in the library's own form of each type.
class ArrowText {
 public:
  ArrowText(const ArrowSchema& schema, const ArrowArray& array) : schema_(schema), array_(array) {}

  /// @param row counted from 0. @return nothing for null. Throws std::runtime_error for a type that it does not know.
  std::optional<std::string> at(std::int64_t row) const {
    const std::string_view format = schema_.format;
    if (isNull(row)) return std::nullopt;
    if (format == "b") return bit(array_.buffers[1], row + array_.offset) ? "true" : "false";
    if (format == "f") return shortest(value<float>(row));
    if (format == "g") return shortest(value<double>(row));
    if (format == "tdD") return date(value<std::int32_t>(row));
    if (format == "ttu") return timeOfDay(value<std::int64_t>(row) * 1000);
    if (format == "ttn") return timeOfDay(value<std::int64_t>(row));
    if (format == "+l") return list(row);
    if (format.substr(0, 2) == "d:") return decimal(row);
    if (format.substr(0, 4) == "tsu:") return timestamp(value<std::int64_t>(row));
    if (format == "u") return std::string(bytes(row));
    if (format == "z") return hexadecimal(bytes(row));
    return integer(row);
  }

 private:
  __extension__ using Wide = __int128;

  static constexpr std::int64_t kNanosPerSecond = 1'000'000'000;
  static constexpr std::int64_t kSecondsPerDay = 86'400;

  static bool bit(const void* bits, std::int64_t index) {
    return (static_cast<const std::uint8_t*>(bits)[index / 8] >> (index % 8) & 1) != 0;
  }

  bool isNull(std::int64_t row) const {
    if (std::string_view(schema_.format) == "n") return true;
    return array_.buffers[0] != nullptr && !bit(array_.buffers[0], row + array_.offset);
  }

  template <class Value>
  Value value(std::int64_t row) const {
    return static_cast<const Value*>(array_.buffers[1])[row + array_.offset];
  }

  std::string_view bytes(std::int64_t row) const {
    const auto start = static_cast<std::size_t>(value<std::int32_t>(row));
    const auto end = static_cast<std::size_t>(value<std::int32_t>(row + 1));
    return {static_cast<const char*>(array_.buffers[2]) + start, end - start};
  }

  std::string integer(std::int64_t row) const {
    const std::string_view format = schema_.format;
    if (format == "c") return std::to_string(value<std::int8_t>(row));
    if (format == "C") return std::to_string(value<std::uint8_t>(row));
    if (format == "s") return std::to_string(value<std::int16_t>(row));
    if (format == "S") return std::to_string(value<std::uint16_t>(row));
    if (format == "i") return std::to_string(value<std::int32_t>(row));
    if (format == "I") return std::to_string(value<std::uint32_t>(row));
    if (format == "l") return std::to_string(value<std::int64_t>(row));
    if (format == "L") return std::to_string(value<std::uint64_t>(row));
    throw std::runtime_error("no text for the Arrow type " + std::string(format));
  }

  template <class Real>
  static std::string shortest(Real number) {
    char digits[64];
    return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
  }

  static std::string hexadecimal(std::string_view bytes) {
    std::string digits;
    for (const char byte : bytes) {
      digits += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
      digits += "0123456789abcdef"[static_cast<unsigned char>(byte) & 15];
    }
    return digits;
  }

  std::string decimal(std::int64_t row) const {
    // Memory that Arrow aligns to 8 bytes at least.
    Wide number = 0;
    std::memcpy(&number, static_cast<const char*>(array_.buffers[1]) + (row + array_.offset) * 16, sizeof number);
    const int scale = std::stoi(std::string(schema_.format).substr(std::string_view(schema_.format).find(',') + 1));
    const bool isNegative = number < 0;
    std::string digits;
    for (; number != 0; number /= 10) {
      digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(number % 10) * (isNegative ? -1 : 1)));
    }
    if (scale < 0 && !digits.empty()) digits.append(static_cast<std::size_t>(-scale), '0');
    const auto places = static_cast<std::size_t>(scale < 0 ? 0 : scale);
    if (digits.size() <= places) digits.insert(0, places + 1 - digits.size(), '0');
    if (places > 0) digits.insert(digits.size() - places, ".");
    return (isNegative ? "-" : "") + digits;
  }

  static std::string date(std::int64_t day) {
    const std::time_t seconds = day * kSecondsPerDay;
    std::tm civil{};
    gmtime_r(&seconds, &civil);
    const int year = civil.tm_year + 1900;
    const char* sign = year < 0 ? "-" : year > 9999 ? "+" : "";
    char text[48];
    std::snprintf(text, sizeof text, "%s%04d-%02d-%02d", sign, std::abs(year), civil.tm_mon + 1, civil.tm_mday);
    return text;
  }

  static std::string timeOfDay(std::int64_t nanos) {
    const auto seconds = static_cast<int>(nanos / kNanosPerSecond);
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%09d", seconds / 3600, seconds / 60 % 60, seconds % 60,
                  static_cast<int>(nanos % kNanosPerSecond));
    std::string trimmed = text;
    trimmed.erase(nanos % kNanosPerSecond == 0 ? 8 : trimmed.find_last_not_of('0') + 1);
    return trimmed;
  }

  static std::string timestamp(std::int64_t micros) {
    using Days = std::chrono::duration<std::int64_t, std::ratio<kSecondsPerDay>>;
    const std::chrono::microseconds since(micros);
    const auto day = std::chrono::floor<Days>(since);
    return date(day.count()) + ' ' + timeOfDay(std::chrono::nanoseconds(since - day).count());
  }

  std::string list(std::int64_t row) const {
    const ArrowText elements(*schema_.children[0], *array_.children[0]);
    std::string text = "[";
    for (std::int64_t index = value<std::int32_t>(row); index < value<std::int32_t>(row + 1); ++index) {
      if (text.size() > 1) text += ", ";
      text += elements.at(index).value_or("null");
    }
    return text + ']';
  }

  const ArrowSchema& schema_;
  const ArrowArray& array_;
};

inline ArrowStreamOptions byRows(int rows) {
  ArrowStreamOptions options;
  options.maxRows = rows;
  return options;
}

/// The schema of a stream and its first batch.
struct Batch {
  explicit Batch(Held<ArrowArrayStream>& stream) { read(stream); }

  /// Of the open result.
  explicit Batch(jdbcWrapper& wrapper, const ArrowStreamOptions& options = {}) {
    Held<ArrowArrayStream> stream;
    EXPECT_TRUE(makeArrowStream(wrapper, stream, failure, options)) << failure;
    if (stream.release != nullptr) read(stream);
  }

  std::optional<std::string> at(std::int64_t row, std::int64_t column = 0) const {
    return ArrowText(*schema.children[column], *rows.children[column]).at(row);
  }

  Held<ArrowSchema> schema;
  Held<ArrowArray> rows;
  std::string failure;

 private:
  void read(ArrowArrayStream& stream) {
    EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
    if (stream.get_next(&stream, &rows) != 0) failure = stream.get_last_error(&stream);
  }
};

/// The rows of a batch: "<1, a><2, null>".
inline std::string textOf(const ArrowSchema& schema, const ArrowArray& batch) {
  std::string text;
  for (std::int64_t row = 0; row < batch.length; ++row) {
    for (std::int64_t column = 0; column < batch.n_children; ++column) {
      text += column == 0 ? "<" : ", ";
      text += ArrowText(*schema.children[column], *batch.children[column]).at(row).value_or("null");
    }
    text += '>';
  }
  return text;
}

inline std::int64_t buffersOf(const std::string& format) {
  if (format == "+s") return 1;
  if (format == "n") return 0;
  return format == "u" || format == "z" ? 3 : 2;
}

inline std::int64_t countNulls(const ArrowSchema& schema, const ArrowArray& array) {
  std::int64_t nulls = 0;
  for (std::int64_t row = 0; row < array.length; ++row) nulls += ArrowText(schema, array).at(row) ? 0 : 1;
  return nulls;
}

/// Looks at what is not a value.
inline void expectShape(const ArrowSchema& schema, const ArrowArray& array) {
  SCOPED_TRACE(schema.format);
  const bool isBatch = std::string(schema.format) == "+s";
  EXPECT_EQ(array.null_count, isBatch ? 0 : countNulls(schema, array));
  EXPECT_EQ(array.offset, 0);
  EXPECT_EQ(array.dictionary, nullptr);
  EXPECT_EQ(array.n_buffers, buffersOf(schema.format));
  EXPECT_TRUE(!isBatch || array.buffers[0] == nullptr);
  ASSERT_EQ(array.n_children, schema.n_children);
  for (std::int64_t index = 0; index < array.n_children; ++index) {
    EXPECT_TRUE(!isBatch || array.children[index]->length == array.length);
    expectShape(*schema.children[index], *array.children[index]);
  }
}

/// What a stream held, and how it ended.
struct Read {
  std::vector<std::int64_t> batches;
  std::string text;
  int code = 0;
  std::string error;
};

inline Read readAll(ArrowArrayStream& stream) {
  Read read;
  Held<ArrowSchema> schema;
  EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
  while (true) {
    Held<ArrowArray> batch;
    read.code = stream.get_next(&stream, &batch);
    const char* error = stream.get_last_error(&stream);
    EXPECT_EQ(error != nullptr, read.code != 0);
    if (read.code != 0) read.error = error;
    if (read.code != 0 || batch.release == nullptr) return read;
    expectShape(schema, batch);
    read.batches.push_back(batch.length);
    read.text += textOf(schema, batch);
  }
}

/// One row with one value, in memory of its own: releasing it frees nothing.
struct OneValue {
  OneValue(const char* format, std::int64_t number) : value(number) {
    column.format = format;
    schema.format = "+s";
    schema.n_children = rows.n_children = 1;
    schema.children = &columnAddress;
    array.length = rows.length = 1;
    array.n_buffers = 2;
    array.buffers = buffers;
    rows.children = &arrayAddress;
    schema.release = [](ArrowSchema* self) { self->release = nullptr; };
    rows.release = [](ArrowArray* self) { self->release = nullptr; };
  }
  OneValue(const OneValue&) = delete;
  OneValue& operator=(const OneValue&) = delete;

  const std::int64_t value;
  const void* buffers[3] = {nullptr, &value};
  ArrowSchema column{};
  ArrowSchema* columnAddress = &column;
  ArrowArray array{};
  ArrowArray* arrayAddress = &array;
  ArrowSchema schema{};
  ArrowArray rows{};
};

}  // namespace kivo::test
