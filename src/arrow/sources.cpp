// The two objects of the library that a stream is made of.

#include <algorithm>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "KivoArrow.h"
#include "arrow/reader.h"
#include "arrow/stream.h"
#include "jdbcWrapper.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/numbers.h"
#include "jni/pending.h"

using kivo::JavaMethod;
using kivo::LocalRef;
using kivo::ReaderMethods;

namespace {

constexpr const char* kReaderClass = "com/ulvanejdbc/arrow/BatchReader";
constexpr JavaMethod kOfResult{"ofResult", "(Ljava/sql/ResultSet;[I)Lcom/ulvanejdbc/arrow/BatchReader;"};
constexpr JavaMethod kOfUtilities{"ofUtilities",
                                  "(Lcom/ulvanejdbc/jdbcUtilities;[I)Lcom/ulvanejdbc/arrow/BatchReader;"};

constexpr const char* kNoSource = "there is no open result to read";
constexpr const char* kNoReader =
    "could not use the Java class com/ulvanejdbc/arrow/BatchReader: the companion jar must be on the class path";
constexpr const char* kOutOfMemory = "out of memory";

constexpr int kMaxRows = 1 << 20;
constexpr int kMaxBytes = 1 << 30;
constexpr int kMaxScale = 38;

/// In the order in which BatchReader takes them.
std::vector<int> numbersOf(const ArrowStreamOptions& options) {
  return {std::clamp(options.maxRows, 1, kMaxRows), std::clamp(options.maxBytes, 1, kMaxBytes),
          static_cast<int>(options.decimals),       std::clamp(options.decimalScale, 0, kMaxScale),
          options.outOfRangeAsNull ? 1 : 0,         options.mixedColumnsAsText ? 1 : 0};
}

bool fail(JNIEnv* env, std::string& errorOut, const char* text) {
  env->ExceptionClear();
  errorOut = text;
  return false;
}

/// Looks the reader's members up. @return the one that makes a reader; null when the class or a member is missing.
jmethodID findMethods(JNIEnv* env, LocalRef<jclass>& readerClass, ReaderMethods& methods, const JavaMethod& make) {
  if (!readerClass.reset(env->FindClass(kReaderClass))) return nullptr;
  if (!kivo::findReaderMethods(env, readerClass.get(), methods)) return nullptr;
  return env->GetStaticMethodID(readerClass.get(), make.name, make.signature);
}

/// @param source the first arguments of @p make
template <class... Source>
bool makeStream(JNIEnv* env, ArrowArrayStream& stream, std::string& errorOut, const ArrowStreamOptions& options,
                const JavaMethod& make, Source... source) {
  LocalRef<jclass> readerClass(env);
  ReaderMethods methods;
  const jmethodID method = findMethods(env, readerClass, methods, make);
  if (method == nullptr) return fail(env, errorOut, kNoReader);
  const LocalRef<jintArray> numbers = kivo::newIntArray(env, numbersOf(options));
  if (!numbers) return fail(env, errorOut, kOutOfMemory);
  const LocalRef<jobject> reader(env, env->CallStaticObjectMethod(readerClass.get(), method, source..., numbers.get()));
  if (!reader || kivo::isPending(env)) return fail(env, errorOut, kOutOfMemory);
  return kivo::openStream(env, methods, reader.get(), stream, errorOut);
}

/// @return whether there is a source to read; if not, that is the error.
bool hasSource(JNIEnv* env, jobject source, ArrowArrayStream& stream, std::string& errorOut) {
  stream = {};
  if (env != nullptr && source != nullptr) return true;
  errorOut = kNoSource;
  return false;
}

}  // namespace

bool makeArrowStream(JdbcUtils& source, ArrowArrayStream& stream, std::string& errorOut,
                     const ArrowStreamOptions& options) {
  JNIEnv* env = source.env;
  if (!hasSource(env, source.resultSet, stream, errorOut)) return false;
  const kivo::PendingAside aside(env);
  return makeStream(env, stream, errorOut, options, kOfResult, source.resultSet);
}

bool makeArrowStream(jdbcWrapper& source, ArrowArrayStream& stream, std::string& errorOut,
                     const ArrowStreamOptions& options) {
  JNIEnv* env = source.env;
  if (!hasSource(env, source.utilitiesObject, stream, errorOut)) return false;
  const kivo::PendingAside aside(env);
  return makeStream(env, stream, errorOut, options, kOfUtilities, source.utilitiesObject);
}
