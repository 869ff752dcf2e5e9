#pragma once

#include <string>
#include <vector>

namespace kivo {

struct Jvm {
  std::string library;  ///< path of libjvm.so; empty when none was found
  std::string version;  ///< from its "release" file; empty without one
  std::string foundBy;
};

/// Looks in @p given alone, a Java home or a libjvm.so, if it is not empty. Otherwise looks in JAVA_HOME, then for the
/// "java" on the path, then in the distribution's folders.
Jvm findJvm(const std::string& given);

/// Why Java cannot have this maximum heap; empty when it can. HotSpot ends the whole process if it cannot.
std::string heapFault(int megabytes);

/// Memory of the machine, in megabytes.
unsigned long machineMegabytes();

/// The parts of a text that stand between colons, without empty ones.
std::vector<std::string> splitPath(const std::string& text);

}  // namespace kivo
