#include "kivo_system.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace VELMAR::Kivo {

int intl_snprintf(char* buffer, unsigned long size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}

unsigned long intl_strlcpy(char* destination, const char* source, unsigned long size) {
  const unsigned long length = std::strlen(source);
  if (size == 0) return length;
  const unsigned long copied = std::min(length, size - 1);
  std::memcpy(destination, source, copied);
  destination[copied] = '\0';
  return length;
}

}  // namespace VELMAR::Kivo
