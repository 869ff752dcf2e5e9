#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "KivoUtf8.h"
#include "RowBlocks.h"
#include "databases.h"
#include "jdbcWrapper.h"
#include "jni_ledger.h"
#include "patience.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Text = std::optional<std::string>;
using Grid = std::vector<Text>;

/// A JdbcUtils connected through DriverManager: it knows no DataSource of most of these databases.
struct ConnectedUtils : JdbcUtils {
  explicit ConnectedUtils(const Database& database) {
    EXPECT_TRUE(javaInit());
    EXPECT_EQ(env->PushLocalFrame(16), JNI_OK);
    const auto text = [this](const std::string& value) {
      return value.empty() ? nullptr : env->NewStringUTF(value.c_str());
    };
    const jclass drivers = env->FindClass("java/sql/DriverManager");
    const jmethodID connect = env->GetStaticMethodID(
        drivers, "getConnection", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)Ljava/sql/Connection;");
    const jobject made =
        env->CallStaticObjectMethod(drivers, connect, text(database.url), text(database.user), text(database.password));
    EXPECT_FALSE(env->ExceptionCheck()) << database.url;
    connection = env->NewGlobalRef(made);
    env->PopLocalFrame(nullptr);
  }
  ~ConnectedUtils() { closeConnection(); }

  bool query(std::string sql) { return executeQuery(sql, 0); }
};

bool readCell(jdbcWrapper& wrapper, int column, char*& value) { return wrapper.getColumn(column, value); }
bool readCell(JdbcUtils& utils, int column, char*& value) {
  return utils.getColumn(static_cast<unsigned long>(column), value) && utils.env->ExceptionCheck() == JNI_FALSE;
}

/// The cells of the rows before the first that has one that cannot be read.
template <class Object>
Grid readByCell(Object& object) {
  Grid grid;
  for (const int count = object.getNumColumns(); object.next();) {
    const std::size_t rowStart = grid.size();
    for (int column = 1; column <= count; ++column) {
      char* value = nullptr;
      if (!readCell(object, column, value)) {
        grid.resize(rowStart);
        return grid;
      }
      grid.push_back(value == nullptr ? Text() : Text(value));
      std::free(value);
    }
  }
  return grid;
}

Grid read(RowBlocks& blocks) {
  Grid grid;
  while (blocks.next()) {
    EXPECT_GT(blocks.rows(), 0);
    // It ends with the row that takes it beyond a megabyte, which the places of the values count for.
    const int last = blocks.rows() - 1;
    const std::ptrdiff_t places = std::ptrdiff_t{4} * last * blocks.columns();
    EXPECT_LT(blocks.text(last, 1).data() - blocks.text(0, 1).data() + places, 1 << 20);
    for (int row = 0; row < blocks.rows(); ++row) {
      for (int column = 1; column <= blocks.columns(); ++column) {
        grid.push_back(blocks.isNull(row, column) ? Text() : Text(blocks.text(row, column)));
      }
    }
  }
  return grid;
}

Grid read(RowBlocks&& blocks) { return read(blocks); }

const Database& database(const std::string& word) {
  for (const Database& one : databases()) {
    if (one.word == word) return one;
  }
  throw std::invalid_argument(word);
}

/// An SQL literal and, in standard UTF-8, what the wrapper gives for it.
struct Literal {
  std::string sql;
  Text expected = "";
};

class Blocks : public testing::TestWithParam<int> {
 protected:
  const Database& tested = databases()[static_cast<std::size_t>(GetParam())];

  /// The literals of the golden tables by type, and some text that the encodings differ in.
  std::map<std::string, std::vector<Literal>> literals() const {
    std::map<std::string, std::vector<Literal>> found;
    for (const char* table : {"dates.tsv", "values.tsv"}) {
      std::ifstream file(std::string(KIVO_GOLDEN) + "/" + table);
      for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string parts[4];
        for (std::string& part : parts) std::getline(fields, part, '\t');
        const auto& [word, type, literal, expected] = parts;
        if (word == tested.word) found[type].push_back({literal, expected == "\\N" ? Text() : expected});
      }
    }
    found["varchar(60)"] = {{"'\xED\xA0\xBC\xED\xBC\xB8 flower'", "\xF0\x9F\x8C\xB8 flower"}, {"''", ""}, {"null", {}}};
    if (tested.word == "h2") found["varchar(9)"] = {{"'n' || char(0) || char(233)"}, {"'half ' || char(55357)"}};
    return found;
  }
};

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

