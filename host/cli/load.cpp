#include <strings.h>

#include "cli/commands.h"
#include "sql/csv_reader.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

using Record = std::vector<CsvField>;

/// A batch lies in the Java heap when it is stored, in some databases' drivers several times over.
constexpr std::size_t kMaxBatchBytes = std::size_t{4} << 20U;

/// The column of that name; case counts only where names differ in nothing else.
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

/// Which rows of the file are in the table.
struct Outcome {
  unsigned long long stored = 0;
  unsigned long long tried = 0;
  std::string doubt;  ///< why rows that were tried may be stored although they failed

  std::string text(const std::string& path) const {
    const std::string sure = range(1, stored) + " of " + path + (stored == 1 ? " is stored" : " are stored");
    if (doubt.empty()) return stored == 0 ? "no row of " + path + " is stored" : "only " + sure;
    const std::string unsure = range(stored + 1, tried) + " of " + path + " may be stored: " + doubt;
    return stored == 0 ? unsure : sure + ", " + unsure;
  }
};

/// Loads one file into one table.
class Loader {
 public:
  Loader(Context& context, std::streambuf& input)
      : context_(context), writing_(*context.session.writing()), reader_(path_, input) {}

  ExitCode run() {
    const auto failure = attempt([this] { load(); });
    progress_.stop();
    if (failure) {
      const ExitCode code = report(context_, *failure, "");
      if (asOne_) undo();
      complain(outcome_.text(path_));
      return code;
    }
    remark(context_, counted(outcome_.stored, "row") + " stored in " + table_);
    if (context_.options.timing) say(progress_.text());
    return kDone;
  }

 private:
  void load() {
    std::vector<Column> columns = context_.session.describe(table_);
    if (!context_.options.noHeader) columns = readHeader(columns);
    rows_.emplace(writing_.loader(table_, columns));
    durable_ = !attempt([this] { rows_->sync(); });
    undoes_ = rows_->undoes();
    if (context_.options.singleTransaction) {
      if (!undoes_) reader_.fail(table_ + " is not known to have transactions, which --single-transaction needs");
      writing_.beginTransaction();
      asOne_ = true;
    }
    for (Record record; readRow(record, columns.size());) {
      for (const CsvField& field : record) rows_->add({field.text, !field.quoted && field.text == null_});
      lines_.push_back(reader_.line());
      if (lines_.size() >= context_.options.batchRows || rows_->bytes() >= kMaxBatchBytes) store();
    }
    store();
    if (asOne_) finish();
  }

  /// @return those of @p columns that the header names, in its order
  std::vector<Column> readHeader(const std::vector<Column>& columns) {
    Record header;
    if (!reader_.next(header)) reader_.fail("the file is empty");
    std::vector<Column> chosen;
    for (const CsvField& field : header) {
      const Column* column = findColumn(columns, field.text);
      if (column == nullptr) reader_.fail(table_ + " has no column \"" + field.text + "\"");
      chosen.push_back(*column);
    }
    return chosen;
  }

  /// Reads a record with a value for each column. @return false at the end.
  bool readRow(Record& record, std::size_t columns) {
    do {
      if (!reader_.next(record)) return false;
      // An empty line is a value only where there is one column.
    } while (columns > 1 && record.size() == 1 && record[0].text.empty() && !record[0].quoted);
    const std::string line = "line " + std::to_string(reader_.line());
    if (record.size() != columns) {
      reader_.fail(line + " has " + counted(record.size(), "value") + " for " + counted(columns, "column"));
    }
    for (const CsvField& field : record) {
      if (!isUtf8(field.text)) reader_.fail(line + " is not UTF-8");
    }
    return true;
  }

  /// Stores the batch.
  void store() {
    checkInterrupt();
    if (lines_.empty()) return;
    outcome_.tried = outcome_.stored + lines_.size();
    auto failure = attempt([this] { rows_->store(); });
    // A database that cannot write closes itself, and may lose what it had committed.
    if (const auto unwritten = asOne_ ? std::nullopt : sync()) failure = unwritten;
    if (failure) diagnose(*failure);
    outcome_.stored = outcome_.tried;
    lines_.clear();
    progress_.advance(outcome_.stored);
  }

  /// Writes what is stored to disk, if the user may.
  std::optional<Failure> sync() {
    if (!durable_) return {};
    auto failure = attempt([this] { rows_->sync(); });
    if (failure) outcome_.doubt = "they may not be on disk";
    return failure;
  }

  /// Throws why and where the batch failed.
  [[noreturn]] void diagnose(Failure failure) {
    std::optional<std::size_t> row;
    if (!outcome_.doubt.empty()) {
      // No row of it is at fault.
    } else if (context_.session.isBroken()) {
      outcome_.doubt = "the connection broke";
    } else if (!undoes_) {
      outcome_.doubt = "the table has no transactions";
    } else if (!Interrupt::happened()) {
      row = rows_->failedRow(failure);
    }
    const std::string place =
        row ? range(outcome_.stored + *row + 1, outcome_.stored + *row + 1) + ", line " + std::to_string(lines_[*row])
            : range(outcome_.stored + 1, outcome_.tried) + ", from line " + std::to_string(lines_.front());
    // What was committed before may not be on disk either.
    if (!outcome_.doubt.empty() && !durable_) outcome_.stored = 0;
    throw failure.at(path_ + ", " + place + ": ");
  }

  /// Ends the transaction of all the rows.
  void finish() {
    committing_ = true;
    commit(writing_, path_);
    asOne_ = false;
    const auto failure = sync();
    if (!failure) return;
    outcome_.stored = 0;
    throw failure->at(path_ + ": ");
  }

  void undo() {
    outcome_.stored = 0;
    outcome_.doubt = rollBack(writing_);
    // A connection that broke before the commit took all the rows with it.
    if (!committing_ && context_.session.isBroken()) outcome_.doubt.clear();
  }

  Context& context_;
  WrapperSession& writing_;
  const std::string& path_ = context_.options.arguments[0];
  const std::string& table_ = context_.options.arguments[1];
  const std::string null_ = context_.options.null.value_or("");
  CsvReader reader_;
  std::optional<RowLoader> rows_;   ///< the batch
  std::vector<std::size_t> lines_;  ///< where each row of the batch begins
  bool durable_ = false;            ///< the user may make the database write to disk
  bool undoes_ = true;
  bool asOne_ = false;  ///< all rows are one transaction, which is open
  bool committing_ = false;
  Outcome outcome_;
  Progress progress_;
};

}  // namespace

ExitCode runLoad(Context& context) {
  auto file = openInput(context.options.arguments[0]);
  return Loader(context, file).run();
}

}  // namespace kivosql
