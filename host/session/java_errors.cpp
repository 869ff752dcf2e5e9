#include "session/java_errors.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace kivosql {

namespace {

bool startsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

/// Drops what stands before the end of the first @p mark.
void dropThrough(std::string_view& text, std::string_view mark) {
  const std::size_t at = text.find(mark);
  if (at != std::string_view::npos) text.remove_prefix(at + mark.size());
}

/// The exception's class without its package, and its message; nothing for a line of a stack trace.
std::string_view message(std::string_view line) {
  const std::size_t indent = std::min(line.find_first_not_of(" \t\r"), line.size());
  line.remove_prefix(indent);
  if (indent > 0 && (startsWith(line, "at ") || startsWith(line, "... "))) return {};
  if (startsWith(line, "Exception in thread \"")) dropThrough(line, "\" ");
  if (startsWith(line, "Caused by: ")) dropThrough(line, ": ");

  const std::size_t word = line.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_.");
  const bool isPackage = word != std::string_view::npos && word > 0 && line[word - 1] == '.' &&
                         std::isupper(static_cast<unsigned char>(line[word])) != 0;
  if (isPackage) line.remove_prefix(word);
  return line;
}

/// Causes repeat one another, often under another exception's name.
void append(std::string& paragraph, std::string_view text) {
  std::string_view said = text;
  dropThrough(said, ": ");
  if (text.empty() || paragraph.find(said) != std::string::npos) return;
  if (!paragraph.empty()) paragraph += ' ';
  paragraph += text;
}

}  // namespace

JavaErrors::JavaErrors() : original_(dup(STDERR_FILENO)), file_(memfd_create("java-errors", MFD_CLOEXEC)) {
  dup2(file_, STDERR_FILENO);
}

JavaErrors::~JavaErrors() {
  dup2(original_, STDERR_FILENO);
  close(original_);
  close(file_);
}

std::string JavaErrors::take() const {
  const off_t size = lseek(file_, 0, SEEK_CUR);
  if (size <= 0) return {};
  std::string printed(static_cast<std::size_t>(size), '\0');
  const ssize_t length = pread(file_, printed.data(), printed.size(), 0);
  printed.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  // Descriptor 2 shares the offset, so the next line starts the file afresh.
  if (ftruncate(file_, 0) == 0) lseek(file_, 0, SEEK_SET);
  return printed;
}

std::string readable(const std::string& text, const std::string& descriptions) {
  std::string paragraph;
  std::istringstream lines(text + '\n' + descriptions);
  for (std::string line; std::getline(lines, line);) append(paragraph, message(line));
  return paragraph.empty() ? "the operation failed, and Java gave no reason" : paragraph;
}

}  // namespace kivosql
