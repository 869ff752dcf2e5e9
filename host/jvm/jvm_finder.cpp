#include "jvm/jvm_finder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kivosql {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraryPlaces[] = {"lib/server/libjvm.so", "jre/lib/amd64/server/libjvm.so",
                                          "lib/amd64/server/libjvm.so"};
constexpr const char* kSystemHomes = "/usr/lib/jvm";
constexpr const char* kCompanionPlaces[] = {"../share/java/kivo-jdbc.jar", "/usr/share/java/kivo-jdbc.jar"};

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

std::string versionOf(const fs::path& home) {
  constexpr const char* kKey = "JAVA_VERSION=\"";
  std::ifstream release(home / "release");
  for (std::string line; std::getline(release, line);) {
    if (line.rfind(kKey, 0) == 0) return line.substr(std::string(kKey).size(), line.rfind('"') - 14);
  }
  return {};
}

Jvm inHome(const fs::path& home, const std::string& foundBy) {
  std::error_code error;
  for (const char* place : kLibraryPlaces) {
    if (!home.empty() && fs::exists(home / place, error)) return {home / place, versionOf(home), foundBy};
  }
  return {};
}

fs::path homeOfJavaOnPath() {
  std::error_code error;
  for (const std::string& folder : split(environment("PATH"))) {
    const fs::path java = fs::canonical(fs::path(folder) / "java", error);
    if (!error) return java.parent_path().parent_path();
  }
  return {};
}

/// The distribution's default first, then whatever else it has.
std::vector<fs::path> systemHomes() {
  std::error_code error;
  std::vector<fs::path> homes;
  for (const auto& entry : fs::directory_iterator(kSystemHomes, error)) homes.push_back(entry.path());
  std::sort(homes.begin(), homes.end());
  homes.insert(homes.begin(), fs::path(kSystemHomes) / "default-java");
  return homes;
}

Jvm givenJvm(const std::string& given) {
  std::error_code error;
  const fs::path path = fs::canonical(given, error);
  if (fs::is_directory(path, error)) return inHome(path, "--jvm");
  // The home is three folders up: home/lib/server/libjvm.so.
  if (fs::is_regular_file(path, error)) {
    return {path, versionOf(path.parent_path().parent_path().parent_path()), "--jvm"};
  }
  return {};
}

std::vector<std::string> jarsIn(const fs::path& folder) {
  std::error_code error;
  std::vector<std::string> jars;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".jar") jars.push_back(entry.path());
  }
  std::sort(jars.begin(), jars.end());
  return jars;
}

void add(ClassPath& classPath, const std::string& entry) {
  std::error_code error;
  const bool wildcard = fs::path(entry).filename() == "*";
  // A lone wildcard has no folder before it.
  const fs::path path = wildcard ? ("." / fs::path(entry)).parent_path() : fs::path(entry);
  if (!fs::exists(path, error)) {
    classPath.missing.push_back(entry);
    return;
  }
  if (!wildcard) classPath.entries.push_back(path);
  if (!fs::is_directory(path, error)) return;
  for (const std::string& jar : jarsIn(path)) classPath.entries.push_back(jar);
}

}  // namespace

Jvm findJvm(const std::string& given) {
  if (!given.empty()) return givenJvm(given);
  Jvm jvm = inHome(environment("JAVA_HOME"), "JAVA_HOME");
  if (jvm.library.empty()) jvm = inHome(homeOfJavaOnPath(), "the java on the path");
  for (const fs::path& home : systemHomes()) {
    if (jvm.library.empty()) jvm = inHome(home, kSystemHomes);
  }
  return jvm;
}

ClassPath findClassPath(const std::vector<std::string>& given) {
  ClassPath classPath;
  for (const std::string& entries : given) {
    for (const std::string& entry : split(entries)) add(classPath, entry);
  }
  classPath.given = classPath.entries;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const char* place : kCompanionPlaces) {
    const fs::path jar = (program / place).lexically_normal();
    if (classPath.companion.empty() && fs::exists(jar, error)) classPath.companion = jar;
  }
  if (!classPath.companion.empty()) classPath.entries.push_back(classPath.companion);
  for (const DriverJar& driver : kDriverJars) {
    if (fs::exists(driver.jar, error)) classPath.entries.emplace_back(driver.jar);
  }
  return classPath;
}

std::string joined(const std::vector<std::string>& entries) {
  std::string text;
  for (const std::string& entry : entries) text += (text.empty() ? "" : ":") + entry;
  return text;
}

}  // namespace kivosql
