#pragma once

#include <jni.h>

#include "KivoArrow.h"
#include "arrow/reader.h"
#include "arrow/schema.h"

namespace kivo {

/// Turns a batch into an array of structures, whose buffers are the memory that Java filled.
/// @return false when a JNI call came to nothing, with Java's exception pending if there is one. Then, and when
///         std::bad_alloc escapes, @p array is untouched, and everything is released.
bool exportBatch(JNIEnv* env, const ReaderMethods& methods, const ArrowField& root, const JavaBatch& batch,
                 ArrowArray& array);

}  // namespace kivo
