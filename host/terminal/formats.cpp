#include "terminal/formats.h"

#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
#include <strings.h>

#include <algorithm>
#include <optional>
#include <set>

#include "terminal/display.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr std::size_t kRowsForWidths = 1000;
constexpr std::size_t kNone = std::string_view::npos;

/// The columns' types are codes of java.sql.Types: TINYINT, BIGINT and NUMERIC to DOUBLE here.
bool isNumeric(const Column& column) {
  return column.type == -6 || column.type == -5 || (column.type >= 2 && column.type <= 8);
}

bool isBoolean(const Column& column) { return column.type == -7 || column.type == 16; }  // BIT, BOOLEAN

/// Whether JSON's grammar takes the text as a number.
bool isJsonNumber(std::string_view text) {
  // Other JSON begins otherwise, and blanks may stand at either end of it.
  const std::string_view digits = "-0123456789";
  if (text.empty() || digits.find(text.front()) == kNone || digits.find(text.back(), 1) == kNone) return false;
  rapidjson::MemoryStream stream(text.data(), text.size());
  static rapidjson::Reader reader;  // keeps its memory
  rapidjson::BaseReaderHandler<> ignore;
  return !reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, ignore).IsError();
}

/// What databases write for true and false; nothing for other text.
std::optional<bool> booleanOf(const std::string& text) {
  // Every second one means true.
  constexpr const char* kWords[] = {"f", "t", "false", "true", "0", "1"};
  for (int word = 0; word < 6; ++word) {
    if (strcasecmp(text.c_str(), kWords[word]) == 0) return word % 2 == 1;
  }
  return {};
}

/// The heading as a row.
Row namesOf(const std::vector<Column>& columns) {
  Row names;
  for (const Column& column : columns) names.push_back({column.name, false});
  return names;
}

/// Its columns are as wide as the first rows need; a wider cell after those stands out.
class TableWriter : public Writer {
 public:
  using Writer::Writer;

  void begin(const std::vector<Column>& columns) override {
    for (const Column& column : columns) right_.push_back(isNumeric(column));
    widths_.assign(columns.size(), 0);
    row(namesOf(columns));
  }

  void row(const Row& row) override {
    std::vector<std::string> cells;
    for (const Cell& cell : row) {
      cells.push_back(cell.isNull ? style_.null : shortened(visible(cell.text), style_.maxCells));
    }
    if (begun_) return writeRow(cells);
    for (std::size_t column = 0; column < cells.size(); ++column) {
      widths_[column] = std::max(widths_[column], cellsOf(cells[column]));
    }
    kept_.push_back(std::move(cells));
    if (kept_.size() > kRowsForWidths) writeKept();
  }

  void end(unsigned long long rows) override {
    if (!begun_) writeKept();
    writeRule("└", "┴", "┘");
    out_.write('(' + counted(rows, "row") + ")\n");
  }

 private:
  void writeKept() {
    begun_ = true;
    writeRule("┌", "┬", "┐");
    writeRow(kept_.front());
    writeRule("├", "┼", "┤");
    for (std::size_t index = 1; index < kept_.size(); ++index) writeRow(kept_[index]);
    kept_ = {};
  }

  void writeRule(const char* left, const char* middle, const char* right) {
    for (std::size_t column = 0; column < widths_.size(); ++column) {
      out_.write(column == 0 ? left : middle).fill("─", widths_[column] + 2);
    }
    out_.write(right).write("\n");
  }

  void writeRow(const std::vector<std::string>& row) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::size_t cells = cellsOf(row[column]);
      const std::size_t blanks = widths_[column] - std::min(cells, widths_[column]);
      out_.write("│ ").fill(" ", right_[column] ? blanks : 0).write(row[column]);
      out_.fill(" ", (right_[column] ? 0 : blanks) + 1);
    }
    out_.write("│\n");
  }

  bool begun_ = false;
  std::vector<std::vector<std::string>> kept_;  ///< the heading, and the rows that widths_ are taken from
  std::vector<std::size_t> widths_;
  std::vector<bool> right_;
};