/// Makes a table of the values. @return its cells.
Grid fill(jdbcWrapper& wrapper, const std::string& type, const std::vector<Literal>& values) {
  wrapper.executeUpdate("drop table cells");
  EXPECT_GE(wrapper.executeUpdate("create table cells (k int, v " + type + ", again " + type + ")"), 0);
  Grid cells;
  int row = 0;
  for (const auto& [value, expected] : values) {
    const std::string key = std::to_string(++row);
    const std::string sql = "insert into cells values (" + key + ", " + value + ", " + value + ")";
    EXPECT_EQ(wrapper.executeUpdate(sql), 1) << sql << wrapper.errorMessage;
    cells.insert(cells.end(), {key, expected, expected});
  }
  return cells;
}

/// Compares the cells in every way of reading. @return how many were read.
std::size_t compareEveryWay(const Database& database, const std::string& type, const Grid& truth) {
  const bool isPostgres = database.word == "postgresql";
  std::size_t cells = 0;
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
      // From the binary form the driver makes some texts of its own.
      const bool isTime = type.rfind("date", 0) == 0 || type.rfind("time", 0) == 0;
      const bool isKnown = isTime || (!isBinary && !isOwnText);
      if (isPostgres && isKnown) {
        EXPECT_EQ(read, truth);
      }
      cells += read.size();
    }
  }
  return cells;
}

TEST_P(Blocks, EveryCellIsWhatGetColumnGives) {
  std::size_t cells = 0;
  ConnectedWrapper writer(tested);
  for (const auto& [type, values] : literals()) {
    SCOPED_TRACE(type);
    cells += compareEveryWay(tested, type, fill(writer, type, values));
  }
  EXPECT_GT(cells, 100U);
}

std::string nameOf(const testing::TestParamInfo<int>& tested) {
  return databases()[static_cast<std::size_t>(tested.param)].word;
}

INSTANTIATE_TEST_SUITE_P(Each, Blocks, testing::Range(0, 6), nameOf);

/// How many cells of a result came by the block, and how the reading ended.
struct Outcome {
  std::size_t cells;
  int errorState;
  const char* errorText;
};

void expectOutcome(RowBlocks& blocks, const Outcome& expected) {
  EXPECT_EQ(read(blocks).size(), expected.cells);
  EXPECT_EQ(blocks.errorState, expected.errorState) << blocks.errorMessage;
  EXPECT_NE(blocks.errorMessage.find(expected.errorText), std::string::npos) << blocks.errorMessage;
  EXPECT_EQ(blocks.errorMessage.empty(), expected.errorState == 0);
  // How it ended stays what it is.
  EXPECT_FALSE(blocks.next());
  EXPECT_EQ(blocks.errorState, expected.errorState);
}

/// A query of many columns, the last of them from the clause itself.
std::string columnsOf(int count, const std::string& from) {
  std::string sql = "select ";
  for (int column = 1; column < count; ++column) sql += std::to_string(column) + ',';
  return sql + from;
}

