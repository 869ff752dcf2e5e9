#pragma once

namespace kivo::jdbc {

/// Writes one line to standard error, at once.
void printLine(const char* line);

}  // namespace kivo::jdbc
