#include "vm_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "JavaVmHost.h"

namespace kivo::test {
namespace {

namespace fs = std::filesystem;

std::string variable(const char* name, const char* otherwise = "") {
  const char* value = std::getenv(name);
  return value == nullptr || *value == '\0' ? otherwise : value;
}

/// The Java homes to try, ':' between them.
std::string javaHomes() {
  std::string homes = variable("JAVA_HOME");
  std::istringstream folders(variable("PATH"));
  for (std::string folder; std::getline(folders, folder, ':');) {
    std::error_code missing;
    const fs::path java = fs::canonical(fs::path(folder) / "java", missing);
    if (!missing) homes += ':' + java.parent_path().parent_path().string();
  }
  return homes + ":/usr/lib/jvm/default-java";
}

}  // namespace

std::string jvmLibrary() {
  std::istringstream homes(javaHomes());
  for (std::string home; std::getline(homes, home, ':');) {
    std::string library = home + "/lib/server/libjvm.so";
    if (fs::exists(library)) return library;
  }
  throw std::runtime_error("no lib/server/libjvm.so in any of " + javaHomes());
}

void startVm() {
  if (_globaljvm != nullptr) return;
  std::string library = jvmLibrary();
  std::string classPath = variable("KIVO_TEST_CLASSPATH");
  if (classPath.empty()) throw std::runtime_error("KIVO_TEST_CLASSPATH is not set: start the test through ctest");
  std::string error;
  if (!javaInit(library, classPath, std::stoi(variable("KIVO_TEST_HEAP_MB", "256")), error)) {
    throw std::runtime_error(error);
  }
}

void VmEnvironment::SetUp() {
  try {
    startVm();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "no test can run: %s\n", failure.what());
    std::_Exit(EXIT_FAILURE);
  }
}

}  // namespace kivo::test
