#include <strings.h>

#include <algorithm>
#include <filesystem>

#include "KivoUtf8.h"
#include "cli/commands.h"
#include "sql/csv_reader.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"
#include "terminal/progress.h"

namespace kivosql {

namespace {

using Record = std::vector<CsvField>;

/// What a row of the table is made of.
struct Line {
  Record values;
  std::size_t number;  ///< of the file's line on which it begins
};

/// A batch lies in the Java heap when it is stored, in some databases' drivers several times over.
constexpr unsigned long long kMaxBatchBytes = 4ULL << 20U;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

constexpr const char* kNotOnDisk = "they may not be on disk";

/// The column of that name; the case counts only where names differ in nothing else.
const Column* findColumn(const std::vector<Column>& columns, const std::string& name) {
  const Column* found = nullptr;
  for (const Column& column : columns) {
    if (column.name == name) return &column;
    if (strcasecmp(column.name.c_str(), name.c_str()) == 0) found = &column;
  }
  return found;
}

std::string range(unsigned long long first, unsigned long long last) {
  return first == last ? "row " + grouped(first) : "rows " + grouped(first) + " to " + grouped(last);
}

/// Loads one file into one table.
class Loader {
 public:
  Loader(Context& context, std::istream& input, unsigned long long size)
      : context_(context),
        writing_(*context.session.writing()),
        path_(context.options.arguments[0]),
        table_(context.options.arguments[1]),
        null_(context.options.null.value_or("")),
        reader_(input),
        progress_(size) {}

  ExitCode run() {
    if (!context_.session.describe(table_)) return stopped(failed(""));
    columns_ = context_.session.columns();
    if (!context_.options.noHeader && !readHeader()) return stopped(refused());
    std::vector<std::string> names;
    for (const Column& column : columns_) names.push_back(column.name);
    if (!writing_.prepareRows(table_, names)) return stopped(failed(""));
    durable_ = writing_.syncRows();
    transactional_ = writing_.undoesRows();
    if (!context_.options.singleTransaction) return stopped(loadAll());
    if (!transactional_) {
      fault_ = table_ + " is not known to have transactions, which --single-transaction needs";
      return stopped(refused());
    }
    if (!writing_.beginTransaction()) return stopped(failed(""));
    return stopped(ended(loadAll()));
  }

 private:
  /// @return false at the end, and on a fault.
  bool nextRecord(Record& record) {
    try {
      const bool read = reader_.next(record);
      if (standardInputFailed()) return fail("cannot read standard input");
      return read || fail(reader_.error());
    } catch (const std::ios_base::failure& failure) {
      return fail(failure.what());
    }
  }

  bool readHeader() {
    Record header;
    if (!nextRecord(header)) return fail(fault_.empty() ? "the file is empty" : fault_);
    std::vector<Column> chosen;
    for (const CsvField& field : header) {
      const Column* column = findColumn(columns_, field.text);
      if (column == nullptr) return fail(table_ + " has no column \"" + field.text + "\"");
      chosen.push_back(*column);
    }
    columns_ = chosen;
    return true;
  }

  ExitCode loadAll() {
    Record record;
    while (nextRecord(record)) {
      // A line with nothing on it is a value only where there is one column.
      if (record.size() == 1 && columns_.size() > 1 && record[0].text.empty() && !record[0].quoted) continue;
      if (!accepts(record)) return refused();
      batch_.push_back({std::move(record), reader_.line()});
      if (batch_.size() < context_.options.batchRows && reader_.bytes() - storedBytes_ < kMaxBatchBytes) continue;
      if (const ExitCode code = store(); code != kDone) return code;
    }
    return fault_.empty() ? store() : refused();
  }

  /// Ends the transaction of all the rows.
  ExitCode ended(ExitCode code) {
    progress_.stop();
    const bool complete = code == kDone;
    doubt_ = endTransaction(context_, code, path_ + ": ");
    // What nobody tried to commit went with the connection.
    if (!complete && context_.session.isBroken()) doubt_.clear();
    if (code != kDone || !durable_ || writing_.syncRows()) return code;
    doubt_ = kNotOnDisk;
    return failed(path_ + ": ");
  }

  bool accepts(const Record& record) {
    const std::string place = "line " + std::to_string(reader_.line());
    if (record.size() != columns_.size()) {
      return fail(place + " has " + counted(record.size(), "value") + " for " + counted(columns_.size(), "column"));
    }
    for (const CsvField& field : record) {
      if (!isAscii(field.text) && kivo::utf8::toModified(field.text).replacements > 0)
        return fail(place + " is not UTF-8");
    }
    return true;
  }

