#include <algorithm>

#include "terminal/display.h"
#include "terminal/formats.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr std::size_t kRowsForWidths = 1000;

constexpr const char* kBold = "\x1B[1m";
constexpr const char* kDim = "\x1B[2m";
constexpr const char* kReset = "\x1B[0m";

bool standsRight(const Column& column) {
  const Kind kind = kindOf(column.type);
  return kind == Kind::integer || kind == Kind::decimal;
}

class StyledWriter : public Writer {
 public:
  StyledWriter(Output& out, Style style) : out_(out), style_(std::move(style)) {}

 protected:
  std::string shown(const Cell& cell) const {
    return cell.isNull ? style_.null : shortened(visible(cell.text), style_.maxCells);
  }

  void writeColoured(const char* colour, const std::string& text) {
    if (style_.colours && *colour != '\0') {
      out_.write(colour).write(text).write(kReset);
    } else {
      out_.write(text);
    }
  }

  Output& out_;
  Style style_;
};

/// Its columns are as wide as the first rows ask for; a wider cell further down stands out.
class TableWriter : public StyledWriter {
 public:
  using StyledWriter::StyledWriter;

  void begin(const std::vector<Column>& columns) override {
    for (const Column& column : columns) right_.push_back(standsRight(column));
    widths_.assign(columns.size(), 0);
    keep(namesOf(columns));
  }

  void row(const Row& row) override {
    if (begun_) return writeRow(shownRow(row), "");
    keep(row);
    if (kept_.size() > kRowsForWidths) writeKept();
  }

  void end(unsigned long long rows) override {
    writeKept();
    writeRule("└", "┴", "┘");
    out_.write('(' + counted(rows, "row") + ")\n");
  }

 private:
  /// A cell as it is written.
  struct Shown {
    std::string text;
    bool isNull;
  };
  using ShownRow = std::vector<Shown>;

  ShownRow shownRow(const Row& row) const {
    ShownRow cells;
    cells.reserve(row.size());
    for (const Cell& cell : row) cells.push_back({shown(cell), cell.isNull});
    return cells;
  }

  void keep(const Row& row) {
    const ShownRow& kept = kept_.emplace_back(shownRow(row));
    for (std::size_t column = 0; column < kept.size(); ++column) {
      widths_[column] = std::max(widths_[column], cellsOf(kept[column].text));
    }
  }

  void writeKept() {
    if (begun_) return;
    begun_ = true;
    writeRule("┌", "┬", "┐");
    writeRow(kept_.front(), kBold);
    writeRule("├", "┼", "┤");
    for (std::size_t index = 1; index < kept_.size(); ++index) writeRow(kept_[index], "");
    kept_.clear();
    kept_.shrink_to_fit();
  }

  void writeRule(const char* left, const char* middle, const char* right) {
    for (std::size_t column = 0; column < widths_.size(); ++column) {
      out_.write(column == 0 ? left : middle).fill("─", widths_[column] + 2);
    }
    out_.write(right).write("\n");
  }

  void writeRow(const ShownRow& row, const char* colour) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::string& text = row[column].text;
      const std::size_t cells = cellsOf(text);
      const std::size_t blanks = widths_[column] - std::min(cells, widths_[column]);
      out_.write("│ ").fill(" ", right_[column] ? blanks : 0);
      writeColoured(row[column].isNull ? kDim : colour, text);
      out_.fill(" ", (right_[column] ? 0 : blanks) + 1);
    }
    out_.write("│\n");
  }

  bool begun_ = false;
  std::vector<ShownRow> kept_;
  std::vector<std::size_t> widths_;
  std::vector<bool> right_;
};

class VerticalWriter : public StyledWriter {
 public:
  VerticalWriter(Output& out, const Style& style) : StyledWriter(out, style) { style_.maxCells = 0; }

  void begin(const std::vector<Column>& columns) override {
    for (const Column& column : columns) {
      names_.push_back(visible(column.name));
      width_ = std::max(width_, cellsOf(names_.back()));
    }
  }

  void row(const Row& row) override {
    writeColoured(kBold, "── " + grouped(++number_) + " ──");
    out_.write("\n");
    for (std::size_t column = 0; column < row.size(); ++column) {
      out_.write(names_[column]).fill(" ", width_ - cellsOf(names_[column]) + 2);
      writeColoured(row[column].isNull ? kDim : "", shown(row[column]));
      out_.write("\n");
    }
  }

  void end(unsigned long long rows) override { out_.write('(' + counted(rows, "row") + ")\n"); }

 private:
  unsigned long long number_ = 0;
  std::size_t width_ = 0;
  std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<Writer> makeTable(Output& out, const Style& style) { return std::make_unique<TableWriter>(out, style); }

std::unique_ptr<Writer> makeVertical(Output& out, const Style& style) {
  return std::make_unique<VerticalWriter>(out, style);
}

}  // namespace kivosql
