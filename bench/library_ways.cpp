// This library's own ways, and the Java VM of the process.
#include "KivoArrow.h"
#include "RowBlocks.h"
#include "java_objects.h"

namespace kivo::bench {
namespace {

/// Reads the open result of an OpenUtils or an OpenWrapper. @param arguments for its constructor, after the target
template <class Open, class Read, class... Arguments>
auto reader(Read read, Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [read, open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      const double start = now();
      open->query(work.query());
      return read(*open, start);
    };
  };
}

const auto kCells = [](auto& open, double start) {
  const auto get = [&](int column) {
    char* value = nullptr;
    if (!open.get(column, value)) require(false, "getColumn");
    return value;
  };
  return readCells(
      open.source.getNumColumns(), start, [&] { return open.source.next(); }, get);
};

auto blocksOf(int maxRows) {
  return [=](auto& open, double start) {
    RowBlocksOptions options;
    options.maxRows = maxRows;
    RowBlocks blocks(open.source, options);
    Reading reading;
    while (blocks.next()) {
      if (reading.firstRow == 0) reading.firstRow = now() - start;
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
  };
}

const auto kBlocks = blocksOf(RowBlocksOptions().maxRows);

/// Typed columns. Their consumer would take the memory over as it is.
const auto kArrow = [](auto& open, double start) {
  ArrowArrayStream stream{};
  ArrowArray batch{};
  Reading reading;
  std::string error;
  require(makeArrowStream(open.source, stream, error), error);
  while (stream.get_next(&stream, &batch) == 0 && batch.release != nullptr) {
    if (reading.firstRow == 0) reading.firstRow = now() - start;
    reading.cells += batch.length * batch.n_children;
    batch.release(&batch);
  }
  const char* failure = stream.get_last_error(&stream);
  require(failure == nullptr, failure == nullptr ? "" : failure);
  stream.release(&stream);
  return reading;
};

/// The second value of a written row, as in Java.
std::string note(long row) { return "note number " + std::to_string(row); }

/// A batch of statements.
template <class Open, class... Arguments>
auto batch(Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      for (long row = 0; row < work.rows; ++row) {
        open->add("insert into " + work.table + " values (" + std::to_string(row) + ", '" + note(row) + "', " +
                  std::to_string(row / 2) + (row % 2 == 0 ? ".0)" : ".5)"));
      }
      open->store(work.rows);
      return Reading{};
    };
  };
}

/// Rows of parameters in Arrow's layout: ids, notes, halves.
struct Columns {
  explicit Columns(long rows) {
    for (long row = 0; row < rows; ++row) {
      ids.push_back(static_cast<std::int32_t>(row));
      notes += note(row);
      ends.push_back(static_cast<std::int32_t>(notes.size()));
      halves.push_back(static_cast<double>(row) * 0.5);
    }
  }

  std::vector<std::int32_t> ids;
  std::vector<std::int32_t> ends = {0};
  std::string notes;
  std::vector<double> halves;
};

/// Hands the columns over to a PreparedQuery: three buffers and two numbers for each.
void bind(JNIEnv* env, jobject query, jmethodID method, Columns& columns) {
  const auto rows = static_cast<jlong>(columns.ids.size());
  const struct {
    jsize at;
    void* address;
    std::size_t size;
  } parts[] = {{1, columns.ids.data(), columns.ids.size() * sizeof(std::int32_t)},
               {4, columns.ends.data(), columns.ends.size() * sizeof(std::int32_t)},
               {5, columns.notes.data(), columns.notes.size()},
               {7, columns.halves.data(), columns.halves.size() * sizeof(double)}};
  const jobjectArray buffers = env->NewObjectArray(9, env->FindClass("java/nio/ByteBuffer"), nullptr);
  for (const auto& part : parts) {
    env->SetObjectArrayElement(buffers, part.at, env->NewDirectByteBuffer(part.address, static_cast<jlong>(part.size)));
  }
  const jlong counts[] = {rows, 0, rows, 0, rows, 0};
  const jlongArray numbers = env->NewLongArray(6);
  env->SetLongArrayRegion(numbers, 0, 6, counts);
  const bool bound =
      env->CallBooleanMethod(query, method, env->NewStringUTF("i\nu\ng\n"), buffers, numbers) == JNI_TRUE;
  requireJava(env, "bind");
  require(bound, "bind");
}

