#pragma once

#include <string>

#include "jvm/jvm_finder.h"

namespace kivosql {

/// Why a maximum heap cannot be had here; empty when it can. HotSpot ends the whole process over a bad one.
std::string heapFault(int megabytes);

/// Memory of the machine, in megabytes.
long machineMegabytes();

/// Starts the process's Java VM. @return why not; empty when it runs.
std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes);

}  // namespace kivosql
