#include <strings.h>

#include <algorithm>
#include <filesystem>

#include "KivoUtf8.h"
#include "cli/commands.h"
#include "sql/csv_reader.h"
#include "sql/sql_literals.h"
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
constexpr unsigned long long kMostBatchBytes = 4ULL << 20U;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

constexpr const char* kNotOnDisk = "they may not be on disk";

/// Asks the database itself how it reads a backslash in quotes: that may hang on a setting, and a wrong guess would let
/// a value of the file end its literal. @return false when the answer is neither of the known ones.
bool askDialect(Session& session, const std::string& table, Dialect& dialect) {
  // One row from any table, even from an empty one, without a word that only some databases have.
  const std::string probe = R"(select 'a''b\\c' from (select count(*) as n from )" + table + " where 1 = 0) x";
  Row row;
  if (!session.query(probe, 0) || session.next(row) != Step::row || row.size() != 1) return false;
  const std::string answer(row[0].text);
  if (session.next(row) != Step::end) return false;
  dialect = answer == R"(a'b\c)" ? Dialect::backslash : Dialect::standard;
  return dialect == Dialect::backslash || answer == R"(a'b\\c)";
}

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
        path_(context.options.arguments[0]),
        table_(context.options.arguments[1]),
        null_(context.options.null.value_or("")),
        reader_(input),
        literals_(literalsFor(context.session.url())),
        progress_(size) {}

  ExitCode run() {
    if (!context_.session.describe(table_)) return stopped(failed(""));
    columns_ = context_.session.columns();
    if (!context_.options.noHeader && !readHeader()) return stopped(refused());
    if (!askDialect(context_.session, table_, dialect_)) {
      fault_ = "this database does not say how it reads quotes; values cannot be sent to it safely";
      return stopped(refused());
    }
    std::string names;
    for (const Column& column : columns_) names += (names.empty() ? "" : ", ") + quotedName(column.name, literals_);
    insert_ = "insert into " + table_ + " (" + names + ") values ";
    durable_ = sync();
    transactional_ = hasTransactions();
    prepared_ = context_.session.prepareRows(insert_, static_cast<int>(columns_.size()));
    if (!context_.options.singleTransaction) return stopped(loadAll());
    if (!transactional_) {
      fault_ = table_ + " is not known to have transactions, which --single-transaction needs";
      return stopped(refused());
    }
    if (!context_.session.beginTransaction()) return stopped(failed(""));
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
      if (batch_.size() < context_.options.batchRows && reader_.bytes() - storedBytes_ < kMostBatchBytes) continue;
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
    if (code != kDone || !durable_ || sync()) return code;
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

  Cell valueOf(const CsvField& field) const { return {field.text, !field.quoted && field.text == null_}; }

  /// The fast way, where there is one.
  bool storeRows() {
    if (!prepared_) return false;
    packed_.clear();
    for (const Line& line : batch_) {
      for (std::size_t column = 0; column < line.values.size(); ++column) {
        const Cell value = valueOf(line.values[column]);
        packed_.add({parameter(value, columns_[column].type), value.isNull});
      }
    }
    return context_.session.storeRows(packed_);
  }

  /// The batch in a form that every database knows.
  std::vector<std::string> inserts() const {
    std::vector<std::string> statements;
    statements.reserve(batch_.size());
    for (const Line& line : batch_) {
      std::string sql = insert_;
      for (std::size_t column = 0; column < line.values.size(); ++column) {
        sql += column == 0 ? "(" : ", ";
        sql += literal(valueOf(line.values[column]), columns_[column], literals_, dialect_);
      }
      statements.push_back(sql + ')');
    }
    return statements;
  }

  /// Has the database write to disk what it committed, where a commit alone does not wait for that.
  bool sync() { return *literals_.sync == '\0' || context_.session.update(literals_.sync) >= 0; }

  /// Whether the database undoes a batch that fails.
  bool hasTransactions() {
    if (*literals_.definition == '\0') return true;
    Row row;
    if (!context_.session.query(literals_.definition + table_, 0) || context_.session.next(row) != Step::row)
      return false;
    const bool has = row.size() == 2 && row[1].text.find("\n) ENGINE=InnoDB") != std::string_view::npos;
    return context_.session.next(row) == Step::end && has;
  }

  /// Stores the batch, or nothing of it, except where doubt_ says otherwise.
  bool storeBatch() {
    if (storeRows()) return true;
    if ((prepared_ && broke()) || Interrupt::happened()) return false;
    // Where this way works and the fast one did not, the rest goes this way too.
    prepared_ = false;
    const std::vector<std::string> statements = inserts();
    const bool stored = context_.session.updateAll(statements);
    // A database that cannot write closes itself, and may lose what it had committed.
    if (durable_ && !context_.options.singleTransaction && !sync()) doubt_ = kNotOnDisk;
    if (stored || !doubt_.empty() || broke()) return doubt_.empty();
    if (!transactional_) doubt_ = "the table has no transactions";
    failed_ = context_.session.failedStatement(statements, transactional_ && !Interrupt::happened());
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
  const std::string path_;
  const std::string table_;
  const std::string null_;
  CsvReader reader_;
  const Literals& literals_;
  Dialect dialect_ = Dialect::standard;
  std::vector<Column> columns_;
  std::string insert_;
  bool durable_ = false;   ///< the user may have the database write to disk
  bool prepared_ = false;  ///< rows can be stored without statements of their own
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
