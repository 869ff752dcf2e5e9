#include "vm_fixture.h"

#include <glob.h>

#include <cstdio>
#include <cstdlib>

#include "JavaVmHost.h"

namespace kivo::test {
namespace {

std::string variable(const char* name, const char* otherwise) {
  const char* value = std::getenv(name);
  return value == nullptr || *value == '\0' ? otherwise : value;
}

}  // namespace

std::string jvmLibrary() {
  const std::string pattern = variable("JAVA_HOME", "/usr/lib/jvm/*") + "/lib/server/libjvm.so";
  glob_t found{};
  std::string library = glob(pattern.c_str(), 0, nullptr, &found) == 0 ? found.gl_pathv[0] : pattern;
  globfree(&found);
  return library;
}

void VmEnvironment::SetUp() {
  if (_globaljvm != nullptr) return;
  std::string library = jvmLibrary();
  std::string classPath = variable("KIVO_TEST_CLASSPATH", "");
  std::string error = "KIVO_TEST_CLASSPATH is not set: start the test through ctest";
  const int heapMb = std::stoi(variable("KIVO_TEST_HEAP_MB", "256"));
  if (!classPath.empty() && javaInit(library, classPath, heapMb, error)) return;
  std::fprintf(stderr, "no test can run: %s\n", error.c_str());
  std::_Exit(EXIT_FAILURE);
}

}  // namespace kivo::test
