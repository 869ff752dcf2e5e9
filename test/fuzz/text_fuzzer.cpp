#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "KivoUtf8.h"
#include "fuzzing.h"
#include "jni/text.h"

using kivo::fuzz::require;
using kivo::utf8::Converted;
using kivo::utf8::toModified;
using kivo::utf8::toStandard;

namespace {

bool isModifiedUtf8(const std::string& text) {
  for (const char byte : text) {
    if (byte == '\0' || static_cast<unsigned char>(byte) >= 0xF0) return false;
  }
  std::string unused;
  return !kivo::rewriteForJava(text.c_str(), unused);
}

/// A buffer of exactly the text and its NUL, so that a read beyond it is a finding.
std::unique_ptr<char[]> exactCopy(const std::string& text) {
  std::unique_ptr<char[]> copy(new char[text.size() + 1]);
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  return copy;
}

/// @param standard valid UTF-8
std::ptrdiff_t characters(const std::string& standard) {
  return std::count_if(standard.begin(), standard.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
}

void checkIntoJava(const std::string& whole) {
  const std::unique_ptr<char[]> text = exactCopy(whole);
  std::string rewritten = text.get();
  kivo::rewriteForJava(text.get(), rewritten);
  require(isModifiedUtf8(rewritten), "what goes into Java is modified UTF-8");
  const Converted before = toStandard(text.get());
  const std::string after = toStandard(rewritten).text;
  require(before.replacements > 0 || after == before.text, "the rewriting changes no character of valid text");
  require(characters(after) == characters(before.text), "each malformed byte becomes one character");
}

void checkConversions(const std::string& text) {
  const Converted modified = toModified(text);
  require(isModifiedUtf8(modified.text), "the modified form is modified UTF-8");
  const Converted back = toStandard(modified.text);
  require(back.replacements == 0, "the modified form is valid");
  require((back.text == text) == (modified.replacements == 0), "valid text, and only that, comes back");

  const Converted standard = toStandard(text);
  require(toModified(standard.text).replacements == 0, "the standard form is valid");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = kivo::fuzz::text(data, size);
  checkIntoJava(text);
  checkConversions(text);
  kivo::portNumber(text);
  return 0;
}
