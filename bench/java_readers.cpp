// The readers over JDBC: pure Java, hand-written JNI, and this library's own.
#include <jni.h>

#include <cstdlib>
#include <cstring>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "RowBlocks.h"
#include "bench.h"
#include "jdbcWrapper.h"

namespace kivo::bench {
namespace {

constexpr int kFetchSize = 128;

void requireJava(JNIEnv* env, const std::string& what) {
  if (env->ExceptionCheck() == JNI_FALSE) return;
  env->ExceptionDescribe();
  env->ExceptionClear();
  require(false, what);
}

/// One bench.PureJava object: a connection of the harness's own.
class PureJava {
 public:
  PureJava(const Target& target, int fetchSize, bool autoCommit) {
    _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
    class_ = env->FindClass("bench/PureJava");
    requireJava(env, "bench.PureJava is not on the class path");
    const jmethodID make = method("<init>", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;IZ)V");
    const jobject made = env->NewObject(class_, make, text(target.url), text(target.user), text(target.password),
                                        static_cast<jint>(fetchSize), static_cast<jboolean>(autoCommit));
    requireJava(env, "connecting");
    object = env->NewGlobalRef(made);
  }

  jmethodID method(const char* name, const char* signature) const { return env->GetMethodID(class_, name, signature); }
  jstring text(const std::string& value) const { return env->NewStringUTF(value.c_str()); }

  template <class... Arguments>
  void run(const char* name, const char* signature, Arguments... arguments) const {
    env->CallVoidMethod(object, method(name, signature), arguments...);
    requireJava(env, name);
  }

  jobject get(const char* name, const char* signature) const {
    return env->CallObjectMethod(object, method(name, signature));
  }

  JNIEnv* env = nullptr;
  jobject object = nullptr;

 private:
  jclass class_ = nullptr;
};

/// Local references pile up on a native thread; each read gets a frame.
class Frame {
 public:
  explicit Frame(JNIEnv* owner) : env(owner) { env->PushLocalFrame(32); }
  ~Frame() { env->PopLocalFrame(nullptr); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

 private:
  JNIEnv* env;
};

class PureReader : public Reader {
 public:
  PureReader(const Target& target, int fetchSize, bool autoCommit) : java_(target, fetchSize, autoCommit) {}

  Reading read(const std::string& sql) override {
    const Frame frame(java_.env);
    java_.run("read", "(Ljava/lang/String;)V", java_.text(sql));
    const jfieldID seen = java_.env->GetFieldID(java_.env->GetObjectClass(java_.object), "seen", "[J");
    jlong values[3];
    java_.env->GetLongArrayRegion(static_cast<jlongArray>(java_.env->GetObjectField(java_.object, seen)), 0, 3, values);
    return {values[0], values[1], static_cast<double>(values[2]) * 1e-9};
  }

 private:
  PureJava java_;
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

/// What one would write by hand: ResultSet.next, getString and, for dates and times, the same helper as the library.
class HandReader : public Reader {
 public:
  HandReader(const Target& target, int fetchSize, bool autoCommit) : java_(target, fetchSize, autoCommit) {
    JNIEnv* env = java_.env;
    const jclass rows = env->FindClass("java/sql/ResultSet");
    next_ = env->GetMethodID(rows, "next", "()Z");
    getString_ = env->GetMethodID(rows, "getString", "(I)Ljava/lang/String;");
    dates_ = static_cast<jclass>(env->NewGlobalRef(env->FindClass("com/ulvanejdbc/datetime")));
    getUtc_ = env->GetStaticMethodID(dates_, "getAsUtcString", "(Ljava/sql/ResultSet;II)Ljava/lang/String;");
  }

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    JNIEnv* env = java_.env;
    const Frame frame(env);
    const jmethodID query = java_.method("query", "(Ljava/lang/String;)Ljava/sql/ResultSet;");
    const jobject rows = env->CallObjectMethod(java_.object, query, java_.text(sql));
    requireJava(env, sql);
    const std::vector<jint> types = columnTypes(rows);
    const auto next = [&] {
      const bool isRow = env->CallBooleanMethod(rows, next_) == JNI_TRUE;
      return env->ExceptionCheck() == JNI_FALSE && isRow;
    };
    const auto get = [&](jint column) {
      const jint type = types[static_cast<std::size_t>(column) - 1];
      const jobject text = type >= 91 && type <= 93 ? env->CallStaticObjectMethod(dates_, getUtc_, rows, type, column)
                                                    : env->CallObjectMethod(rows, getString_, column);
      return env->ExceptionCheck() == JNI_FALSE ? copyOut(env, static_cast<jstring>(text)) : nullptr;
    };
    return readCells(static_cast<int>(types.size()), watch, next, get);
  }

