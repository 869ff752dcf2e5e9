/// @file
/// Arrow streams of open results.
#pragma once

#include <cstdint>
#include <string>

#include "kivo_export.h"

class JdbcUtils;
class jdbcWrapper;

// The structures of Arrow's C data interface and C stream interface. Their guards and macros are the documented ones,
// so that other declarations of them may stand beside these, before or after.
extern "C" {

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

/// A type: of a column, or of a whole result. The consumer calls release, once; null there means released.
struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  int64_t flags;
  int64_t n_children;
  ArrowSchema** children;
  ArrowSchema* dictionary;

  void (*release)(ArrowSchema*);
  void* private_data;
};

/// Values: of a column, or of the rows of a batch. The consumer calls release, once; null there means released.
struct ArrowArray {
  int64_t length;
  int64_t null_count;
  int64_t offset;
  int64_t n_buffers;
  int64_t n_children;
  const void** buffers;
  ArrowArray** children;
  ArrowArray* dictionary;

  void (*release)(ArrowArray*);
  void* private_data;
};

#endif  // ARROW_C_DATA_INTERFACE

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

/// Batches of rows, all of the same type. The consumer calls release, once; null there means released.
struct ArrowArrayStream {
  int (*get_schema)(ArrowArrayStream*, ArrowSchema* out);
  int (*get_next)(ArrowArrayStream*, ArrowArray* out);
  const char* (*get_last_error)(ArrowArrayStream*);

  void (*release)(ArrowArrayStream*);
  void* private_data;
};

#endif  // ARROW_C_STREAM_INTERFACE

}  // extern "C"

/// What becomes of a DECIMAL or NUMERIC column that is no decimal128 by itself, because its precision is above 38 or
/// its scale is not known.
enum class ArrowDecimals : std::int32_t {
  text,        ///< utf8, all digits
  float64,     ///< float64, the nearest
  decimal128,  ///< decimal128(38, decimalScale); a value that does not fit is a failure that names its row and column
};

/// Limits of a batch, and choices among types.
struct ArrowStreamOptions {
  int maxRows = 65536;                           ///< maximum rows per batch, 1 to 2^20
  int maxBytes = 16 << 20;                       ///< a batch also ends once it holds this many bytes, 1 to 2^30
  ArrowDecimals decimals = ArrowDecimals::text;  ///< for columns that are no decimal128 by themselves
  int decimalScale = 0;                          ///< digits after the point, 0 to 38, for ArrowDecimals::decimal128
  bool outOfRangeAsNull = false;    ///< null for a date or time that its Arrow type cannot hold, instead of a failure
  bool mixedColumnsAsText = false;  ///< utf8 for the columns of a database whose cells may have any type (SQLite)
};

/// Makes an Arrow stream of the open result of a JdbcUtils or a jdbcWrapper: its columns with their types, many rows
/// per Java call, without a copy on the way to the consumer.
///
///     ArrowArrayStream stream;
///     if (!makeArrowStream(database, stream, error)) return report(error);
///     consume(&stream);  // it releases the stream
///
/// Every column may hold nulls. The metadata of each has the database's own name of its type, under the key
/// "KIVO:type_name".
///
/// The four functions of the stream may be called from any thread, one at a time. A thread that the Java VM does not
/// know is attached to it as a daemon, and detached when the thread ends. An exception that was pending on the thread
/// is pending again afterwards. Nothing is printed, and no exception escapes.
///
/// - get_next() answers 0 and a batch of at least one row. The end is 0 and a released array.
/// - Failures: EIO when the database or the Java VM failed, EINVAL for a value that its type cannot hold, for a result
///   that is no longer open and for a released stream, ENOMEM without memory. The rows before one that fails come
///   first. A get_next() that failed fails again.
/// - get_last_error() gives the text of the last call's failure, in standard UTF-8, with the SQLState and the causes;
///   null without one. It is valid until the next call.
///
/// Rows that were read are consumed for the source as well: read a result through one of the two, not both. While a
/// function of the stream runs, nothing else may use the source. The source may be closed, or run another query, before
/// the stream is released; get_next() then fails.
///
/// Schemas, arrays, and children that were moved out of them are released from any thread, in any order, before or
/// after the stream. What is not released holds memory outside the Java heap.
///
/// Thread: the source's.
/// @param stream   filled in on success, whatever it held; released (its release is null) on failure.
/// @param errorOut replaced by an error text on failure, untouched on success.
/// @return false without an open result, without the companion jar on the class path, when the columns cannot be
///         described, and without memory. std::bad_alloc can escape, with everything released.
/// @{
KIVO_EXPORT bool makeArrowStream(JdbcUtils& source, ArrowArrayStream& stream, std::string& errorOut,
                                 const ArrowStreamOptions& options = {});
KIVO_EXPORT bool makeArrowStream(jdbcWrapper& source, ArrowArrayStream& stream, std::string& errorOut,
                                 const ArrowStreamOptions& options = {});
/// @}
