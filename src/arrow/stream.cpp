#include "arrow/stream.h"

#include <cerrno>
#include <exception>
#include <memory>

#include "arrow/arrays.h"
#include "arrow/environment.h"
#include "jni/pending.h"

namespace kivo {

namespace {

constexpr const char* kOutOfMemory = "out of memory";
constexpr const char* kNoEnvironment = "could not attach the thread to the Java VM";

ArrowStream* streamOf(ArrowArrayStream* exported) { return static_cast<ArrowStream*>(exported->private_data); }

int getSchemaOf(ArrowArrayStream* exported, ArrowSchema* schema) {
  schema->release = nullptr;
  return streamOf(exported) == nullptr ? EINVAL : streamOf(exported)->getSchema(*schema);
}

int getNextOf(ArrowArrayStream* exported, ArrowArray* array) {
  array->release = nullptr;
  return streamOf(exported) == nullptr ? EINVAL : streamOf(exported)->getNext(*array);
}

const char* getLastErrorOf(ArrowArrayStream* exported) {
  return streamOf(exported) == nullptr ? "the stream has been released" : streamOf(exported)->lastError();
}

void releaseStream(ArrowArrayStream* exported) {
  delete streamOf(exported);
  exported->private_data = nullptr;
  exported->release = nullptr;
}

}  // namespace

ArrowStream::~ArrowStream() {
  JNIEnv* env = reader == nullptr ? nullptr : threadEnvironment();
  if (env == nullptr) return;
  const PendingAside aside(env);
  env->CallVoidMethod(reader, methods.close);
  env->ExceptionClear();
  dropGlobal(env, reader);
}

bool ArrowStream::open(JNIEnv* env, jobject batchReader) {
  std::string description;
  if (keepGlobal(env, reader, batchReader) && readDescription(env, methods, reader, description)) {
    root = readFields(description);
    return true;
  }
  if (reader == nullptr || isPending(env)) {
    env->ExceptionClear();
    end(ENOMEM, kOutOfMemory);
  } else {
    endAsReader(env, BatchState::failed);
  }
  error = endText;
  return false;
}

int ArrowStream::getSchema(ArrowSchema& schema) {
  try {
    exportSchema(root, schema);
    error = nullptr;
    return 0;
  } catch (const std::exception&) {
    error = kOutOfMemory;
    return ENOMEM;
  }
}

int ArrowStream::getNext(ArrowArray& array) {
  if (!ended) {
    JNIEnv* env = threadEnvironment();
    if (env == nullptr) {
      end(EIO, kNoEnvironment);
    } else {
      readNext(env, array);
    }
  }
  error = endText;
  return endCode;
}

/// Reads a batch, or notes how the rows ended. Rows that were lost on the way here end them too.
void ArrowStream::readNext(JNIEnv* env, ArrowArray& array) {
  const PendingAside aside(env);
  try {
    readNextBatch(env, array);
  } catch (const std::exception&) {
    end(ENOMEM, kOutOfMemory);
  }
  env->ExceptionClear();
}

void ArrowStream::readNextBatch(JNIEnv* env, ArrowArray& array) {
  JavaBatch batch(env);
  if (!readBatch(env, methods, reader, fieldsBelow(root), batch)) return end(ENOMEM, kOutOfMemory);
  if (batch.state == BatchState::end) return end(0, nullptr);
  if (batch.state != BatchState::rows) return endAsReader(env, batch.state);
  if (!exportBatch(env, methods, root, batch, array)) end(ENOMEM, kOutOfMemory);
}

void ArrowStream::endAsReader(JNIEnv* env, BatchState state) {
  if (readFailure(env, methods, reader, message)) {
    end(state == BatchState::databaseFailed ? EIO : EINVAL, message.c_str());
  } else {
    env->ExceptionClear();
    end(ENOMEM, kOutOfMemory);
  }
}

void ArrowStream::end(int code, const char* text) {
  ended = true;
  endCode = code;
  endText = text;
}

bool openStream(JNIEnv* env, const ReaderMethods& methods, jobject reader, ArrowArrayStream& stream,
                std::string& errorOut) {
  auto opened = std::make_unique<ArrowStream>(methods);
  if (!opened->open(env, reader)) {
    errorOut = opened->lastError();
    return false;
  }
  stream.get_schema = getSchemaOf;
  stream.get_next = getNextOf;
  stream.get_last_error = getLastErrorOf;
  stream.release = releaseStream;
  stream.private_data = opened.release();
  return true;
}

}  // namespace kivo
