#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace kivosql {

enum ExitCode {
  kDone = 0,
  kFailed = 1,
  kWrongUse = 2,
  kNoConnection = 3,
  kNoJvm = 4,
  kInterrupted = 130,  ///< by Ctrl-C; Interrupt::exitCode() knows other signals
};

/// The one way in which an operation of the host fails. what() is one paragraph.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, ExitCode exitCode = kFailed, std::string javaOutput = {})
      : std::runtime_error(text), code(exitCode), details(std::move(javaOutput)) {}

  /// The same failure with the place where it occurred.
  Failure at(const std::string& place) const { return Failure(place + what(), code, details); }

  ExitCode code;
  std::string details;  ///< Java's full error output, stack traces included
};

/// @return the failure of @p work, nothing when it succeeds.
template <typename Work>
std::optional<Failure> attempt(Work work) {
  try {
    work();
    return {};
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::exception& error) {
    return Failure(error.what());
  }
}

}  // namespace kivosql
