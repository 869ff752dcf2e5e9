#pragma once

#include <optional>
#include <vector>

#include "RowBlocks.h"
#include "session/java.h"
#include "session/session.h"
#include "sql/rows.h"

namespace kivosql {

/// The open result of a JdbcUtils or a jdbcWrapper, read by the block.
class BlockRows {
 public:
  /// @param number of the first column, as the source counts them. @return false if a column cannot be described.
  template <typename Source>
  bool open(Source& source, int number, int blockRows) {
    columns_.clear();
    const int count = source.getNumColumns();
    for (const int end = number + count; number < end; ++number) {
      Column column;
      if (!source.getColumnInfo(number, column.name, column.type)) return false;
      columns_.push_back({fromJava(column.name), column.type, ""});
    }
    if (count < 0) return false;
    RowBlocksOptions options;
    options.standardUtf8 = true;
    options.maxRows = blockRows;
    blocks_.emplace(source, options);
    row_ = 0;
    return true;
  }

  bool next(Row& row) {
    if (++row_ >= blocks_->rows()) {
      row_ = 0;
      if (!blocks_->next()) {
        if (blocks_->errorState != 0) throw javaFailure(fromJava(blocks_->errorMessage));
        return false;
      }
    }
    row.resize(columns_.size());
    int column = 0;
    for (Cell& cell : row) {
      ++column;
      cell = {blocks_->text(row_, column), blocks_->isNull(row_, column)};
    }
    return true;
  }

  const std::vector<Column>& columns() const { return columns_; }

 private:
  std::vector<Column> columns_;
  std::optional<RowBlocks> blocks_;
  int row_ = 0;
};

}  // namespace kivosql