/// A batch of rows bound to a prepared statement. @param settings what to append to PostgreSQL's URL
auto bound(const char* settings) {
  return [=](Target target) -> Client {
    std::string& url = target["url"];
    if (url.find("postgresql") != std::string::npos) url += settings;
    return [open = std::make_shared<OpenWrapper>(target)](const Work& work) {
      JNIEnv* env = open->source.env;
      const Frame frame(env);
      Columns columns(work.rows);
      const jclass type = env->FindClass("com/ulvanejdbc/arrow/PreparedQuery");
      const auto method = [&](const char* name, const char* signature) {
        return env->GetMethodID(type, name, signature);
      };
      const jmethodID of =
          env->GetStaticMethodID(type, "of", "(Lcom/ulvanejdbc/jdbcUtilities;)Lcom/ulvanejdbc/arrow/PreparedQuery;");
      const jobject query = env->CallStaticObjectMethod(type, of, open->source.utilitiesObject);
      const jstring insert = env->NewStringUTF(("insert into " + work.table + " values (?, ?, ?)").c_str());
      const bool prepared = env->CallBooleanMethod(query, method("prepare", "(Ljava/lang/String;Z)Z"), insert,
                                                   static_cast<jboolean>(false)) == JNI_TRUE;
      require(prepared, "prepare");
      bind(env, query, method("bind", "(Ljava/lang/String;[Ljava/nio/ByteBuffer;[J)Z"), columns);
      require(env->CallLongMethod(query, method("updateAll", "()J")) != -2, "updateAll");
      env->CallBooleanMethod(query, method("close", "()Z"));
      return Reading{};
    };
  };
}

}  // namespace

void startVm(const Target& target) {
  if (_globaljvm != nullptr) return;
  std::string library = target.at("jvm");
  std::string classPath = target.at("classpath");
  std::string error;
  require(javaInit(library, classPath, std::stoi(target.at("heap")), error), error);
}

void execute(const Target& target, const std::string& sql) {
  startVm(target);
  // Never destroyed: when a signal ends the process, the destructor would wait forever for a Java VM that is ending.
  static OpenWrapper& own = *new OpenWrapper(target);
  own.source.executeUpdate(sql);
  own.check(own.source.errorState == 0);
}

std::vector<Way> libraryWays() {
  return {
      {"reader", "utils", "JdbcUtils", reader<OpenUtils>(kCells, false)},
      {"reader", "utils-auto", "JdbcUtils, auto-commit", reader<OpenUtils>(kCells, true)},
      {"reader", "wrapper", "jdbcWrapper", reader<OpenWrapper>(kCells)},
      {"reader", "blocks-128", "RowBlocks of 128, JdbcUtils", reader<OpenUtils>(blocksOf(128), false)},
      {"reader", "blocks", "RowBlocks, JdbcUtils", reader<OpenUtils>(kBlocks, false)},
      {"reader", "blocks-wrapper", "RowBlocks, jdbcWrapper", reader<OpenWrapper>(kBlocks)},
      {"reader", "arrow", "Arrow stream, JdbcUtils", reader<OpenUtils>(kArrow, false)},
      {"reader", "arrow-wrapper", "Arrow stream, jdbcWrapper", reader<OpenWrapper>(kArrow)},
      {"writer", "utils", "JdbcUtils", batch<OpenUtils>(true)},
      {"writer", "wrapper", "jdbcWrapper", batch<OpenWrapper>()},
      {"writer", "arrow", "parameters in Arrow's layout", bound("?reWriteBatchedInserts=true")},
  };
}

}  // namespace kivo::bench
