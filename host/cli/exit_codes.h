#pragma once

namespace kivosql {

enum ExitCode {
  kDone = 0,
  kFailed = 1,
  kWrongUse = 2,
  kNoConnection = 3,
  kNoJvm = 4,
  kSignalExit = 128,   ///< and the signal's number, as a shell has it
  kInterrupted = 130,  ///< by Ctrl-C; Interrupt::exitCode() knows other signals
};

}  // namespace kivosql
