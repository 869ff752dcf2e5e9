#pragma once

// What all examples share: starting the Java VM and printing a table. The calls into the library are in the examples.

#include <cstdlib>
#include <string>
#include <vector>

namespace example {

/// Starts the Java VM that the environment variables KIVO_JVM (path of libjvm.so) and KIVO_CLASSPATH name; without
/// either, or when the VM does not start, says so and ends the program with status 4.
void startJavaVm(int maxHeapMb = 256);

/// Ends the program with status 1 unless @p done; @p what says what failed.
void require(bool done, const std::string& what);

/// Rows of text; the first is the heading. Null marks SQL NULL.
struct Cell {
  std::string text;
  bool isNull = false;
};
using Table = std::vector<std::vector<Cell>>;

/// Takes over a value from getColumn() of any of the three classes: frees it and converts it to standard UTF-8.
Cell takeCell(char* value);

/// Prints the table with a title, its columns aligned by their width on a terminal.
void printTable(const std::string& title, const Table& table);

}  // namespace example
