#include "jvm/find_jvm.h"

#include <glob.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>

namespace kivo {

namespace {

namespace fs = std::filesystem;

constexpr int kLeastHeap = 16;  // the heap that the library starts with

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// The paths of a pattern with braces and wildcards.
std::vector<std::string> pathsLike(const std::string& pattern) {
  glob_t found{};
  glob(pattern.c_str(), GLOB_BRACE, nullptr, &found);
  std::vector<std::string> paths(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return paths;
}

/// @param library in home/lib/server
std::string versionOf(const fs::path& library) {
  constexpr std::string_view kKey = "JAVA_VERSION=\"";
  std::ifstream release(library.parent_path().parent_path().parent_path() / "release");
  for (std::string line; std::getline(release, line);) {
    if (line.rfind(kKey, 0) == 0) return line.substr(kKey.size(), line.rfind('"') - kKey.size());
  }
  return {};
}

std::string homeOfJavaOnPath() {
  std::error_code error;
  for (const std::string& folder : splitPath(environment("PATH"))) {
    const fs::path java = fs::canonical(fs::path(folder) / "java", error);
    if (!error) return java.parent_path().parent_path();
  }
  return {};
}

/// Whether this much address space can be reserved; a limit of the shell may forbid it.
bool canReserve(unsigned long megabytes) {
  const std::size_t size = megabytes << 20U;
  void* reserved = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return reserved != MAP_FAILED && munmap(reserved, size) == 0;
}

}  // namespace

Jvm findJvm(const std::string& given) {
  std::error_code error;
  if (fs::is_regular_file(given, error)) return {given, versionOf(fs::canonical(given, error)), "--jvm"};
  const std::pair<std::string, const char*> all[] = {{given, "--jvm"},
                                                     {environment("JAVA_HOME"), "JAVA_HOME"},
                                                     {homeOfJavaOnPath(), "the java on the path"},
                                                     {"/usr/lib/jvm/{default-java,*}", "/usr/lib/jvm"}};
  for (const auto& [home, foundBy] : all) {
    const auto libraries = pathsLike(home + "/{lib,jre/lib/amd64,lib/amd64}/server/libjvm.so");
    if (!home.empty() && !libraries.empty()) return {libraries[0], versionOf(libraries[0]), foundBy};
    // What was given is not replaced by what another place has.
    if (!given.empty()) break;
  }
  return {};
}

std::string heapFault(int megabytes) {
  if (megabytes < kLeastHeap) return "a Java heap takes at least " + std::to_string(kLeastHeap) + " MB";
  const auto heap = static_cast<unsigned long>(megabytes);
  if (heap > machineMegabytes()) {
    return "a Java heap of " + std::to_string(heap) + " MB is more than this machine has, " +
           std::to_string(machineMegabytes()) + " MB";
  }
  if (!canReserve(heap)) return "the memory limit of this process (ulimit -v) is too low for this Java heap";
  return {};
}

unsigned long machineMegabytes() {
  return static_cast<unsigned long>(sysconf(_SC_PHYS_PAGES)) / 1024 *
         (static_cast<unsigned long>(sysconf(_SC_PAGESIZE)) / 1024);
}

std::vector<std::string> splitPath(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, ':');) {
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
}

}  // namespace kivo
