#pragma once

#include <jni.h>

#include <cstddef>
#include <string>
#include <vector>

#include "jni/local_ref.h"
#include "jni/method.h"

namespace kivo {

/// What native code calls of the jar's BatchReader and Slab.
struct ReaderMethods {
  jmethodID schema = nullptr;
  jmethodID read = nullptr;
  jmethodID slabs = nullptr;
  jmethodID failure = nullptr;
  jmethodID close = nullptr;
  jmethodID slabMemory = nullptr;
  jmethodID slabRelease = nullptr;
};

/// Looks the methods up. @return false when the jar lacks one, with Java's exception pending.
bool findReaderMethods(JNIEnv* env, jclass reader, ReaderMethods& methods);

/// How a batch was read.
enum class BatchState : jlong { rows, end, databaseFailed, failed };

/// Where the buffers of a field are within its slab; -1 for one that there is none of.
struct FieldPlaces {
  jlong length;
  jlong nullCount;
  jlong buffers[3];
};

/// A batch as Java hands it over.
struct JavaBatch {
  explicit JavaBatch(JNIEnv* env) : slabs(env) {}

  BatchState state = BatchState::rows;
  jlong rows = 0;
  std::vector<FieldPlaces> places;  ///< of each field in pre-order
  LocalRef<jobjectArray> slabs;     ///< likewise
};

/// The three return false when a call came to nothing, with Java's exception pending if there is one. Only
/// std::bad_alloc can escape.
bool readDescription(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::string& description);
bool readBatch(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::size_t fields, JavaBatch& batch);
bool readFailure(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::string& text);

}  // namespace kivo
