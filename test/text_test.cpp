#include "jni/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace std::string_literals;

const std::string kSmile = "\xED\xA0\xBD\xED\xB8\x80";  // U+1F600 as two surrogates

const struct {
  const char* what;
  std::string text;
  std::string expected;
} kRows[] = {
    {"ASCII", "SELECT 1\n\x7F", "SELECT 1\n\x7F"},
    {"two bytes, first and last", "\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
    {"three bytes, first and last", "\xE0\xA0\x80\xEF\xBF\xBF", "\xE0\xA0\x80\xEF\xBF\xBF"},
    {"a surrogate pair in three-byte form", "a" + kSmile + "b", "a" + kSmile + "b"},
    {"a lone surrogate, as Java strings may hold", "\xED\xA0\x80", "\xED\xA0\x80"},
    {"Java's own form of U+0000", "a\xC0\x80z", "a\xC0\x80z"},
    {"what follows a NUL is not text", "ab\0\xF0\x9F\x98\x80"s, "ab"},
    {"four bytes, the text after them kept", "id='\xF0\x9F\x98\x80' WHERE a=1", "id='" + kSmile + "' WHERE a=1"},
    {"four bytes, first and last", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
     "\xED\xA0\x80\xED\xB0\x80\xED\xAF\xBF\xED\xBF\xBF"},
    {"beyond U+10FFFF", "\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"},
    {"leads that no form has", "\xF5\xFF\xFE", "\xC3\xB5\xC3\xBF\xC3\xBE"},
    {"stray continuations", "a\x80\xBFz", "a\xC2\x80\xC2\xBFz"},
    {"overlong in two bytes", "\xC0\x81\xC1\xBF", "\xC3\x80\xC2\x81\xC3\x81\xC2\xBF"},
    {"overlong in three bytes", "\xE0\x9F\xBF", "\xC3\xA0\xC2\x9F\xC2\xBF"},
    {"overlong in four bytes", "\xF0\x8F\xBF\xBF", "\xC3\xB0\xC2\x8F\xC2\xBF\xC2\xBF"},
    {"two bytes cut by ASCII", "\xC3z", "\xC3\x83z"},
    {"four bytes cut by another lead", "\xF0\x9F\x98\xC3\xA9", "\xC3\xB0\xC2\x9F\xC2\x98\xC3\xA9"},
    {"two bytes cut by the end", "\xC3", "\xC3\x83"},
    {"three bytes cut by the end", "a\xE2\x82", "a\xC3\xA2\xC2\x82"},
    {"four bytes cut by the end", "a\xF0\x9F\x98", "a\xC3\xB0\xC2\x9F\xC2\x98"},
    {"cut by a NUL, text after it", "a\xF0\x9F\0\x98\x80z"s, "a\xC3\xB0\xC2\x9F"},
};

TEST(TextIntoJava, OnlyWhatJavaWouldGarbleIsRewritten) {
  for (const auto& row : kRows) {
    const bool garbled = std::strcmp(row.text.c_str(), row.expected.c_str()) != 0;
    std::string rewritten = "before";
    EXPECT_EQ(kivo::rewriteForJava(row.text.c_str(), rewritten), garbled) << row.what;
    EXPECT_EQ(rewritten, garbled ? row.expected : "before") << row.what;
  }
}

}  // namespace