TEST(BlocksOfResults, EndAsTheRowsDo) {
  const std::string many = columnsOf(10000, "x from system_range(1, 3)");
  const std::string wide = columnsOf(1600, "g from generate_series(1, 1000) g");
  const struct {
    const char* what;
    const char* word;
    const char* sql;
    RowBlocksOptions options;
    Outcome outcome;
  } rows[] = {
      {"no rows", "h2", "select x from system_range(1, 0)", {}, {0, 0, ""}},
      {"one row short of a block", "h2", "select x from system_range(1, 127)", {128, false, 100}, {127, 0, ""}},
      {"a block", "h2", "select x from system_range(1, 128)", {128, false, 100}, {128, 0, ""}},
      {"a row more than a block", "h2", "select x from system_range(1, 129)", {128, false, 100}, {129, 0, ""}},
      {"rows that grow by a byte", "h2", "select repeat('x', x) from system_range(1, 300)", {1}, {300, 0, ""}},
      {"few rows of many columns, where a full block would not fit the heap",
       "h2",
       many.c_str(),
       {65536, false, 1 << 20},
       {std::size_t{3} * 10000, 0, ""}},
      {"rows of many columns, of which the heap holds few",
       "postgresql",
       wide.c_str(),
       {65536, false, 1 << 20},
       {std::size_t{1000} * 1600, 0, ""}},
      {"more rows of a megabyte than the heap holds",
       "h2",
       "select repeat('x', 1048576) from system_range(1, 60)",
       {},
       {60, 0, ""}},
      {"options out of range", "h2", "select x from system_range(1, 9)", {-5, false, 1 << 30}, {9, 0, ""}},
      {"a row at the limit", "h2", "select repeat('x', 99), x from system_range(1, 9)", {4, false, 100}, {18, 0, ""}},
      {"a row beyond the limit",
       "h2",
       "select repeat('x', x) from system_range(1, 200)",
       {64, true, 150},
       {150, 2, "a row has more text than the limit of 150 bytes"}},
      {"a value beyond the heap",
       "h2",
       "select repeat('x', 1000000000 * x) from system_range(1, 2)",
       {},
       {0, 2, "out of memory"}},
      {"a failing cell", "h2", "select 1 / (100 - x) from system_range(1, 200)", {64, false, 100}, {99, 1, "[22012"}},
      {"a failing fetch, of 256 rows twice and then of as many as a block",
       "postgresql",
       "select 1 / (5000 - g) from generate_series(1, 9000) g",
       {300, false, 100},
       {512 + 14 * 300, 1, "division by zero [22012"}},
      {"a failing fetch of wide rows, of 256 and then of as many as fit a megabyte",
       "postgresql",
       "select 1 / (5000 - g), repeat('x', 5000) from generate_series(1, 9000) g",
       {300, false, 9000},
       {std::size_t{2} * (256 + 23 * 206), 1, "division by zero [22012"}},
      {"a failing fetch of rows that grow wide: three times 1024 rows, then as many as fit a megabyte",
       "postgresql",
       "select 1 / (6000 - g), repeat('x', case when g > 2000 then 8000 else 1 end) from generate_series(1, 9000) g",
       {1024, false, 9000},
       {std::size_t{2} * (3 * 1024 + 22 * 129), 1, "division by zero [22012"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ConnectedWrapper reader(database(row.word));
    ASSERT_TRUE(reader.query(row.sql)) << reader.errorMessage;
    RowBlocks blocks(reader, row.options);
    expectOutcome(blocks, row.outcome);
  }
}

TEST(BlocksOfResults, MakeRoomForTheLastByteOfAnyValue) {
  // Room for 16384 bytes is there from the start.
  for (const char* last : {"'x'", "char(233)", "12345", "X'00FF'", "date '2024-12-31'", "localtime(9)",
                           "timestamp '2024-12-31 23:59:59.123456789'"}) {
    SCOPED_TRACE(last);
    ConnectedWrapper reader(database("h2"));
    const std::string from = " from system_range(16350, 16390)";
    ASSERT_TRUE(reader.query(std::string("select repeat('x', x), ") + last + from)) << reader.errorMessage;
    RowBlocks blocks(reader, {1});
    expectOutcome(blocks, {std::size_t{2} * 41, 0, ""});
  }
}

TEST(BlocksOfResults, TakeTextInAnyEncodingThatTheServerSends) {
  Database latin = database("postgresql");
  latin.url += "?allowEncodingChanges=true";
  ConnectedWrapper reader(latin);
  ASSERT_NE(reader.executeUpdate("set client_encoding to latin1"), -1) << reader.errorMessage;
  // Two letters of Latin-1 whose bytes would pass for one letter of UTF-8.
  ASSERT_TRUE(reader.query("select U&'\\00C3\\00BC'"));
  EXPECT_EQ(read(RowBlocks(reader)), Grid{"\u00C3\u00BC"});
}

TEST(BlocksOfResults, OfAWrapperReleaseEverythingWhicheverCallFails) {
  JniLedger ledger;
  ConnectedWrapper reader(database("h2"));
  const auto operation = [&reader](const Armed& armed) {
    ASSERT_TRUE(reader.query("select x from system_range(1, 3)"));
    armed([&reader] {
      RowBlocks blocks(reader, {2});
      int rows = 0;
      while (blocks.next()) rows += blocks.rows();
      EXPECT_EQ(blocks.errorState == 0, rows == 3 && blocks.errorMessage.empty());
    });
  };
  int points = 0;
  for (const Fault fault : {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter}) {
    points += sweepFaults(ledger, fault, operation) + sweepFaults(ledger, fault, operation, true);
  }
  EXPECT_GT(points, 20);
}

/// Takes the memory that a Java VM has for buffers outside its heap, except 64 kB of it, until it ends.
class NoBufferMemory {
 public:
  explicit NoBufferMemory(JNIEnv* owner) : env(owner) {
    EXPECT_EQ(env->PushLocalFrame(4096), JNI_OK);
    const jclass buffers = env->FindClass("java/nio/ByteBuffer");
    const jmethodID make = env->GetStaticMethodID(buffers, "allocateDirect", "(I)Ljava/nio/ByteBuffer;");
    jobject last = nullptr;
    while (true) {
      const jobject made = env->CallStaticObjectMethod(buffers, make, jint{1} << 16);
      if (env->ExceptionCheck() != JNI_FALSE) break;
      last = made;
    }
    env->ExceptionClear();
    env->DeleteLocalRef(last);
  }
  ~NoBufferMemory() { env->PopLocalFrame(nullptr); }
  NoBufferMemory(const NoBufferMemory&) = delete;
  NoBufferMemory& operator=(const NoBufferMemory&) = delete;

 private:
  JNIEnv* env;
};

TEST(BlocksOfResults, BringTheRowsThatThereIsMemoryFor) {
  ConnectedWrapper reader(database("h2"));
  ASSERT_TRUE(reader.query("select repeat('x', case when x < 12 then 1 else 500000 end) from system_range(1, 20)"));
  RowBlocks blocks(reader, {8});
  const NoBufferMemory none(reader.env);
  // A full block, then what there is room for of the second.
  expectOutcome(blocks, {11, 2, "out of memory"});
}

TEST(BlocksOfResults, OfAWrapperHoldNothingInTheDatabaseAfterAFailure) {
  ConnectedWrapper reader(database("postgresql"));
  ConnectedWrapper other(database("postgresql"));
  other.executeUpdate("drop table held");
  ASSERT_EQ(other.executeUpdate("create table held as select generate_series(1, 1000) as g"), 1000);
  ASSERT_TRUE(reader.query("select g, repeat('x', g) from held"));
  RowBlocks blocks(reader, {64, false, 99});
  expectOutcome(blocks, {std::size_t{2} * 97, 2, "more text than the limit"});
  EXPECT_EQ(other.executeUpdate("set lock_timeout = '" + std::to_string(80 * patience()) + "s'"), 0);
  EXPECT_EQ(other.executeUpdate("drop table held"), 0) << other.errorMessage;
  EXPECT_TRUE(reader.query("select 1")) << reader.errorMessage;
}

TEST(BlocksOfResults, AnswerForTheirSource) {
  const Outcome none = {0, 2, "no open result"};
  JdbcUtils unattached;
  RowBlocks ofUnattached(unattached);
  expectOutcome(ofUnattached, none);

  ConnectedUtils utils(database("h2"));
  RowBlocks ofNothing(utils);
  expectOutcome(ofNothing, none);

  // What the source left pending is still its own to tell.
  ASSERT_TRUE(utils.query("select 'x' from system_range(1, 3)"));
  const jclass thrown = utils.env->FindClass("java/lang/IllegalStateException");
  utils.env->ThrowNew(thrown, "left over");
  EXPECT_EQ(read(RowBlocks(utils)).size(), 3U);
  EXPECT_TRUE(utils.env->ExceptionCheck());
  utils.env->ExceptionClear();
  utils.env->DeleteLocalRef(thrown);

  // As getColumn() reads a column that could not be described: as text.
  ASSERT_TRUE(utils.query("select date '12345-01-01'"));
  utils.columnTypes = {1111};
  EXPECT_EQ(read(RowBlocks(utils)), Grid{"12345-01-01"});

  ASSERT_TRUE(utils.query("select 'x' from system_range(1, 3)"));
  RowBlocks ofClosed(utils);
  utils.closeConnection();
  expectOutcome(ofClosed, {0, 1, "closed"});

  ConnectedWrapper wrapper(database("h2"));
  RowBlocks ofNoQuery(wrapper);
  expectOutcome(ofNoQuery, {0, 2, "no query has been run"});
  ASSERT_TRUE(wrapper.query("select 'x' from system_range(1, 3)"));
  RowBlocks first(wrapper, {2, false, 100});
  EXPECT_TRUE(first.next());
  ASSERT_TRUE(wrapper.query("select 'y' from system_range(1, 3)"));
  expectOutcome(first, {0, 2, "another query has been run"});
  EXPECT_EQ(read(RowBlocks(wrapper)).size(), 3U);
}

}  // namespace
}  // namespace kivo::test