 private:
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
  jmethodID next_;
  jmethodID getString_;
  jclass dates_;
  jmethodID getUtc_;
};

/// JdbcUtils on a connection of the harness's, so that every database can be read through it.
struct OpenUtils {
  OpenUtils(const Target& target, bool autoCommit) : java(target, kFetchSize, autoCommit) {
    require(utils.javaInit(), "attaching");
    utils.connection = java.env->NewGlobalRef(java.get("connection", "()Ljava/sql/Connection;"));
    utils.autoCommit = autoCommit;
  }
  ~OpenUtils() { utils.closeConnection(); }
  OpenUtils(const OpenUtils&) = delete;
  OpenUtils& operator=(const OpenUtils&) = delete;

  void query(std::string sql) { require(utils.executeQuery(sql, 0), sql); }

  PureJava java;
  JdbcUtils utils;
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
          require(utils.getColumn(static_cast<unsigned long>(column), value), "getColumn");
          return value;
        });
  }

 private:
  OpenUtils open_;
};

struct OpenWrapper {
  explicit OpenWrapper(const Target& target) {
    std::string url = target.url;
    check(wrapper.errorState == 0 && wrapper.setUrl("", "", "", "", "", url) &&
          wrapper.getConnection(target.user, target.password) && wrapper.getStatement());
  }
  ~OpenWrapper() { wrapper.closeConnection(); }
  OpenWrapper(const OpenWrapper&) = delete;
  OpenWrapper& operator=(const OpenWrapper&) = delete;

  void check(bool done) const { require(done, wrapper.errorMessage); }
  void query(const std::string& sql) { check(wrapper.executeQuery(sql, 0)); }

  jdbcWrapper wrapper;
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
          open_.check(wrapper.getColumn(column, value));
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
  explicit BlockReader(Arguments... arguments) : open_(arguments...) {}

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    open_.query(sql);
    RowBlocks blocks(source(open_));
    return readBlocks(blocks, watch);
  }

 private:
  static JdbcUtils& source(OpenUtils& open) { return open.utils; }
  static jdbcWrapper& source(OpenWrapper& open) { return open.wrapper; }

  Open open_;
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
          const bool isRow = w.env->CallBooleanMethod(w.utilitiesObject, w.nextMethod) == JNI_TRUE;
          return w.env->ExceptionCheck() == JNI_FALSE && isRow;
        },
        [&](jint column) {
          const jobject text = w.env->CallObjectMethod(w.utilitiesObject, w.getColumnMethod, column);
          return w.env->ExceptionCheck() == JNI_FALSE ? copyOut(w.env, static_cast<jstring>(text)) : nullptr;
        });
  }

 private:
  OpenWrapper open_;
};

/// A batch written in Java.
class PureWriter : public Writer {
 public:
  PureWriter(const Target& target, const char* method, const std::string& settings)
      : java_(withSettings(target, settings), kFetchSize, false), method_(method) {}

  void write(const std::string& table, int rows) override {
    const Frame frame(java_.env);
    java_.run(method_, "(Ljava/lang/String;I)V", java_.text(table), static_cast<jint>(rows));
  }

 private:
  static Target withSettings(Target target, const std::string& settings) {
    target.url += settings;
    return target;
  }

  PureJava java_;
  const char* method_;
};

std::string insertion(const std::string& table, int row) {
  return "insert into " + table + " values (" + std::to_string(row) + ", '" + note(row) + "', " +
         std::to_string(row * 0.5) + ")";
}

