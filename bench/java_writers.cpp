// The Java VM of the process, and the writers over JDBC.
#include "java_objects.h"

namespace kivo::bench {
namespace {

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
  return "insert into " + table + " values (" + std::to_string(row) + ", '" + note(row) + "', " + half(row) + ")";
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

const PureJava& ownConnection(const Target& target) {
  // Never destroyed: at an exit by a signal, its destructor would wait for ever for a Java VM that is ending.
  static const PureJava& java = *new PureJava(target, kFetchSize, false);
  return java;
}

}  // namespace

void detachThread() { _globaljvm->DetachCurrentThread(); }

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
  const PureJava& java = ownConnection(target);
  const Frame frame(java.env);
  java.run("execute", "(Ljava/lang/String;)V", java.text(sql));
}

long countRows(const Target& target, const std::string& table) {
  const PureJava& java = ownConnection(target);
  const Frame frame(java.env);
  const jmethodID count = java.method("count", "(Ljava/lang/String;)J");
  const jlong rows = java.env->CallLongMethod(java.object, count, java.text(table));
  requireJava(java.env, "counting rows");
  return rows;
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
