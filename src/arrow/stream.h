#pragma once

#include <jni.h>

#include <string>

#include "KivoArrow.h"
#include "arrow/reader.h"
#include "arrow/schema.h"

namespace kivo {

/// An open result on its way to a consumer: what an ArrowArrayStream points to. Any thread, one at a time.
class ArrowStream {
 public:
  explicit ArrowStream(const ReaderMethods& readerMethods) : methods(readerMethods) {}
  ~ArrowStream();
  ArrowStream(const ArrowStream&) = delete;
  ArrowStream& operator=(const ArrowStream&) = delete;

  /// Keeps a BatchReader and asks it for its columns. No exception may be pending, and none is afterwards.
  /// @return false on failure, which lastError() describes. std::bad_alloc can escape.
  bool open(JNIEnv* env, jobject batchReader);

  /// The functions of the stream: an errno number, or 0. They throw nothing.
  int getSchema(ArrowSchema& schema);
  int getNext(ArrowArray& array);
  const char* lastError() const { return error; }

 private:
  void readNext(JNIEnv* env, ArrowArray& array);
  void readNextBatch(JNIEnv* env, ArrowArray& array);
  void endAsReader(JNIEnv* env, BatchState state);
  void end(int code, const char* text);

  const ReaderMethods methods;
  jobject reader = nullptr;  // global reference
  ArrowField root;
  bool ended = false;
  int endCode = 0;                // what ended the rows; 0 while they come, and after the last one
  const char* endText = nullptr;  // null with the code 0
  const char* error = nullptr;    // of the last call; null when it succeeded
  std::string message;            // keeps a text that is no constant
};

/// Makes a stream of a BatchReader. No exception may be pending, and none is afterwards.
/// @return false on failure; @p stream is untouched then. std::bad_alloc can escape, with everything released.
bool openStream(JNIEnv* env, const ReaderMethods& methods, jobject reader, ArrowArrayStream& stream,
                std::string& errorOut);

}  // namespace kivo
