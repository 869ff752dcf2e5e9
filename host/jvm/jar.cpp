#include "jvm/jar.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string_view>

namespace kivosql {

namespace {

// A jar is a zip file, which ends with its directory, a record of 22 bytes on it, and a comment of up to 65,535 bytes.
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kLongestEnd = kEndSize + 65535;
constexpr std::string_view kEndMark("PK\x05\x06", 4);
constexpr std::string_view kDirectoryMark("PK\x01\x02", 4);
constexpr std::size_t kDirectorySizeAt = 12;
constexpr std::uint32_t kUnknownSize = 0xFFFFFFFF;  // it stands elsewhere in very large files

std::string readAt(std::ifstream& file, std::size_t position, std::size_t length) {
  std::string bytes(length, '\0');
  file.seekg(static_cast<std::streamoff>(position)).read(bytes.data(), static_cast<std::streamsize>(length));
  return file ? bytes : std::string();
}

std::uint32_t number(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t byte = 4; byte-- > 0;) value = value << 8U | static_cast<unsigned char>(bytes[at + byte]);
  return value;
}

}  // namespace

bool isJar(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) return false;
  const auto size = static_cast<std::size_t>(file.tellg());
  const std::size_t begin = size - std::min(size, kLongestEnd);
  const std::string tail = readAt(file, begin, size - begin);
  const std::size_t end = tail.rfind(kEndMark);
  if (end == std::string::npos || tail.size() - end < kEndSize) return false;
  const std::uint32_t directory = number(tail, end + kDirectorySizeAt);
  if (directory == kUnknownSize || directory == 0) return true;
  if (directory > begin + end) return false;
  return readAt(file, begin + end - directory, kDirectoryMark.size()) == kDirectoryMark;
}

}  // namespace kivosql
