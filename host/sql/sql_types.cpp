#include "sql/sql_types.h"

#include <rapidjson/reader.h>
#include <strings.h>

#include <algorithm>

namespace kivosql {

namespace {

constexpr int kNumeric[] = {-6, -5, 2, 3, 4, 5, 6, 7, 8};
constexpr int kBoolean[] = {-7, 16};

}  // namespace

bool isNumeric(int type) { return std::find(std::begin(kNumeric), std::end(kNumeric), type) != std::end(kNumeric); }

bool isBoolean(int type) { return std::find(std::begin(kBoolean), std::end(kBoolean), type) != std::end(kBoolean); }

bool isJsonNumber(std::string_view text) {
  const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
  // Other JSON begins otherwise, and blanks may stand at either end of it.
  if (text.empty() || !isDigit(text.back()) || !(isDigit(text[0]) || text[0] == '-')) return false;
  rapidjson::MemoryStream stream(text.data(), text.size());
  static rapidjson::Reader reader;  // keeps its memory
  rapidjson::BaseReaderHandler<> ignore;
  return !reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, ignore).IsError();
}

std::optional<bool> booleanOf(std::string_view text) {
  // Every second one means true.
  constexpr std::string_view kWords[] = {"f", "t", "false", "true", "0", "1"};
  const auto isSame = [text](std::string_view word) {
    return text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
  };
  const auto* const found = std::find_if(std::begin(kWords), std::end(kWords), isSame);
  if (found == std::end(kWords)) return {};
  return (found - std::begin(kWords)) % 2 == 1;
}

}  // namespace kivosql
