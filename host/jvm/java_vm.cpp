#include "jvm/java_vm.h"

#include <glob.h>
#include <langinfo.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string_view>

#include "JavaVmHost.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

namespace fs = std::filesystem;

constexpr int kLeastHeap = 16;  // the heap that the library starts with

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, ':');) {
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
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

/// The paths of a pattern with braces and wildcards.
std::vector<std::string> matches(const std::string& pattern) {
  glob_t found{};
  glob(pattern.c_str(), GLOB_BRACE, nullptr, &found);
  std::vector<std::string> paths(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return paths;
}

std::string homeOfJavaOnPath() {
  std::error_code error;
  for (const std::string& folder : split(environment("PATH"))) {
    const fs::path java = fs::canonical(fs::path(folder) / "java", error);
    if (!error) return java.parent_path().parent_path();
  }
  return {};
}

void add(ClassPath& classPath, const std::string& entry) {
  static const std::regex special(R"([\[\]{}*?\\])");
  const bool isWildcard = fs::path(entry).filename() == "*";
  const std::string folder = isWildcard ? entry.substr(0, entry.size() - 1) : entry + '/';
  const std::vector<std::string> jars = matches(std::regex_replace(folder, special, R"(\$&)") + "*.jar");
  std::error_code error;
  if (!isWildcard && fs::exists(entry, error)) {
    classPath.entries.push_back(entry);
  } else if (jars.empty()) {
    classPath.missing.push_back(entry);
  }
  classPath.entries.insert(classPath.entries.end(), jars.begin(), jars.end());
}

/// Whether this much address space can be reserved; a limit of the shell may forbid it.
bool canReserve(unsigned long megabytes) {
  const std::size_t size = megabytes << 20U;
  void* reserved = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return reserved != MAP_FAILED && munmap(reserved, size) == 0;
}

/// Java encodes the names of files, and what it writes to standard error, as the locale says; "C" has ASCII alone.
void haveJavaUseUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  const bool does = locale != nullptr && std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  if (locale != nullptr) freelocale(locale);
  if (!does) setenv("LC_ALL", "C.UTF-8", 1);
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
    const auto libraries = matches(home + "/{lib,jre/lib/amd64,lib/amd64}/server/libjvm.so");
    if (!home.empty() && !libraries.empty()) return {libraries[0], versionOf(libraries[0]), foundBy};
    // What was given is not replaced by what another place has.
    if (!given.empty()) break;
  }
  return {};
}

ClassPath findClassPath(const std::vector<std::string>& given) {
  ClassPath classPath;
  for (const std::string& entries : given) {
    for (const std::string& entry : split(entries)) add(classPath, entry);
  }
  classPath.given = classPath.entries;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& folder : {program / "../share/java", fs::path("/usr/share/java")}) {
    const fs::path jar = (folder / "kivo-jdbc.jar").lexically_normal();
    if (classPath.companion.empty() && fs::exists(jar, error)) classPath.companion = jar;
  }
  if (!classPath.companion.empty()) classPath.entries.push_back(classPath.companion);
  for (const DriverJar& driver : kDriverJars) {
    if (fs::exists(driver.jar, error)) classPath.entries.emplace_back(driver.jar);
  }
  return classPath;
}

std::string heapFault(int megabytes) {
  if (megabytes < kLeastHeap) return "a Java heap takes at least " + std::to_string(kLeastHeap) + " MB";
  const auto heap = static_cast<unsigned long>(megabytes);
  if (heap > machineMegabytes()) {
    return "a Java heap of " + grouped(heap) + " MB is more than this machine has, " + grouped(machineMegabytes()) +
           " MB";
  }
  if (!canReserve(heap)) return "the memory limit of this process (ulimit -v) is too low for this Java heap";
  return {};
}

unsigned long machineMegabytes() {
  return static_cast<unsigned long>(sysconf(_SC_PHYS_PAGES)) / 1024 *
         (static_cast<unsigned long>(sysconf(_SC_PAGESIZE)) / 1024);
}

std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes) {
  if (jvm.library.empty()) return "no Java VM found";
  std::string library = jvm.library;
  std::string entries;
  for (const std::string& entry : classPath.entries) entries += (entries.empty() ? "" : ":") + entry;
  std::string error;
  haveJavaUseUtf8();
  return javaInit(library, entries, heapMegabytes, error) ? "" : error;
}

}  // namespace kivosql
