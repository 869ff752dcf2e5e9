#pragma once

#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>

namespace kivo::test {

/// Collects what the process, its Java VM included, writes to standard error while it lives.
class StderrCapture {
 public:
  StderrCapture() : file_(std::tmpfile()), saved_(dup(STDERR_FILENO)) {
    if (file_ == nullptr || saved_ < 0) throw std::runtime_error("standard error cannot be captured");
    std::fflush(stderr);
    dup2(fileno(file_), STDERR_FILENO);
  }
  ~StderrCapture() {
    std::fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    std::fclose(file_);
  }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  /// @return the text so far, without the lines in which a starting VM repeats its environment's options.
  std::string text() const {
    std::fflush(stderr);
    std::string all(static_cast<size_t>(lseek(fileno(file_), 0, SEEK_END)), '\0');
    if (pread(fileno(file_), all.data(), all.size(), 0) < 0) throw std::runtime_error("the capture cannot be read");
    std::istringstream lines(all);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("Picked up JAVA_TOOL_OPTIONS", 0) != 0) kept += line + '\n';
    }
    return kept;
  }

 private:
  std::FILE* file_;
  int saved_;
};

}  // namespace kivo::test
