// The companion jar, whose classes are loaded here once per process.

#include <dlfcn.h>

#include <array>
#include <mutex>
#include <string>

#include "fault.h"
#include "java_object.h"
#include "java_vm.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"
#include "jvm/class_path.h"

namespace kivo::adbc {

namespace {

/// In the order of JarClass.
constexpr std::array<const char*, 3> kNames = {"com.ulvanejdbc.adbc.AdbcDatabase", "com.ulvanejdbc.adbc.ErrorReport",
                                               "com.ulvanejdbc.arrow.BatchReader"};

std::mutex loading;
std::array<jclass, kNames.size()> classes{};

/// This library's folder.
std::string ownFolder() {
  Dl_info own{};
  if (dladdr(reinterpret_cast<void*>(&jarClass), &own) == 0) return ".";
  const std::string path = own.dli_fname;
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string companionJar() {
  const std::string folder = ownFolder();
  std::string path = findCompanion(folder);
  if (!path.empty()) return path;
  throw Fault(ADBC_STATUS_INVALID_STATE, "kivo-jdbc.jar is missing: it belongs beside this library, in " + folder +
                                             ", or in share/java of the same prefix");
}

LocalRef<jclass> javaClass(JNIEnv* env, const char* name) {
  return LocalRef<jclass>(env, needed(env, env->FindClass(name)));
}

LocalRef<jobject> call(JNIEnv* env, jobject object, const JavaMethod& method) {
  LocalRef<jclass> type(env);
  const jmethodID found = needed(env, findMethodOf(env, object, type, method));
  return LocalRef<jobject>(env, needed(env, env->CallObjectMethod(object, found)));
}

LocalRef<jobject> urlOf(JNIEnv* env, const std::string& path) {
  const LocalRef<jclass> fileClass = javaClass(env, "java/io/File");
  const jmethodID make = needed(env, findMethod(env, fileClass.get(), {"<init>", "(Ljava/lang/String;)V"}));
  const LocalRef<jstring> name = javaText(env, path.c_str());
  const LocalRef<jobject> file(env, needed(env, env->NewObject(fileClass.get(), make, name.get())));
  const LocalRef<jobject> uri = call(env, file.get(), {"toURI", "()Ljava/net/URI;"});
  return call(env, uri.get(), {"toURL", "()Ljava/net/URL;"});
}

/// A loader of the jar's classes, below that of the VM's class path.
LocalRef<jobject> newLoader(JNIEnv* env) {
  const LocalRef<jobject> url = urlOf(env, companionJar());
  const LocalRef<jclass> urlClass = javaClass(env, "java/net/URL");
  const LocalRef<jobjectArray> urls(env, needed(env, env->NewObjectArray(1, urlClass.get(), url.get())));
  const LocalRef<jclass> loaders = javaClass(env, "java/net/URLClassLoader");
  const jmethodID make =
      needed(env, env->GetStaticMethodID(loaders.get(), "newInstance", "([Ljava/net/URL;)Ljava/net/URLClassLoader;"));
  return LocalRef<jobject>(env, needed(env, env->CallStaticObjectMethod(loaders.get(), make, urls.get())));
}

void load(JNIEnv* env, jobject loader, const char* name, jclass& kept) {
  LocalRef<jclass> type(env);
  const jmethodID loadClass =
      needed(env, findMethodOf(env, loader, type, {"loadClass", "(Ljava/lang/String;)Ljava/lang/Class;"}));
  const LocalRef<jstring> text = javaText(env, name);
  const LocalRef<jobject> found = callObject(env, loader, loadClass, text.get());
  if (!found) {
    env->ExceptionClear();
    throw Fault(ADBC_STATUS_INTERNAL, std::string("kivo-jdbc.jar is of another version: it lacks ") + name);
  }
  if (!keepGlobal(env, kept, found.get())) JavaObject::throwNoMemory();
}

}  // namespace

jclass jarClass(JNIEnv* env, JarClass which) {
  const std::lock_guard lock(loading);
  if (classes.back() == nullptr) {
    const LocalRef<jobject> loader = newLoader(env);
    for (std::size_t index = 0; index < kNames.size(); ++index) load(env, loader.get(), kNames[index], classes[index]);
  }
  return classes[static_cast<std::size_t>(which)];
}

}  // namespace kivo::adbc
