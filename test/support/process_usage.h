#pragma once

#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace kivo::test {

inline long openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

inline double residentKb() {
  std::ifstream statm("/proc/self/statm");
  double total = 0;
  double resident = 0;
  statm >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// What malloc has handed out, to all libraries of the process.
inline double allocatedKb() { return static_cast<double>(mallinfo2().uordblks) / 1024; }

}  // namespace kivo::test
