#include "jni/text.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "KivoUtf8.h"

namespace kivo {

/// A Java VM reads a stray byte as the character of that number, but may lose characters at the end of the text. The
/// two-byte form of that character loses none, so that Latin-1 text arrives whole.
static void appendAsLatin1(std::string& out, char byte) {
  const auto code = static_cast<unsigned char>(byte);
  out += static_cast<char>(0xC0 | code >> 6);
  out += static_cast<char>(0x80 | (code & 0x3F));
}

bool rewriteForJava(const char* text, std::string& rewritten) {
  // Surrogates in three-byte form and C0 80 are what JNI wants, so only length 4 and malformed bytes need work.
  const auto lengthAt = [](const char* at) { return utf8::detail::sequenceLength(at, 4); };
  const char* at = text;
  std::size_t length = 0;
  while (*at != '\0' && (length = lengthAt(at)) % 4 != 0) at += length;
  if (*at == '\0') return false;

  rewritten.assign(text, static_cast<std::size_t>(at - text));
  while (*at != '\0') {
    length = lengthAt(at);
    if (length == 0) {
      appendAsLatin1(rewritten, *at);
    } else if (length == 4) {
      utf8::detail::appendSurrogates(rewritten, utf8::detail::decode(at, length));
    } else {
      rewritten.append(at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return true;
}

LocalRef<jstring> newJavaText(JNIEnv* env, const char* text) {
  std::string rewritten;
  const bool needed = rewriteForJava(text, rewritten);
  return LocalRef<jstring>(env, env->NewStringUTF(needed ? rewritten.c_str() : text));
}

bool copyText(JNIEnv* env, jstring text, std::string& copy) {
  const TextCharacters characters(env, text);
  if (characters.get() == nullptr) return false;
  copy = characters.get();
  return true;
}

jint portNumber(const std::string& text) { return static_cast<jint>(std::strtol(text.c_str(), nullptr, 10)); }

}  // namespace kivo
