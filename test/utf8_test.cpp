#include <gtest/gtest.h>

#include <string>

#include "KivoUtf8.h"

using kivo::utf8::Converted;
using kivo::utf8::toModified;
using kivo::utf8::toStandard;

namespace {

using namespace std::string_literals;

constexpr std::size_t kNone = 0;

struct Row {
  const char* what;
  std::string standard;
  std::string modified;
};

TEST(Utf8, ValidTextConvertsBothWays) {
  const Row rows[] = {
      {"one, two and three bytes", "a\xC3\xA9\xE2\x82\xAC", "a\xC3\xA9\xE2\x82\xAC"},
      {"a NUL in the middle", "a\0z"s, "a\xC0\x80z"},
      {"the first beyond U+FFFF", "\xF0\x90\x80\x80", "\xED\xA0\x80\xED\xB0\x80"},
      {"an emoji between letters", "x\xF0\x9F\x98\x80y", "x\xED\xA0\xBD\xED\xB8\x80y"},
      {"the last code point", "\xF4\x8F\xBF\xBF", "\xED\xAF\xBF\xED\xBF\xBF"},
      {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", "\xED\x9F\xBF\xEE\x80\x80"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Converted modified = toModified(row.standard);
    EXPECT_EQ(modified.text, row.modified);
    EXPECT_EQ(modified.replacements, kNone);
    const Converted standard = toStandard(row.modified);
    EXPECT_EQ(standard.text, row.standard);
    EXPECT_EQ(standard.replacements, kNone);
  }
}

const std::string kMark = "\xEF\xBF\xBD";

TEST(Utf8, EachInvalidByteIsReplacedAndCounted) {
  const struct {
    const char* what;
    Converted (*convert)(std::string_view);
    std::string text;
    std::string expected;
    std::size_t replacements;
  } rows[] = {
      {"a stray continuation", toModified, "a\x80z", "a" + kMark + "z", 1},
      {"a truncated end", toModified, "a\xF0\x9F\x98", "a" + kMark + kMark + kMark, 3},
      {"an overlong slash", toModified, "\xC0\xAF", kMark + kMark, 2},
      {"overlong three and four bytes", toModified, "\xE0\x80\xAF\xF0\x80\x80\xAF",
       kMark + kMark + kMark + kMark + kMark + kMark + kMark, 7},
      {"beyond U+10FFFF", toModified, "\xF4\x90\x80\x80", kMark + kMark + kMark + kMark, 4},
      {"a surrogate in standard text", toModified, "\xED\xA0\x80z", kMark + kMark + kMark + "z", 3},
      {"a modified NUL in standard text", toModified, "\xC0\x80", kMark + kMark, 2},
      {"a lone high surrogate", toStandard, "a\xED\xA0\xBDz", "a" + kMark + "z", 1},
      {"two halves in the wrong order", toStandard, "\xED\xB8\x80\xED\xA0\xBD", kMark + kMark, 2},
      {"a high one before a pair", toStandard, "\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80", kMark + "\xF0\x9F\x98\x80", 1},
      {"a high one cut off", toStandard, "\xED\xA0\xBD\xED\xB8", kMark + kMark + kMark, 3},
      {"four bytes are taken as they are", toStandard, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", kNone},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const Converted converted = row.convert(row.text);
    EXPECT_EQ(converted.text, row.expected);
    EXPECT_EQ(converted.replacements, row.replacements);
  }
}

}  // namespace
