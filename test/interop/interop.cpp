// What interop.py calls of the library: it reads queries as Arrow streams, which Python's packages consume.

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "JavaVmHost.h"
#include "KivoArrow.h"
#include "jdbcWrapper.h"

namespace {

std::string text;
const std::thread::id kOwnThread = std::this_thread::get_id();
std::atomic<int> foreignCalls{0};
int (*getNext)(ArrowArrayStream*, ArrowArray*) = nullptr;

int countedGetNext(ArrowArrayStream* stream, ArrowArray* array) {
  if (std::this_thread::get_id() != kOwnThread) ++foreignCalls;
  return getNext(stream, array);
}

/// @return the text of a failure, valid until the next call; null without one.
const char* failure(bool done, const std::string& why) {
  text = why;
  return done ? nullptr : text.c_str();
}

}  // namespace

extern "C" {

KIVO_EXPORT const char* interop_start(const char* jvm, const char* classPath) {
  std::string library = jvm;
  std::string path = classPath;
  std::string error;
  const bool done = javaInit(library, path, 256, error);
  return failure(done, error);
}

/// @return a connection, kept until the process ends; null on failure.
KIVO_EXPORT jdbcWrapper* interop_connect(const char* url, const char* user, const char* password) {
  auto wrapper = std::make_unique<jdbcWrapper>();
  std::string address = url;
  const bool done =
      wrapper->setUrl("", "", "", "", "", address) && wrapper->getConnection(user, password) && wrapper->getStatement();
  return done ? wrapper.release() : nullptr;
}

/// @return the first row, its cells as text with a tab between them; null on failure.
KIVO_EXPORT const char* interop_row(jdbcWrapper* wrapper, const char* sql) {
  if (!wrapper->executeQuery(sql, 1) || !wrapper->next()) return nullptr;
  text.clear();
  for (int column = 1; column <= wrapper->getNumColumns(); ++column) {
    char* value = nullptr;
    if (!wrapper->getColumn(column, value)) return nullptr;
    text += (column == 1 ? "" : "\t") + std::string(value == nullptr ? "" : value);
    std::free(value);
  }
  return text.c_str();
}

/// Fills in a stream, whose reads on other threads than this library's own are counted.
KIVO_EXPORT const char* interop_stream(jdbcWrapper* wrapper, const char* sql, int maxRows, ArrowArrayStream* stream) {
  if (!wrapper->executeQuery(sql, 0)) return failure(false, wrapper->errorMessage);
  ArrowStreamOptions options;
  options.maxRows = maxRows;
  std::string error;
  if (!makeArrowStream(*wrapper, *stream, error, options)) return failure(false, error);
  getNext = stream->get_next;
  stream->get_next = countedGetNext;
  return nullptr;
}

KIVO_EXPORT int interop_foreign_calls() { return foreignCalls; }

}  // extern "C"
