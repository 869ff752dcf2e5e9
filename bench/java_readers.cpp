// The readers over JDBC: pure Java, hand-written JNI, and this library's own.
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "RowBlocks.h"
#include "java_objects.h"

namespace kivo::bench {
namespace {

/// What a Java program reads, by a method of bench.PureJava.
class PureReader : public Reader {
 public:
  PureReader(const Target& target, const char* method, int fetchSize, bool autoCommit)
      : java_(target, fetchSize, autoCommit), method_(method) {}

  Reading read(const std::string& sql) override {
    const Frame frame(java_.env);
    java_.run(method_, "(Ljava/lang/String;)V", java_.text(sql));
    const jfieldID seen = java_.env->GetFieldID(java_.env->GetObjectClass(java_.object), "seen", "[J");
    jlong values[3];
    java_.env->GetLongArrayRegion(static_cast<jlongArray>(java_.env->GetObjectField(java_.object, seen)), 0, 3, values);
    return {values[0], values[1], static_cast<double>(values[2]) * 1e-9};
  }

 private:
  PureJava java_;
  const char* method_;
};

/// The cell's text as the library hands it out: a buffer from malloc.
char* copyOut(JNIEnv* env, jstring text) {
  if (text == nullptr) return nullptr;
  const char* characters = env->GetStringUTFChars(text, nullptr);
  const std::size_t size = std::strlen(characters) + 1;
  char* copy = static_cast<char*>(std::malloc(size));
  std::memcpy(copy, characters, size);
  env->ReleaseStringUTFChars(text, characters);
  env->DeleteLocalRef(text);
  return copy;
}

void takeBuffer(char* value, Reading& reading) {
  if (value == nullptr) {
    reading.takeNull();
  } else {
    reading.take(value);
    std::free(value);
  }
}

/// Reads rows by two functions, which every reader cell by cell here comes to.
template <class Next, class Get>
Reading readCells(int columns, const Stopwatch& watch, Next next, Get get) {
  Reading reading;
  while (next()) {
    if (reading.firstRow == 0) reading.firstRow = watch.seconds();
    for (int column = 1; column <= columns; ++column) takeBuffer(get(column), reading);
  }
  return reading;
}

/// How a loop written by hand looks for Java exceptions.
enum class Looking {
  afterCalls,          ///< as little as JNI allows
  beforeAndAfterCalls  ///< as the library's members do, which cannot know what the host's last call left pending
};

/// What one would write by hand: ResultSet.next, getString and, for dates and times, the same helper as the library.
class HandReader : public Reader {
 public:
  HandReader(const Target& target, Looking looking, bool autoCommit)
      : java_(target, kFetchSize, autoCommit), looksBefore_(looking == Looking::beforeAndAfterCalls) {
    JNIEnv* env = java_.env;
    dates_ = static_cast<jclass>(env->NewGlobalRef(env->FindClass("com/ulvanejdbc/datetime")));
    getUtc_ = env->GetStaticMethodID(dates_, "getAsUtcString", "(Ljava/sql/ResultSet;II)Ljava/lang/String;");
  }

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    JNIEnv* env = java_.env;
    const Frame frame(env);
    const jmethodID query = java_.method("query", "(Ljava/lang/String;)Ljava/sql/ResultSet;");
    const jobject rows = env->CallObjectMethod(java_.object, query, java_.text(sql));
    requireJava(env, "the query");
    const std::vector<jint> types = columnTypes(rows);
    const jclass rowsClass = env->GetObjectClass(rows);
    const jmethodID nextMethod = env->GetMethodID(rowsClass, "next", "()Z");
    const jmethodID getString = env->GetMethodID(rowsClass, "getString", "(I)Ljava/lang/String;");
    const auto next = [&] {
      lookBefore();
      const bool isRow = env->CallBooleanMethod(rows, nextMethod) == JNI_TRUE;
      return (looksBefore_ || env->ExceptionCheck() == JNI_FALSE) && isRow;
    };
    const auto get = [&](jint column) {
      lookBefore();
      const jint type = types[static_cast<std::size_t>(column) - 1];
      const jobject text = type >= 91 && type <= 93 ? env->CallStaticObjectMethod(dates_, getUtc_, rows, type, column)
                                                    : env->CallObjectMethod(rows, getString, column);
      return env->ExceptionCheck() == JNI_FALSE ? copyOut(env, static_cast<jstring>(text)) : nullptr;
    };
    return readCells(static_cast<int>(types.size()), watch, next, get);
  }

 private:
  void lookBefore() const {
    if (looksBefore_) requireJava(java_.env, "an earlier call");
  }

  std::vector<jint> columnTypes(jobject rows) const {
    JNIEnv* env = java_.env;
    const jmethodID getMetaData =
        env->GetMethodID(env->GetObjectClass(rows), "getMetaData", "()Ljava/sql/ResultSetMetaData;");
    const jobject columns = env->CallObjectMethod(rows, getMetaData);
    const jclass type = env->GetObjectClass(columns);
    std::vector<jint> types(
        static_cast<std::size_t>(env->CallIntMethod(columns, env->GetMethodID(type, "getColumnCount", "()I"))));
    const jmethodID getType = env->GetMethodID(type, "getColumnType", "(I)I");
    for (std::size_t at = 0; at < types.size(); ++at) {
      types[at] = env->CallIntMethod(columns, getType, static_cast<jint>(at + 1));
    }
    return types;
  }

