#include <kivo_system.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "jni/text.h"

namespace kivo {

char* copyTextToBuffer(JNIEnv* env, jstring text) {
  const TextCharacters characters(env, text);
  if (characters.get() == nullptr) return nullptr;
  const std::size_t size = std::strlen(characters.get()) + 1;
  char* buffer = static_cast<char*>(std::malloc(size));
  if (buffer != nullptr) VELMAR::Kivo::intl_strlcpy(buffer, characters.get(), size);
  return buffer;
}

}  // namespace kivo
