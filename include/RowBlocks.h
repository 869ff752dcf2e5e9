#pragma once

#include <jni.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "kivo_export.h"

class JdbcUtils;
class jdbcWrapper;

/// Limits of a block, and the encoding of its text.
struct RowBlocksOptions {
  int maxRows = 1024;         ///< maximum rows per block, 1 to 65536; a block also ends once it holds a megabyte
  bool standardUtf8 = false;  ///< standard UTF-8 instead of JNI's modified form; half a surrogate pair becomes U+FFFD
  int maxRowBytes = 1 << 28;  ///< maximum bytes of text per row, 1 to 2^29; a larger row is a failure
};

/// Reads the open result of a JdbcUtils or a jdbcWrapper by the block: one Java call for many rows, whose values are
/// then read in place. Each value has the text that the source's getColumn() would give.
///
///     RowBlocks blocks(database);
///     while (blocks.next())
///       for (int row = 0; row < blocks.rows(); ++row)
///         for (int column = 1; column <= blocks.columns(); ++column) use(blocks.text(row, column));
///     if (blocks.errorState != 0) report(blocks.errorMessage);
///
/// If the driver fetches fewer rows at a time than a block holds, its fetch size is raised, up to four times its own
/// number, as long as those rows fit in a megabyte. For wider rows it is lowered.
///
/// Rows that were read are consumed for the source as well: read a result through one of the two, not both. The source
/// may be closed, or run another query, before this object ends; next() then fails.
///
/// Errors: errorState and errorMessage, as in jdbcWrapper. When a row fails, the rows before it come first; a failure
/// also closes the result of a jdbcWrapper, so that the database holds nothing for it any more. Nothing is printed, and
/// an exception that the source left pending stays for the source to report.
///
/// Thread: the source's thread at construction; the destructor runs there too. Members throw nothing of their own;
/// std::bad_alloc can escape, with everything released.
///
/// The fields are public because their order is part of the binary interface; hosts read the last two only.
class KIVO_EXPORT RowBlocks {
 public:
  /// Without an open result, or without the companion jar on the class path, errorState is 2 and next() fails.
  /// @{
  explicit RowBlocks(JdbcUtils& source, const RowBlocksOptions& options = {});
  explicit RowBlocks(jdbcWrapper& source, const RowBlocksOptions& options = {});
  /// @}

  /// Releases the block. It closes nothing: the result is the source's.
  ~RowBlocks();

  RowBlocks(const RowBlocks&) = delete;
  RowBlocks& operator=(const RowBlocks&) = delete;

  /// Reads the next block, of at least one row; the texts of the one before are gone. False with errorState 0 is the
  /// end of the rows.
  bool next();

  /// @return the number of rows of the block that next() read; 0 when it did not answer true.
  int rows() const { return rowCount; }

  /// @return the number of columns; 0 before the first next().
  int columns() const { return columnCount; }

  /// Whether a value is SQL NULL. Here and in text() the numbers are not checked.
  /// @param row    counted from 0, below rows().
  /// @param column counted from 1, up to columns().
  bool isNull(int row, int column) const { return ends[index(row, column)] < 0; }

  /// The text of a value, not terminated by a NUL; empty for SQL NULL.
  /// @return a view that is valid until next() or the end of this object.
  std::string_view text(int row, int column) const {
    const std::ptrdiff_t cell = index(row, column);
    // The entry before the first cell is 0.
    const std::size_t start = end(ends[cell - 1]);
    return {texts + start, end(ends[cell]) - start};
  }

  JNIEnv* env = nullptr;               ///< Environment of the source's thread.
  jobject packer = nullptr;            ///< The Java object that reads, global reference or null.
  jmethodID packMethod = nullptr;      ///< Its method that reads a block.
  jmethodID failureMethod = nullptr;   ///< Its method that describes a failure.
  const std::int32_t* ends = nullptr;  ///< Where each cell's text ends, row by row; the complement for SQL NULL.
  const char* texts = nullptr;         ///< The block's text.
  int rowCount = 0;                    ///< Rows of the block.
  int columnCount = 0;                 ///< Columns of each row.
  int blockState = 0;                  ///< 0: more may come, 1: the rows have ended, 2 and 3: a row has failed.
  int errorState = 0;                  ///< 0 none, 1 the database's error, 2 any other.
  std::string errorMessage;            ///< Text of the error, with its SQLState; empty without one.

 private:
  // Signed, because text() computes the entry before the first cell; a host may check unsigned numbers for overflow.
  std::ptrdiff_t index(int row, int column) const { return std::ptrdiff_t{row} * columnCount + column - 1; }
  static std::size_t end(std::int32_t mark) { return static_cast<std::size_t>(mark < 0 ? ~mark : mark); }
};