  PureJava java_;
  bool looksBefore_;
  jclass dates_;
  jmethodID getUtc_;
};

class UtilsReader : public Reader {
 public:
  UtilsReader(const Target& target, bool autoCommit) : open_(target, autoCommit) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    JdbcUtils& utils = open_.utils;
    open_.query(sql);
    return readCells(
        utils.getNumColumns(), watch, [&] { return utils.next(); },
        [&](int column) {
          char* value = nullptr;
          if (!utils.getColumn(static_cast<unsigned long>(column), value)) throw std::runtime_error("getColumn");
          return value;
        });
  }

 private:
  OpenUtils open_;
};

class WrapperReader : public Reader {
 public:
  explicit WrapperReader(const Target& target) : open_(target) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    jdbcWrapper& wrapper = open_.wrapper;
    open_.query(sql);
    return readCells(
        wrapper.getNumColumns(), watch, [&] { return wrapper.next(); },
        [&](int column) {
          char* value = nullptr;
          if (!wrapper.getColumn(column, value)) throw std::runtime_error(wrapper.errorMessage);
          return value;
        });
  }

 private:
  OpenWrapper open_;
};

Reading readBlocks(RowBlocks& blocks, const Stopwatch& watch) {
  Reading reading;
  while (blocks.next()) {
    if (reading.firstRow == 0) reading.firstRow = watch.seconds();
    for (int row = 0; row < blocks.rows(); ++row) {
      for (int column = 1; column <= blocks.columns(); ++column) {
        if (blocks.isNull(row, column)) {
          reading.takeNull();
        } else {
          reading.take(blocks.text(row, column));
        }
      }
    }
  }
  require(blocks.errorState == 0, blocks.errorMessage);
  return reading;
}

/// Whole blocks over either of the library's objects.
template <class Open>
class BlockReader : public Reader {
 public:
  template <class... Arguments>
  explicit BlockReader(const Target& target, RowBlocksOptions options, Arguments... arguments)
      : open_(target, arguments...), options_(options) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    open_.query(sql);
    RowBlocks blocks(source(open_), options_);
    return readBlocks(blocks, watch);
  }

 private:
  static JdbcUtils& source(OpenUtils& open) { return open.utils; }
  static jdbcWrapper& source(OpenWrapper& open) { return open.wrapper; }

  Open open_;
  RowBlocksOptions options_;
};

/// The same calls on the wrapper's Java object as the wrapper makes, written by hand.
class HandWrapperReader : public Reader {
 public:
  explicit HandWrapperReader(const Target& target) : open_(target) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    const jdbcWrapper& w = open_.wrapper;
    open_.query(sql);
    return readCells(
        open_.wrapper.getNumColumns(), watch,
        [&] {
          requireJava(w.env, "an earlier call");
          const bool isRow = w.env->CallBooleanMethod(w.utilitiesObject, w.nextMethod) == JNI_TRUE;
          return w.env->ExceptionCheck() == JNI_FALSE && isRow;
        },
        [&](jint column) {
          requireJava(w.env, "an earlier call");
          const jobject text = w.env->CallObjectMethod(w.utilitiesObject, w.getColumnMethod, column);
          return w.env->ExceptionCheck() == JNI_FALSE ? copyOut(w.env, static_cast<jstring>(text)) : nullptr;
        });
  }

 private:
  OpenWrapper open_;
};

/// A row of the table below: the reader and what its constructor gets besides the target.
template <class Made, class... Arguments>
ReaderWay way(const char* name, const char* about, Arguments... arguments) {
  return {name, about, true, 0,
          [arguments...](const Target& target) { return std::make_unique<Made>(target, arguments...); }};
}

}  // namespace

std::vector<ReaderWay> javaReaders() {
  return {
      way<PureReader>("java", "pure Java, getString", "read", kFetchSize, false),
      way<PureReader>("java-auto", "pure Java, getString, auto-commit", "read", kFetchSize, true),
      way<PureReader>("java-512", "pure Java, getString, fetch size 512", "read", 512, false),
      way<PureReader>("java-256", "pure Java, getString, fetch size 256", "read", 256, false),
      way<PureReader>("java-bytes", "pure Java, getString and its UTF-8 bytes", "readBytes", kFetchSize, false),
      way<PureReader>("java-utc", "pure Java, dates by datetime", "readUtc", kFetchSize, false),
      way<PureReader>("java-wrapper", "pure Java, jdbcUtilities", "readUtilities", kFetchSize, false),
      way<HandReader>("jni", "JNI by hand, the least", Looking::afterCalls, false),
      way<HandReader>("jni-same", "JNI by hand, JdbcUtils' calls", Looking::beforeAndAfterCalls, false),
      way<HandReader>("jni-same-auto", "JNI by hand, JdbcUtils' calls, auto-commit", Looking::beforeAndAfterCalls,
                      true),
      way<HandWrapperReader>("jni-wrapper", "JNI by hand, jdbcWrapper's calls"),
      way<UtilsReader>("utils", "JdbcUtils", false),
      way<UtilsReader>("utils-auto", "JdbcUtils, auto-commit", true),
      way<WrapperReader>("wrapper", "jdbcWrapper"),
      way<BlockReader<OpenUtils>>("blocks-128", "rows by the block of 128, JdbcUtils", RowBlocksOptions{128}, false),
      way<BlockReader<OpenUtils>>("blocks", "rows by the block, JdbcUtils", RowBlocksOptions{}, false),
      way<BlockReader<OpenWrapper>>("blocks-wrapper", "rows by the block, jdbcWrapper", RowBlocksOptions{}),
  };
}

}  // namespace kivo::bench
