#pragma once

namespace kivosql {

enum ExitCode {
  kDone = 0,
  kFailed = 1,
  kWrongUse = 2,
  kNoConnection = 3,
  kNoJvm = 4,
  kInterrupted = 130,  ///< as a shell has it for SIGINT
};

}  // namespace kivosql
