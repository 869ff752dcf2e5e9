#pragma once

#include <memory>
#include <string>
#include <vector>

#include "session/session.h"
#include "terminal/output.h"

namespace kivosql {

struct Style {
  std::string null;          ///< how NULL is written; JSON has its own
  std::size_t maxCells = 0;  ///< the widest cell of an aligned table; 0 is no limit
  bool colours = false;
  bool crlf = false;  ///< how a line of CSV ends
};

/// Writes one result. Rows are written as they come; only the aligned table keeps some back.
class Writer {
 public:
  virtual ~Writer() = default;
  virtual void begin(const std::vector<Column>& columns) = 0;
  virtual void row(const Row& row) = 0;
  /// @param rows how many there were.
  virtual void end(unsigned long long rows) = 0;
};

/// The heading as a row.
Row namesOf(const std::vector<Column>& columns);

/// What stands around and between the results of a script.
struct Results {
  const char* open;
  const char* between;
  const char* close;
};

constexpr Results kNothingBetween{"", "", ""};
constexpr Results kBlankLine{"", "\n", ""};
constexpr Results kOneArray{"[\n", ",\n", "]\n"};

struct Format {
  const char* name;
  const char* about;
  const char* null;  ///< how NULL is written by default
  bool forPeople;    ///< remarks may stand between its rows
  Results ofScript;
  std::unique_ptr<Writer> (*make)(Output& out, const Style& style);
};

std::unique_ptr<Writer> makeTable(Output& out, const Style& style);
std::unique_ptr<Writer> makeVertical(Output& out, const Style& style);
std::unique_ptr<Writer> makeCsv(Output& out, const Style& style);
std::unique_ptr<Writer> makeJson(Output& out, const Style& style);
std::unique_ptr<Writer> makeJsonLines(Output& out, const Style& style);
std::unique_ptr<Writer> makeMarkdown(Output& out, const Style& style);

constexpr Format kFormats[] = {
    {"table", "aligned, for a terminal", "∅", true, kNothingBetween, makeTable},
    {"vertical", "a line for each value", "∅", true, kNothingBetween, makeVertical},
    {"csv", "separated by commas; NULL is empty, an empty text is \"\"", "", false, kBlankLine, makeCsv},
    {"json", "an array of objects; for a script an array of such arrays", "", false, kOneArray, makeJson},
    {"jsonl", "an object a line", "", false, kNothingBetween, makeJsonLines},
    {"markdown", "a table for a document", "∅", false, kBlankLine, makeMarkdown},
};

}  // namespace kivosql
