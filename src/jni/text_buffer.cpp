#include <kivo_system.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "jni/text.h"

namespace kivo {

/// Older Java VMs, HotSpot 17 among them, silently cut a text after its last whole character within 2 GB.
static bool isCut(std::size_t length) { return length >= INT_MAX - 3 && length <= INT_MAX; }

char* copyTextToBuffer(JNIEnv* env, jstring text) {
  const TextCharacters characters(env, text);
  if (characters.get() == nullptr) return nullptr;
  const std::size_t length = std::strlen(characters.get());
  if (isCut(length)) return nullptr;
  const std::size_t size = length + 1;
  char* buffer = static_cast<char*>(std::malloc(size));
  if (buffer != nullptr) VELMAR::Kivo::intl_strlcpy(buffer, characters.get(), size);
  return buffer;
}

}  // namespace kivo
