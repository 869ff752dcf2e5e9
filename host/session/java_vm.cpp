#include "session/java_vm.h"

#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string_view>

#include "JavaVmHost.h"

namespace kivosql {

namespace {

namespace fs = std::filesystem;

void add(ClassPath& classPath, const std::string& entry) {
  static const std::regex special(R"([\[\]{}*?\\])");
  const bool isWildcard = fs::path(entry).filename() == "*";
  const std::string folder = isWildcard ? entry.substr(0, entry.size() - 1) : entry + '/';
  const std::vector<std::string> jars = kivo::pathsLike(std::regex_replace(folder, special, R"(\$&)") + "*.jar");
  std::error_code error;
  if (!isWildcard && fs::exists(entry, error)) {
    classPath.push_back(entry);
  } else if (jars.empty()) {
    throw Failure("the class path has " + entry + ", which does not exist", kWrongUse);
  }
  classPath.insert(classPath.end(), jars.begin(), jars.end());
}

/// Java encodes the names of files, and what it writes to standard error, as the locale says; "C" has ASCII alone.
void haveJavaUseUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  const bool does = locale != nullptr && std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  if (locale != nullptr) freelocale(locale);
  if (!does) setenv("LC_ALL", "C.UTF-8", 1);
}

}  // namespace

ClassPath findClassPath(const std::vector<std::string>& given) {
  ClassPath classPath;
  for (const std::string& entries : given) {
    for (const std::string& entry : kivo::splitPath(entries)) add(classPath, entry);
  }
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  const fs::path companion = (program / "../share/java" / kCompanionJar).lexically_normal();
  if (fs::exists(companion, error)) classPath.push_back(companion);
  for (const DriverJar& driver : kDriverJars) {
    if (fs::exists(driver.jar, error)) classPath.emplace_back(driver.jar);
  }
  return classPath;
}

std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes) {
  if (jvm.library.empty()) return "no Java VM found";
  std::string library = jvm.library;
  std::string entries;
  for (const std::string& entry : classPath) entries += (entries.empty() ? "" : ":") + entry;
  std::string error;
  haveJavaUseUtf8();
  return javaInit(library, entries, heapMegabytes, error) ? "" : error;
}

}  // namespace kivosql
