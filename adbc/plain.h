#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "KivoArrow.h"

namespace kivo::adbc {

/// The fields of rows as they are bound: text and bytes from dictionaries and views stand there plainly. It refers to
/// the original, which must stay.
class PlainSchema {
 public:
  PlainSchema() = default;
  explicit PlainSchema(const ArrowSchema& original);
  PlainSchema(PlainSchema&&) = default;
  PlainSchema& operator=(PlainSchema&&) = default;

  const ArrowSchema& get() const { return root_; }

 private:
  std::vector<ArrowSchema> fields_;
  std::vector<ArrowSchema*> addresses_;
  ArrowSchema root_{};
};

/// A batch of such rows. It refers to the original, which must stay.
class PlainBatch {
 public:
  PlainBatch(const ArrowSchema& schema, const ArrowArray& original);
  PlainBatch(const PlainBatch&) = delete;
  PlainBatch& operator=(const PlainBatch&) = delete;

  const ArrowArray& get() const { return root_; }

 private:
  /// The memory of a column that stands plainly.
  struct Column {
    std::string validity;
    std::vector<std::int64_t> offsets;
    std::string values;
    const void* buffers[3];
  };

  void fill(const ArrowSchema& field, ArrowArray& array, std::int64_t rows, Column& column);

  std::vector<Column> columns_;
  std::vector<ArrowArray> arrays_;
  std::vector<ArrowArray*> addresses_;
  ArrowArray root_{};
};

}  // namespace kivo::adbc