class UtilsWriter : public Writer {
 public:
  explicit UtilsWriter(const Target& target) : open_(target, true) {}

  void write(const std::string& table, int rows) override {
    JdbcUtils& utils = open_.utils;
    std::vector<int> counts(static_cast<std::size_t>(rows));
    require(utils.getStatement(), "getStatement");
    for (int row = 0; row < rows; ++row) {
      std::string sql = insertion(table, row);
      require(utils.addToBatch(sql) == 0, sql);
    }
    require(utils.executeBatch(counts.data()) == rows, "executeBatch");
  }

 private:
  OpenUtils open_;
};

class WrapperWriter : public Writer {
 public:
  explicit WrapperWriter(const Target& target) : open_(target) {}

  void write(const std::string& table, int rows) override {
    for (int row = 0; row < rows; ++row) open_.check(open_.wrapper.addToBatch(insertion(table, row)));
    int result = 0;
    open_.check(open_.wrapper.executeBatch(result));
  }

 private:
  OpenWrapper open_;
};

}  // namespace

double startVm(const Target& target) {
  static const double seconds = [&target] {
    const Stopwatch watch;
    std::string library = target.libjvm;
    std::string classPath = target.classPath;
    std::string error;
    require(javaInit(library, classPath, target.heapMb, error), error);
    return watch.seconds();
  }();
  return seconds;
}

void execute(const Target& target, const std::string& sql) {
  static const PureJava java(target, kFetchSize, false);
  const Frame frame(java.env);
  java.run("execute", "(Ljava/lang/String;)V", java.text(sql));
}

std::vector<ReaderWay> javaReaders() {
  return {
      {"java", "pure Java, getString", true, 0,
       [](const Target& target) { return std::make_unique<PureReader>(target, kFetchSize, false); }},
      {"java-auto", "pure Java, auto-commit", true, 0,
       [](const Target& target) { return std::make_unique<PureReader>(target, kFetchSize, true); }},
      {"jni", "JNI by hand", true, 0,
       [](const Target& target) { return std::make_unique<HandReader>(target, kFetchSize, false); }},
      {"jni-auto", "JNI by hand, auto-commit", true, 0,
       [](const Target& target) { return std::make_unique<HandReader>(target, kFetchSize, true); }},
      {"jni-wrapper", "JNI by hand on jdbcUtilities", true, 0,
       [](const Target& target) { return std::make_unique<HandWrapperReader>(target); }},
      {"utils", "JdbcUtils", true, 0,
       [](const Target& target) { return std::make_unique<UtilsReader>(target, false); }},
      {"utils-auto", "JdbcUtils, auto-commit", true, 0,
       [](const Target& target) { return std::make_unique<UtilsReader>(target, true); }},
      {"wrapper", "jdbcWrapper", true, 0, [](const Target& target) { return std::make_unique<WrapperReader>(target); }},
      {"blocks", "rows by the block, JdbcUtils", true, 0,
       [](const Target& target) { return std::make_unique<BlockReader<OpenUtils>>(target, false); }},
      {"blocks-wrapper", "rows by the block, jdbcWrapper", true, 0,
       [](const Target& target) { return std::make_unique<BlockReader<OpenWrapper>>(target); }},
  };
}

std::vector<WriterWay> javaWriters() {
  return {
      {"java", "pure Java, statements as text", true, 0,
       [](const Target& target) { return std::make_unique<PureWriter>(target, "writeText", ""); }},
      {"java-prepared", "pure Java, prepared, the driver's best setting", true, 0,
       [](const Target& target) {
         const char* best = target.name == "postgresql" ? "?reWriteBatchedInserts=true" : "";
         return std::make_unique<PureWriter>(target, "writePrepared", best);
       }},
      {"utils", "JdbcUtils", true, 0, [](const Target& target) { return std::make_unique<UtilsWriter>(target); }},
      {"wrapper", "jdbcWrapper", true, 0, [](const Target& target) { return std::make_unique<WrapperWriter>(target); }},
  };
}

}  // namespace kivo::bench
