#include "java_vm.h"

#include <sys/mman.h>
#include <unistd.h>

#include "JavaVmHost.h"
#include "messages.h"

namespace kivosql {

namespace {

constexpr int kLeastHeap = 16;  // the heap that the library starts with

/// Whether so much address space is to be had, which a limit of the shell's may forbid.
bool canReserve(int megabytes) {
  const std::size_t size = static_cast<std::size_t>(megabytes) << 20U;
  void* reserved = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return reserved != MAP_FAILED && munmap(reserved, size) == 0;
}

}  // namespace

long machineMegabytes() { return sysconf(_SC_PHYS_PAGES) / 1024 * (sysconf(_SC_PAGESIZE) / 1024); }

std::string heapFault(int megabytes) {
  if (megabytes < kLeastHeap) return "a Java heap takes at least " + std::to_string(kLeastHeap) + " MB";
  if (megabytes > machineMegabytes()) {
    return "a Java heap of " + grouped(static_cast<unsigned>(megabytes)) + " MB is more than this machine has, " +
           grouped(static_cast<unsigned long>(machineMegabytes())) + " MB";
  }
  if (!canReserve(megabytes))
    return "a Java heap of this size is beyond the limit of this process's memory (ulimit -v)";
  return {};
}

std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes) {
  std::string library = jvm.library;
  std::string entries = joined(classPath.entries);
  std::string error;
  return javaInit(library, entries, heapMegabytes, error) ? "" : error;
}

}  // namespace kivosql
