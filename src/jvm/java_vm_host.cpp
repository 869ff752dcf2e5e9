#include <dlfcn.h>
#include <kivo_system.h>

#include "JavaVmHost.h"

JavaVM* _globaljvm = nullptr;
std::string _jvmPath;

namespace {

constexpr const char* kNoFunction = "could not find function to create Java VM";
constexpr const char* kNotCreated = "could not create Java VM";

using CreateJavaVm = decltype(&JNI_CreateJavaVM);

std::string cannotOpen(const std::string& path) {
  std::string text = "could not open Java VM shared library '" + path + "'";
  const char* reason = dlerror();
  return reason == nullptr ? text : text + ": " + reason;
}

/// HotSpot ends the process with exit(1) when the maximum heap is below the fixed initial one. Other VMs decide for
/// themselves.
bool endsTheProcess(void* library, int maxHeapMb) {
  return maxHeapMb >= 1 && maxHeapMb <= 15 && dlsym(library, "gHotSpotVMStructs") != nullptr;
}

bool createVm(CreateJavaVm create, std::string& classPathOption, char* maxHeapOption) {
  char initialHeapOption[] = "-Xms16m";
  char timeZoneOption[] = "-Duser.timezone=UTC";
  JavaVMOption options[] = {{classPathOption.data(), nullptr},
                            {initialHeapOption, nullptr},
                            {maxHeapOption, nullptr},
                            {timeZoneOption, nullptr}};
  JavaVMInitArgs arguments{JNI_VERSION_1_4, 4, options, JNI_FALSE};
  JNIEnv* env = nullptr;
  return create(&_globaljvm, reinterpret_cast<void**>(&env), &arguments) >= 0;
}

}  // namespace

bool javaInit(std::string& jvmLibPath, std::string& classPath, int maxHeapMb, std::string& errorOut) {
  std::string classPathOption = "-Djava.class.path=" + classPath;
  char maxHeapOption[32];
  VELMAR::Kivo::intl_snprintf(maxHeapOption, sizeof maxHeapOption, "-Xmx%dm", maxHeapMb);
  _jvmPath = jvmLibPath;

  // Global, so that libraries loaded later resolve the VM's functions. Never closed: the VM outlives every object.
  void* library = dlopen(_jvmPath.c_str(), RTLD_LAZY | RTLD_GLOBAL);
  if (library == nullptr) {
    errorOut = cannotOpen(_jvmPath);
    return false;
  }
  const auto create = reinterpret_cast<CreateJavaVm>(dlsym(library, "JNI_CreateJavaVM"));
  if (create == nullptr) {
    errorOut = kNoFunction;
    return false;
  }
  if (endsTheProcess(library, maxHeapMb) || !createVm(create, classPathOption, maxHeapOption)) {
    errorOut = kNotCreated;
    return false;
  }
  return true;
}

// Empty on purpose: a Java VM cannot be started twice in a process, so it lives until the process ends.
void javaDestroy() {}
