#include "jdbc/diagnostics.h"

#include <cstdio>

namespace kivo::jdbc {

// One call, so that lines of several threads do not mix.
void printLine(const char* line) {
  std::fprintf(stderr, "%s\n", line);
  std::fflush(stderr);
}

}  // namespace kivo::jdbc