  /// Stores the batch, or nothing of it, except where doubt_ says otherwise.
  bool storeBatch() {
    packed_.clear();
    for (const Line& line : batch_) {
      for (const CsvField& field : line.values) packed_.add({field.text, !field.quoted && field.text == null_});
    }
    const bool stored = writing_.storeRows(packed_);
    // A database that cannot write closes itself, and may lose what it had committed.
    if (durable_ && !context_.options.singleTransaction && !writing_.syncRows()) doubt_ = kNotOnDisk;
    if (stored || !doubt_.empty() || broke()) return doubt_.empty();
    if (!transactional_) doubt_ = "the table has no transactions";
    if (transactional_ && !Interrupt::happened()) failed_ = writing_.failedRow(packed_);
    return false;
  }

  bool broke() {
    if (!context_.session.isBroken()) return false;
    doubt_ = "the connection broke";
    return true;
  }

  ExitCode store() {
    if (Interrupt::happened()) return failed("");
    if (!batch_.empty() && !storeBatch()) return failed(place() + ": ");
    stored_ += batch_.size();
    batch_.clear();
    storedBytes_ = reader_.bytes();
    progress_.advance(stored_, reader_.bytes());
    return kDone;
  }

  bool fail(const std::string& fault) {
    fault_ = fault;
    return false;
  }

  ExitCode failed(const std::string& what) {
    progress_.stop();
    return kivosql::failed(context_, what);
  }

  ExitCode refused() {
    if (Interrupt::happened()) return failed("");
    progress_.stop();
    complain(path_ + ": " + fault_);
    return kFailed;
  }

  /// Where in the file the batch failed.
  std::string place() const {
    if (!failed_) {
      return path_ + ", " + range(stored_ + 1, stored_ + batch_.size()) + ", from line " +
             std::to_string(batch_.front().number);
    }
    return path_ + ", row " + grouped(stored_ + *failed_ + 1) + ", line " + std::to_string(batch_[*failed_].number);
  }

  /// Exactly which rows are in the table, where that can be known.
  void tellStored() const {
    const bool counts = !context_.options.singleTransaction && (doubt_.empty() || durable_);
    const unsigned long long certain = counts ? stored_ : 0;
    const std::string sure = range(1, certain) + " of " + path_ + (certain == 1 ? " is stored" : " are stored");
    const std::string unsure =
        range(certain + 1, stored_ + batch_.size()) + " of " + path_ + " may be stored: " + doubt_;
    if (doubt_.empty()) {
      complain(certain == 0 ? "no row of " + path_ + " is stored" : "only " + sure);
    } else {
      complain(certain == 0 ? unsure : sure + ", " + unsure);
    }
  }

  /// The last word.
  ExitCode stopped(ExitCode code) {
    progress_.stop();
    if (code == kDone) {
      remark(context_, counted(stored_, "row") + " stored in " + table_);
      tellTiming(context_, stored_, watch_.elapsed());
    } else {
      tellStored();
    }
    return code;
  }

  Context& context_;
  WritingSession& writing_;
  const std::string path_;
  const std::string table_;
  const std::string null_;
  CsvReader reader_;
  std::vector<Column> columns_;
  bool durable_ = false;  ///< the user may have the database write to disk
  bool transactional_ = true;
  std::vector<Line> batch_;
  PackedRows packed_;
  std::optional<std::size_t> failed_;  ///< of the batch
  std::string doubt_;                  ///< why some of the batch may be stored although it failed
  unsigned long long stored_ = 0;
  unsigned long long storedBytes_ = 0;  ///< of the file
  std::string fault_;
  Stopwatch watch_;
  Progress progress_;
};

}  // namespace

ExitCode runLoad(Context& context) {
  const std::string& path = context.options.arguments[0];
  const std::string& table = context.options.arguments[1];
  if (!isTableName(table)) {
    complain("\"" + table + "\" is not the name of a table");
    return kWrongUse;
  }
  std::error_code unknown;
  const auto size = std::filesystem::file_size(path, unknown);
  std::ifstream file;
  std::istream* const input = openInput(path, file);
  if (input == nullptr) return kWrongUse;
  return Loader(context, *input, unknown ? 0 : size).run();
}

}  // namespace kivosql
