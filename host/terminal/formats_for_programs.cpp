#include <rapidjson/writer.h>

#include <algorithm>
#include <set>

#include "terminal/display.h"
#include "terminal/formats.h"

namespace kivosql {

namespace {

/// A lambda, which a loop over every byte of a result takes in.
constexpr auto kNeedsQuotes = [](char byte) { return byte == ',' || byte == '"' || byte == '\r' || byte == '\n'; };

class CsvWriter : public Writer {
 public:
  CsvWriter(Output& out, const Style& style) : out_(out), null_(style.null), lineEnd_(style.crlf ? "\r\n" : "\n") {}

  void begin(const std::vector<Column>& columns) override { row(namesOf(columns)); }

  void row(const Row& row) override {
    for (std::size_t column = 0; column < row.size(); ++column) {
      if (column > 0) out_.Put(',');
      if (row[column].isNull) {
        out_.write(null_);
      } else {
        writeText(row[column].text);
      }
    }
    out_.write(lineEnd_);
  }

  void end(unsigned long long /*rows*/) override {}

 private:
  /// Quoted when it must be, and when it would pass for NULL.
  void writeText(std::string_view text) {
    if (std::none_of(text.begin(), text.end(), kNeedsQuotes) && text != null_ && !text.empty()) {
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

  Output& out_;
  std::string null_;
  std::string_view lineEnd_;
};

/// What stands around and between the objects.
struct JsonFrame {
  const char* open;
  const char* between;
  const char* after;
  const char* close;
};

constexpr JsonFrame kArray{"[\n", ",\n", "", "\n]\n"};
constexpr JsonFrame kLines{"", "", "\n", ""};

class JsonWriter : public Writer {
 public:
  JsonWriter(Output& out, const JsonFrame& frame) : out_(out), frame_(frame), json_(out) {}

  /// Members of an object need names of their own.
  void begin(const std::vector<Column>& columns) override {
    std::set<std::string> taken;
    for (const Column& column : columns) {
      std::string name = column.name;
      for (int copy = 2; !taken.insert(name).second; ++copy) name = column.name + '_' + std::to_string(copy);
      members_.push_back({name, kindOf(column.type)});
    }
    out_.write(frame_.open);
  }

  void row(const Row& row) override {
    if (!first_) out_.write(frame_.between);
    first_ = false;
    json_.Reset(out_);
    json_.StartObject();
    for (std::size_t column = 0; column < row.size(); ++column) {
      json_.Key(members_[column].name.data(), size(members_[column].name));
      writeValue(row[column], members_[column].kind);
    }
    json_.EndObject();
    out_.write(frame_.after);
  }

  void end(unsigned long long /*rows*/) override { out_.write(frame_.close); }

 private:
  struct Member {
    std::string name;
    Kind kind;
  };

  static rapidjson::SizeType size(std::string_view text) { return static_cast<rapidjson::SizeType>(text.size()); }

  void writeValue(const Cell& cell, Kind kind) {
    if (cell.isNull) {
      json_.Null();
    } else if (kind == Kind::truth && truthOf(cell.text) >= 0) {
      json_.Bool(truthOf(cell.text) == 1);
    } else if ((kind == Kind::integer || kind == Kind::decimal) && isNumber(cell.text)) {
      // As it stands: no digit of a long number may be lost.
      json_.RawValue(cell.text.data(), cell.text.size(), rapidjson::kNumberType);
    } else {
      json_.String(cell.text.data(), size(cell.text));
    }
  }

  Output& out_;
  JsonFrame frame_;
  rapidjson::Writer<Output> json_;
  std::vector<Member> members_;
  bool first_ = true;
};

class MarkdownWriter : public Writer {
 public:
  MarkdownWriter(Output& out, const Style& style) : out_(out), null_(style.null) {}

  void begin(const std::vector<Column>& columns) override {
    row(namesOf(columns));
    out_.write("|").fill(" --- |", columns.size()).write("\n");
  }

  void row(const Row& row) override {
    out_.write("|");
    for (const Cell& cell : row) out_.write(" ").write(cell.isNull ? null_ : escaped(cell.text)).write(" |");
    out_.write("\n");
  }

  void end(unsigned long long /*rows*/) override {}

 private:
  static std::string escaped(std::string_view text) {
    std::string result;
    for (char byte : text) {
      switch (byte) {
        case '\n':
          result += "<br>";
          break;
        case '<':
          result += "&lt;";
          break;
        case '&':
          result += "&amp;";
          break;
        case '|':
        case '\\':
          result += '\\';
          [[fallthrough]];
        default:
          result += byte;
      }
    }
    return visible(result);
  }

  Output& out_;
  std::string null_;
};

}  // namespace

Row namesOf(const std::vector<Column>& columns) {
  Row names;
  names.reserve(columns.size());
  for (const Column& column : columns) names.push_back({column.name, false});
  return names;
}

std::unique_ptr<Writer> makeCsv(Output& out, const Style& style) { return std::make_unique<CsvWriter>(out, style); }

std::unique_ptr<Writer> makeJson(Output& out, const Style& /*style*/) {
  return std::make_unique<JsonWriter>(out, kArray);
}

std::unique_ptr<Writer> makeJsonLines(Output& out, const Style& /*style*/) {
  return std::make_unique<JsonWriter>(out, kLines);
}

std::unique_ptr<Writer> makeMarkdown(Output& out, const Style& style) {
  return std::make_unique<MarkdownWriter>(out, style);
}

}  // namespace kivosql
