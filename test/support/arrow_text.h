#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

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
    if (format.substr(0, 4) == "tsu:") return timestamp(value<std::int64_t>(row), 1'000'000);
    if (format.substr(0, 4) == "tsn:") return timestamp(value<std::int64_t>(row), 1'000'000'000);
    if (format == "u") return std::string(bytes<std::int32_t>(row));
    if (format == "U") return std::string(bytes<std::int64_t>(row));
    if (format == "z") return hexadecimal(bytes<std::int32_t>(row));
    if (format == "Z") return hexadecimal(bytes<std::int64_t>(row));
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

  template <class Offset>
  std::string_view bytes(std::int64_t row) const {
    const auto start = static_cast<std::size_t>(value<Offset>(row));
    const auto end = static_cast<std::size_t>(value<Offset>(row + 1));
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

  static std::int64_t floorDivided(std::int64_t number, std::int64_t by) {
    return number / by - (number % by < 0 ? 1 : 0);
  }

  /// Counts in years that begin with March, in eras of 400 of them.
  static std::string date(std::int64_t day) {
    const std::int64_t shifted = day + 719'468;
    const std::int64_t era = floorDivided(shifted, 146'097);
    const std::int64_t dayOfEra = shifted - era * 146'097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t month = (5 * dayOfYear + 2) / 153;
    const std::int64_t year = yearOfEra + era * 400 + (month < 10 ? 0 : 1);
    char text[48];
    std::snprintf(text, sizeof text, "%s%04lld-%02d-%02d",
                  year < 0      ? "-"
                  : year > 9999 ? "+"
                                : "",
                  static_cast<long long>(year < 0 ? -year : year), static_cast<int>(month < 10 ? month + 3 : month - 9),
                  static_cast<int>(dayOfYear - (153 * month + 2) / 5 + 1));
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

  static std::string timestamp(std::int64_t units, std::int64_t unitsPerSecond) {
    const std::int64_t unitsPerDay = unitsPerSecond * kSecondsPerDay;
    const std::int64_t day = floorDivided(units, unitsPerDay);
    return date(day) + ' ' + timeOfDay((units - day * unitsPerDay) * (kNanosPerSecond / unitsPerSecond));
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

}  // namespace kivo::test
