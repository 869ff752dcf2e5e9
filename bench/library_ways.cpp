// This library's own ways, and the Java VM of the process.
#include "KivoArrow.h"
#include "RowBlocks.h"
#include "java_objects.h"

namespace kivo::bench {
namespace {

/// Cell by cell. @param arguments for the constructor of OpenUtils or OpenWrapper, after the target.
template <class Open, class... Arguments>
auto cells(Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      const double start = now();
      open->query(work.query());
      const auto get = [&](int column) {
        char* value = nullptr;
        if (!open->get(column, value)) require(false, "getColumn");
        return value;
      };
      return readCells(
          open->source.getNumColumns(), start, [&] { return open->source.next(); }, get);
    };
  };
}

Reading readBlocks(RowBlocks& blocks, double start) {
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
}

template <class Open, class... Arguments>
auto blocks(RowBlocksOptions options, Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [options, open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      const double start = now();
      open->query(work.query());
      RowBlocks rows(open->source, options);
      return readBlocks(rows, start);
    };
  };
}

Reading readArrow(ArrowArrayStream& stream, double start) {
  Reading reading;
  ArrowArray batch{};
  while (stream.get_next(&stream, &batch) == 0 && batch.release != nullptr) {
    if (reading.firstRow == 0) reading.firstRow = now() - start;
    reading.cells += batch.length * batch.n_children;
    batch.release(&batch);
  }
  const char* error = stream.get_last_error(&stream);
  require(error == nullptr, error == nullptr ? "" : error);
  stream.release(&stream);
  return reading;
}

/// Typed columns. Their consumer would take the memory over as it is.
template <class Open, class... Arguments>
auto arrow(Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      const double start = now();
      open->query(work.query());
      ArrowArrayStream stream{};
      std::string error;
      require(makeArrowStream(open->source, stream, error), error);
      return readArrow(stream, start);
    };
  };
}

/// A batch of statements.
template <class Open, class... Arguments>
auto batch(Arguments... arguments) {
  return [=](const Target& target) -> Client {
    return [open = std::make_shared<Open>(target, arguments...)](const Work& work) {
      for (long row = 0; row < work.rows; ++row) {
        open->add("insert into " + work.table + " values (" + std::to_string(row) + ", '" + note(row) + "', " +
                  half(row) + ")");
      }
      open->store(work.rows);
      return Reading{};
    };
  };
}

}  // namespace

void detachThread() { _globaljvm->DetachCurrentThread(); }

double startVm(const Target& target) {
  static const double seconds = [&target] {
    const double start = now();
    std::string library = target.at("jvm");
    std::string classPath = target.at("classpath");
    std::string error;
    require(javaInit(library, classPath, std::stoi(target.at("heap")), error), error);
    return now() - start;
  }();
  return seconds;
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
      {"reader", "utils", "JdbcUtils", cells<OpenUtils>(false)},
      {"reader", "utils-auto", "JdbcUtils, auto-commit", cells<OpenUtils>(true)},
      {"reader", "wrapper", "jdbcWrapper", cells<OpenWrapper>()},
      {"reader", "blocks-128", "RowBlocks of 128, JdbcUtils", blocks<OpenUtils>(RowBlocksOptions{128}, false)},
      {"reader", "blocks", "RowBlocks, JdbcUtils", blocks<OpenUtils>(RowBlocksOptions{}, false)},
      {"reader", "blocks-wrapper", "RowBlocks, jdbcWrapper", blocks<OpenWrapper>(RowBlocksOptions{})},
      {"reader", "arrow", "Arrow stream, JdbcUtils", arrow<OpenUtils>(false)},
      {"reader", "arrow-wrapper", "Arrow stream, jdbcWrapper", arrow<OpenWrapper>()},
      {"writer", "utils", "JdbcUtils", batch<OpenUtils>(true)},
      {"writer", "wrapper", "jdbcWrapper", batch<OpenWrapper>()},
  };
}

}  // namespace kivo::bench
