#pragma once

#include <jni.h>

namespace kivo {

/// The calling thread's environment, for code that any thread may run. A thread that the Java VM does not know is
/// attached as a daemon, and detached when it ends. @return null when there is no VM or it refuses.
JNIEnv* threadEnvironment();

}  // namespace kivo
