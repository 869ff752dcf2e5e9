#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "KivoArrow.h"
#include "arrow_text.h"
#include "jdbcWrapper.h"
#include "vm_fixture.h"

namespace kivo::test {

[[maybe_unused]] inline auto* const kVmOfStreams = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Schema = Held<ArrowSchema>;
using Array = Held<ArrowArray>;
using Stream = Held<ArrowArrayStream>;

inline ArrowStreamOptions byRows(int rows) {
  ArrowStreamOptions options;
  options.maxRows = rows;
  return options;
}

constexpr const char* kH2 = "jdbc:h2:mem:arrow;DB_CLOSE_DELAY=-1";

/// A database with a query's open result.
class Source {
 public:
  explicit Source(const std::string& sql = "", std::string url = kH2) {
    EXPECT_TRUE(wrapper.setUrl("", "", "", "", "", url) && wrapper.getConnection("", "") && wrapper.getStatement())
        << wrapper.errorMessage;
    if (!sql.empty()) query(sql);
  }
  ~Source() { wrapper.closeConnection(); }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  void query(const std::string& sql) { EXPECT_TRUE(wrapper.executeQuery(sql, 0)) << wrapper.errorMessage; }

  void open(ArrowArrayStream& stream, const ArrowStreamOptions& options = {}) {
    std::string error;
    EXPECT_TRUE(makeArrowStream(wrapper, stream, error, options)) << error;
  }

  jdbcWrapper wrapper;
};

/// A stream of numbers from 1, which may outlive its source.
struct Numbers {
  explicit Numbers(int count, int maxRows = 2)
      : source("select x from system_range(1, " + std::to_string(count) + ")") {
    source.open(stream, byRows(maxRows));
  }

  Source source;
  Stream stream;
};

inline std::string textOf(const char* text) { return text == nullptr ? "" : text; }

inline std::int64_t number(const ArrowArray& column, std::int64_t row) {
  return static_cast<const std::int64_t*>(column.buffers[1])[row];
}

/// The rows of a batch, a cell in brackets each.
inline std::string textOf(const ArrowSchema& schema, const ArrowArray& batch) {
  std::string text;
  for (std::int64_t row = 0; row < batch.length; ++row) {
    for (std::int64_t column = 0; column < batch.n_children; ++column) {
      text += '<' + ArrowText(*schema.children[column], *batch.children[column]).at(row).value_or("NULL") + '>';
    }
  }
  return text;
}

inline std::int64_t buffersOf(const std::string& format) {
  if (format == "+s") return 1;
  if (format == "n") return 0;
  return format == "u" || format == "z" ? 3 : 2;
}

inline std::int64_t countNulls(const ArrowSchema& schema, const ArrowArray& array) {
  std::int64_t nulls = 0;
  for (std::int64_t row = 0; row < array.length; ++row) nulls += ArrowText(schema, array).at(row) ? 0 : 1;
  return nulls;
}

/// Looks at what is not a value.
inline void expectShape(const ArrowSchema& schema, const ArrowArray& array) {
  SCOPED_TRACE(schema.format);
  const bool isBatch = std::string(schema.format) == "+s";
  EXPECT_EQ(array.null_count, isBatch ? 0 : countNulls(schema, array));
  EXPECT_EQ(array.offset, 0);
  EXPECT_EQ(array.dictionary, nullptr);
  EXPECT_EQ(array.n_buffers, buffersOf(schema.format));
  EXPECT_TRUE(!isBatch || array.buffers[0] == nullptr);
  ASSERT_EQ(array.n_children, schema.n_children);
  for (std::int64_t index = 0; index < array.n_children; ++index) {
    EXPECT_TRUE(!isBatch || array.children[index]->length == array.length);
    expectShape(*schema.children[index], *array.children[index]);
  }
}

struct Read {
  std::vector<std::int64_t> batches;
  std::string text;
  int code = 0;
  std::string error;
};

inline Read readAll(ArrowArrayStream& stream) {
  Read read;
  Schema schema;
  EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
  while (true) {
    Array batch;
    read.code = stream.get_next(&stream, &batch);
    read.error = textOf(stream.get_last_error(&stream));
    if (read.code != 0 || batch.release == nullptr) break;
    EXPECT_EQ(read.error, "");
    expectShape(schema, batch);
    read.batches.push_back(batch.length);
    read.text += textOf(schema, batch);
  }
  return read;
}

}  // namespace kivo::test