class CsvWriter : public Writer {
 public:
  using Writer::Writer;

  void begin(const std::vector<Column>& columns) override { row(namesOf(columns)); }

  void row(const Row& row) override {
    for (std::size_t column = 0; column < row.size(); ++column) {
      if (column > 0) out_.Put(',');
      if (row[column].isNull) {
        out_.write(style_.null);
      } else {
        writeText(row[column].text);
      }
    }
    out_.write(style_.crlf ? "\r\n" : "\n");
  }

 private:
  /// Quoted when it must be, and when it would pass for NULL.
  void writeText(std::string_view text) {
    // A lambda, so that the loop over every byte of a result makes no call.
    const auto needsQuotes = [](char byte) { return byte == ',' || byte == '"' || byte == '\r' || byte == '\n'; };
    if (std::none_of(text.begin(), text.end(), needsQuotes) && text != style_.null && !text.empty()) {
      out_.write(text);
      return;
    }
    out_.Put('"');
    for (char byte : text) {
      if (byte == '"') out_.Put('"');
      out_.Put(byte);
    }
    out_.Put('"');
  }
};

/// An array of objects, or one object per line.
template <bool isArray>
class JsonWriter : public Writer {
 public:
  JsonWriter(Output& out, const Style& style) : Writer(out, style), json_(out) {}

  /// Members of an object need names of their own.
  void begin(const std::vector<Column>& columns) override {
    std::set<std::string> taken;
    members_ = columns;
    for (Column& member : members_) {
      const std::string name = member.name;
      for (int copy = 2; !taken.insert(member.name).second; ++copy) member.name = name + '_' + std::to_string(copy);
    }
    if (isArray) out_.write("[\n");
  }

  void row(const Row& row) override {
    if (isArray) out_.write(std::exchange(separator_, ",\n"));
    json_.Reset(out_);
    json_.StartObject();
    for (std::size_t column = 0; column < row.size(); ++column) {
      json_.Key(members_[column].name.data(), size(members_[column].name));
      writeValue(row[column], members_[column]);
    }
    json_.EndObject();
    if (!isArray) out_.Put('\n');
  }

  void end(unsigned long long /*rows*/) override {
    if (isArray) out_.write("\n]\n");
  }

 private:
  static rapidjson::SizeType size(std::string_view text) { return static_cast<rapidjson::SizeType>(text.size()); }

  void writeValue(const Cell& cell, const Column& member) {
    if (cell.isNull) {
      json_.Null();
    } else if (const auto truth = isBoolean(member) ? booleanOf(std::string(cell.text)) : std::nullopt; truth) {
      json_.Bool(*truth);
    } else if (isNumeric(member) && isJsonNumber(cell.text)) {
      // As it stands: no digit of a long number may be lost.
      json_.RawValue(cell.text.data(), cell.text.size(), rapidjson::kNumberType);
    } else {
      json_.String(cell.text.data(), size(cell.text));
    }
  }

  rapidjson::Writer<Output> json_;
  std::vector<Column> members_;
  const char* separator_ = "";
};

template <typename Made>
std::unique_ptr<Writer> make(Output& out, const Style& style) {
  return std::make_unique<Made>(out, style);
}

}  // namespace

const Format kFormats[4] = {
    {"table", "aligned, for a terminal", "∅", true, false, "", "", "", make<TableWriter>},
    {"csv", "comma-separated; NULL is empty, an empty text is \"\"", "", false, true, "", "\n", "", make<CsvWriter>},
    {"json", "an array of objects; for a script, an array of such arrays", "", false, false, "[\n", ",\n", "]\n",
     make<JsonWriter<true>>},
    {"jsonl", "one object per line", "", false, false, "", "", "", make<JsonWriter<false>>},
};

}  // namespace kivosql
