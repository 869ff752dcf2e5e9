/// @file
/// The Java VM of the process.
#pragma once

#include <jni.h>

#include <string>

#include "kivo_export.h"

/// The Java VM of the process: null until javaInit() has created it, then set until the process ends.
/// Read it from any thread afterwards, for instance to detach a thread of your own. Only javaInit() writes it. A host
/// whose process has a VM already, made by another library, may store that one here instead of calling javaInit().
KIVO_EXPORT extern JavaVM* _globaljvm;

/// The JVM library path of the most recent javaInit() call, whether or not that call succeeded.
KIVO_EXPORT extern std::string _jvmPath;

/// Loads the JVM shared library and creates the one Java VM of the process.
///
/// Call it once, on one thread, before any object of this library is made; concurrent calls are not supported. The
/// calling thread is attached to the VM and stays attached. The VM lives until the process ends, and its default time
/// zone is UTC.
///
/// HotSpot replaces the handlers of SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGILL, SIGBUS, SIGFPE, SIGSEGV, SIGUSR2, SIGPIPE
/// and SIGXFSZ. A host that handles SIGHUP, SIGINT, SIGQUIT or SIGTERM itself calls sigaction() after javaInit(), or
/// starts with JAVA_TOOL_OPTIONS=-Xrs; libjsig.so does not keep these handlers. docs/hosting.md has the details.
///
/// @param jvmLibPath file path of the JVM shared library (libjvm.so), handed to the loader unchanged.
/// @param classPath  Java class path, entries separated by ':'; handed to the VM unchanged ("dir/*" is not expanded).
/// @param maxHeapMb  maximum Java heap in megabytes. The initial heap is 16 MB; on HotSpot a smaller maximum is a
///                   failure. A size that the machine cannot reserve makes HotSpot end the whole process: check it
///                   first.
/// @param errorOut   replaced by an error text on failure, untouched on success.
/// @return true when the VM was created. A second call after a success fails and leaves the first VM in place.
///
/// Throws nothing of its own; std::bad_alloc can escape. Prints nothing, though the VM may, for instance about a
/// maximum heap of 0 or less.
KIVO_EXPORT bool javaInit(std::string& jvmLibPath, std::string& classPath, int maxHeapMb, std::string& errorOut);

/// The counterpart of javaInit() in the interface. It has no effect: a Java VM cannot be started twice in one process.
KIVO_EXPORT void javaDestroy();
