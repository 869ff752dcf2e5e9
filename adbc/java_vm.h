#pragma once

#include <jni.h>

#include <string>

namespace kivo::adbc {

/// What a database says of the Java VM, in case that there is none yet.
struct VmChoice {
  std::string jvm;      ///< a Java home or a libjvm.so; empty to search
  int heapMb = 0;       ///< maximum Java heap; 0 for the VM's own default
  std::string options;  ///< more options of the VM, with spaces between them
};

/// Sees to it that there is a VM: the process's own as it is, or one that is started here. Any thread. Throws.
void needVm(const VmChoice& choice);

/// The calling thread's environment, which is attached as a daemon until it ends. Throws without a VM, and in a child
/// process that was forked off one with a VM, where every call would hang.
JNIEnv* environment();

/// Whether this process was forked off one with a VM, and what to say then.
bool isForked();
constexpr const char* kForked = "a Java VM does not survive fork(): this process cannot use the driver";

/// The classes that native code names. The companion jar, beside this library, has a class loader of its own, so that
/// the class path of the VM does not matter.
enum class JarClass { database, errorReport, batchReader };

/// @return a global reference, which stays. Throws without the jar.
jclass jarClass(JNIEnv* env, JarClass which);

}  // namespace kivo::adbc
