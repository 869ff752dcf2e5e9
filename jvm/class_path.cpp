#include "jvm/class_path.h"

#include <algorithm>
#include <filesystem>

#include "jvm/find_jvm.h"

namespace kivo {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> jarsIn(const fs::path& folder) {
  std::vector<std::string> jars;
  std::error_code error;
  for (const fs::directory_entry& file : fs::directory_iterator(folder, error)) {
    if (file.is_regular_file(error) && file.path().extension() == ".jar") jars.push_back(file.path());
  }
  std::sort(jars.begin(), jars.end());
  return jars;
}

void add(std::vector<std::string>& classPath, const fs::path& entry) {
  const bool isWildcard = entry.filename() == "*";
  const std::vector<std::string> jars = jarsIn(isWildcard ? fs::absolute(entry).parent_path() : entry);
  if (!isWildcard || jars.empty()) classPath.push_back(entry);
  classPath.insert(classPath.end(), jars.begin(), jars.end());
}

}  // namespace

std::string findCompanion(const std::string& folder) {
  std::error_code error;
  for (const char* place : {".", "../share/java", "../../share/java", "/usr/share/java"}) {
    // Not by its text alone: ".." after a link leads elsewhere.
    const fs::path jar = fs::canonical(fs::path(folder) / place, error) / kCompanionJar;
    if (!error && fs::exists(jar, error)) return jar;
  }
  return {};
}

std::vector<std::string> findClassPath(const std::vector<std::string>& given) {
  std::vector<std::string> classPath;
  for (const std::string& entries : given) {
    for (const std::string& entry : splitPath(entries)) add(classPath, entry);
  }
  std::error_code error;
  const std::string companion = findCompanion(fs::read_symlink("/proc/self/exe", error).parent_path());
  if (!companion.empty()) classPath.push_back(companion);
  for (const DriverJar& driver : kDriverJars) {
    if (fs::exists(driver.jar, error)) classPath.emplace_back(driver.jar);
  }
  return classPath;
}

}  // namespace kivo
