// The golden tables: what a literal of each type of each database gives, cell by cell, by the block and typed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "KivoArrow.h"
#include "KivoUtf8.h"
#include "arrow_text.h"
#include "block_reading.h"
#include "golden.h"
#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

using Values = Databases;

/// What Arrow's dates and times have no numbers for; the year 1500 has a leap day in the Julian calendar alone.
bool hasNoNumber(const std::string& text) {
  static const std::set<std::string> texts = {"infinity",
                                              "-infinity",
                                              "24:00:00",
                                              "838:59:59.999999",
                                              "-838:59:59",
                                              "-00:00:00.5",
                                              "0000-00-00",
                                              "2024-00-00",
                                              "0000-00-00 00:00:00",
                                              "-1000000000-01-01",
                                              "+1000000000-12-31",
                                              "2024-02-29 23:59:59.123456789",
                                              "+294276-12-31 23:59:59.999999",
                                              "1500-02-29",
                                              "not a date",
                                              "3000000000-01-01",
                                              "00ff41",
                                              "日本語日-月日-一二"};
  return texts.count(text) != 0;
}

std::string digitsOf(const std::string& text) {
  std::string digits;
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits), [](char byte) { return std::isdigit(byte) != 0; });
  return digits;
}

/// Whether a typed value is the one that the text shows, in the words of the database.
bool isSame(const std::string& format, const Text& value, const Text& golden) {
  if (!value || !golden) return value == golden;
  const std::string& text = *value;
  const std::string& expected = *golden;
  if (format == "b") {
    const std::set<std::string> truths = {"t", "true", "TRUE", "1"};
    return (text == "true") == (truths.count(expected) != 0);
  }
  const bool isInexact = format == "f" || format == "g" || expected.find("e-") != std::string::npos;
  if (isInexact) return std::stod(text) == std::stod(expected);
  return format == "+l" ? digitsOf(text) == digitsOf(expected) : text == expected;
}

void expectSameValue(const Batch& typed, const Text& expected) {
  const std::string format = typed.schema.children[0]->format;
  SCOPED_TRACE("as " + format);
  if (format[0] == 't' && hasNoNumber(expected.value_or(""))) {
    EXPECT_NE(typed.failure.find("row 1, column \""), std::string::npos) << typed.failure;
  } else {
    ASSERT_EQ(typed.failure, "");
    EXPECT_TRUE(isSame(format, typed.at(0), expected)) << typed.at(0).value_or("\\N");
  }
}

TEST_P(Values, ComeAsTheGoldenTablesSay) {
  for (const Golden& row : goldenRows(database.word)) {
    SCOPED_TRACE(row.type + ' ' + row.literal);
    recreate("golden", "k int, v " + row.type);
    update("insert into golden values (1, " + row.literal + ")");
    const std::string sql = "select v from golden where k = 1";
    const Text text = only(sql);
    EXPECT_EQ(text ? Text(utf8::toStandard(*text).text) : text, row.expected);
    for (int maxRows : {1, 1024}) {
      query(sql);
      expectSameValue(Batch(wrapper, byRows(maxRows)), row.expected);
    }
  }
}

bool readCell(jdbcWrapper& wrapper, int column, char*& value) { return wrapper.getColumn(column, value); }
bool readCell(JdbcUtils& utils, int column, char*& value) {
  return utils.getColumn(static_cast<unsigned long>(column), value) && utils.env->ExceptionCheck() == JNI_FALSE;
}

/// The cells of all rows; none when one cannot be read.
template <class Object>
Grid readByCell(Object& object) {
  Grid grid;
  for (const int count = object.getNumColumns(); object.next();) {
    for (int column = 1; column <= count; ++column) {
      char* value = nullptr;
      if (!readCell(object, column, value)) return {};
      grid.push_back(value == nullptr ? Text() : Text(value));
      std::free(value);
    }
  }
  return grid;
}

/// The second has PostgreSQL's driver ask for values in binary form.
constexpr const char* kSettings[] = {"", "?prepareThreshold=-1"};

/// Reads the cells one by one, and by the block in both encodings. @return them in standard UTF-8.
template <class Object>
Grid compareCells(const Database& database) {
  const char* const sql = "select k, v, again from cells order by k";
  Object object(database);
  // Text of dates and times must not depend on the session's zone, whose offsets had seconds once.
  if (database.word == "postgresql") {
    EXPECT_TRUE(object.query("select set_config('TimeZone', 'America/St_Johns', false)"));
  }
  EXPECT_TRUE(object.query(sql));
  const Grid expected = readByCell(object);
  Grid standard = expected;
  for (Text& text : standard) text = text ? Text(utf8::toStandard(*text).text) : Text();
  EXPECT_TRUE(object.query(sql));
  EXPECT_EQ(read(RowBlocks(object, {2, false, 1 << 20})), expected);
  EXPECT_TRUE(object.query(sql));
  EXPECT_EQ(read(RowBlocks(object, {512, true, 1 << 20})), standard);
  return standard;
}

/// Compares the cells in every way of reading them. @param truth what they hold
void compareEveryWay(const Database& database, const std::string& type, const Grid& truth) {
  const bool isPostgres = database.word == "postgresql";
  for (const bool isUtils : {false, true}) {
    for (const char* settings : kSettings) {
      SCOPED_TRACE(std::string(isUtils ? "JdbcUtils" : "jdbcWrapper") + settings);
      // Its text of bytes is the driver's own, in binary form an object's address.
      const bool isBinary = *settings != '\0';
      const bool isOwnText = isUtils && type == "bytea";
      if (isOwnText && isBinary) continue;
      Database set = database;
      if (isPostgres) set.url += settings;
      const Grid read = isUtils ? compareCells<ConnectedUtils>(set) : compareCells<ConnectedWrapper>(set);
      // HSQLDB's driver makes no text of a BLOB, which JdbcUtils then cannot read.
      const bool isRefused = isUtils && database.word == "hsqldb" && type == "blob";
      EXPECT_EQ(read.size(), isRefused ? 0 : truth.size());
      // From the binary form the driver makes some texts of its own.
      const bool isTime = type.rfind("date", 0) == 0 || type.rfind("time", 0) == 0;
      const bool isKnown = isTime || (!isBinary && !isOwnText);
      if (isPostgres && isKnown) {
        EXPECT_EQ(read, truth);
      }
    }
  }
}

TEST_P(Values, AreTheSameByTheBlock) {
  std::map<std::string, std::vector<Golden>> types;
  for (const Golden& row : goldenRows(database.word)) types[row.type].push_back(row);
  // Text that the encodings differ in.
  types["varchar(60)"] = {
      {"", "'\xED\xA0\xBC\xED\xBC\xB8 flower'", "\xF0\x9F\x8C\xB8 flower"}, {"", "''", ""}, {"", "null", {}}};
  if (database.word == "h2")
    types["varchar(9)"] = {{"", "'n' || char(0) || char(233)", ""}, {"", "'half ' || char(55357)", ""}};
  for (const auto& [type, rows] : types) {
    SCOPED_TRACE(type);
    recreate("cells", "k int, v " + type + ", again " + type);
    Grid truth;
    for (const Golden& row : rows) {
      const std::string key = std::to_string(truth.size() / 3);
      update("insert into cells values (" + key + ", " + row.literal + ", " + row.literal + ")");
      truth.insert(truth.end(), {key, row.expected, row.expected});
    }
    compareEveryWay(database, type, truth);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, Values, testing::Range(0, 6), nameOf);

}  // namespace
}  // namespace kivo::test
