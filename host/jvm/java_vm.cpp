#include "jvm/java_vm.h"

#include <langinfo.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <string_view>

#include "JavaVmHost.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr int kLeastHeap = 16;  // the heap that the library starts with

/// Whether this much address space can be reserved; a limit of the shell may forbid it.
bool canReserve(int megabytes) {
  const std::size_t size = static_cast<std::size_t>(megabytes) << 20U;
  void* reserved = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return reserved != MAP_FAILED && munmap(reserved, size) == 0;
}

/// Java writes to standard error, and opens files, in the locale's characters; a "C" locale has no others than ASCII's.
void haveJavaUseUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  const bool does = locale != nullptr && std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  if (locale != nullptr) freelocale(locale);
  if (!does) setenv("LC_ALL", "C.UTF-8", 1);
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
  haveJavaUseUtf8();
  return javaInit(library, entries, heapMegabytes, error) ? "" : error;
}

}  // namespace kivosql
