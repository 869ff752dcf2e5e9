#include "java_vm.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <atomic>
#include <mutex>
#include <sstream>
#include <vector>

#include "JavaVmHost.h"
#include "arrow/environment.h"
#include "fault.h"
#include "jvm/find_jvm.h"

namespace kivo::adbc {

namespace {

std::mutex starting;
std::atomic<bool> forked{false};

/// The path of the process's libjvm.so; empty when none is loaded.
std::string loadedJvm() {
  std::string found;
  const auto look = [](dl_phdr_info* library, std::size_t /*size*/, void* result) {
    const std::string path = library->dlpi_name;
    constexpr std::string_view kName = "/libjvm.so";
    if (path.size() < kName.size() || path.compare(path.size() - kName.size(), kName.size(), kName) != 0) return 0;
    *static_cast<std::string*>(result) = path;
    return 1;
  };
  dl_iterate_phdr(look, &found);
  return found;
}

/// Never closed: the VM lives until the process ends.
void* open(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (library != nullptr) return library;
  const char* reason = dlerror();
  throw Fault(ADBC_STATUS_INVALID_STATE,
              "the Java VM " + path + " cannot be loaded" + (reason == nullptr ? "" : ": " + std::string(reason)));
}

template <class Function>
Function find(void* library, const char* name) {
  const auto function = reinterpret_cast<Function>(dlsym(library, name));
  if (function == nullptr) throw Fault(ADBC_STATUS_INVALID_STATE, std::string("the Java VM lacks ") + name);
  return function;
}

JavaVM* createdVm(void* library) {
  JavaVM* vm = nullptr;
  jsize count = 0;
  find<decltype(&JNI_GetCreatedJavaVMs)>(library, "JNI_GetCreatedJavaVMs")(&vm, 1, &count);
  return count > 0 ? vm : nullptr;
}

/// The VM's options. Python and other hosts keep their handlers of Ctrl-C and the like.
std::vector<std::string> optionsOf(const VmChoice& choice) {
  std::vector<std::string> options{"-Xrs", "-Duser.timezone=UTC"};
  if (choice.heapMb > 0) options.push_back("-Xmx" + std::to_string(choice.heapMb) + "m");
  std::istringstream given(choice.options);
  for (std::string option; given >> option;) options.push_back(option);
  return options;
}

JavaVM* startVm(void* library, const VmChoice& choice) {
  std::vector<std::string> texts = optionsOf(choice);
  std::vector<JavaVMOption> options;
  options.reserve(texts.size());
  for (std::string& text : texts) options.push_back({text.data(), nullptr});
  JavaVMInitArgs arguments{JNI_VERSION_1_8, static_cast<jint>(options.size()), options.data(), JNI_FALSE};
  JavaVM* vm = nullptr;
  void* env = nullptr;
  const jint code = find<decltype(&JNI_CreateJavaVM)>(library, "JNI_CreateJavaVM")(&vm, &env, &arguments);
  if (code == JNI_EEXIST) return createdVm(library);
  if (code != JNI_OK) {
    std::string list;
    for (const std::string& text : texts) list += " " + text;
    throw Fault(ADBC_STATUS_INVALID_STATE,
                "the Java VM could not be started (code " + std::to_string(code) + ") with the options" + list);
  }
  // This thread may end at any time. From now on it is attached like all others.
  vm->DetachCurrentThread();
  return vm;
}

std::string pathToStart(const VmChoice& choice) {
  const Jvm found = findJvm(choice.jvm);
  if (found.library.empty()) {
    throw Fault(ADBC_STATUS_INVALID_STATE, choice.jvm.empty()
                                               ? "no Java VM found: install one, or set adbc.jdbc.jvm or JAVA_HOME"
                                               : "there is no Java VM at " + choice.jvm);
  }
  const std::string fault = choice.heapMb > 0 ? heapFault(choice.heapMb) : "";
  if (!fault.empty()) throw Fault(ADBC_STATUS_INVALID_ARGUMENT, "adbc.jdbc.heap_mb: " + fault);
  return found.library;
}

void useVm(JavaVM* vm) {
  _globaljvm = vm;
  pthread_atfork(nullptr, nullptr, [] { forked = true; });
}

}  // namespace

void needVm(const VmChoice& choice) {
  if (forked) environment();
  const std::lock_guard lock(starting);
  if (_globaljvm != nullptr) return;
  const std::string loaded = loadedJvm();
  JavaVM* vm = loaded.empty() ? nullptr : createdVm(open(loaded));
  if (vm == nullptr) vm = startVm(open(loaded.empty() ? pathToStart(choice) : loaded), choice);
  useVm(vm);
}

JNIEnv* environment() {
  if (forked) {
    throw Fault(ADBC_STATUS_INVALID_STATE, kForked);
  }
  JNIEnv* env = threadEnvironment();
  if (env == nullptr) throw Fault(ADBC_STATUS_INTERNAL, "could not attach the thread to the Java VM");
  return env;
}

bool isForked() { return forked; }

}  // namespace kivo::adbc
