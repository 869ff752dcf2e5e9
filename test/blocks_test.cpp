#include <gtest/gtest.h>

#include <string>

#include "block_reading.h"
#include "jni_ledger.h"
#include "patience.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

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

const std::string kWide = columnsOf(1600, "g from generate_series(1, 1000) g");
const struct {
  const char* what;
  const char* word;
  const char* sql;
  RowBlocksOptions options;
  Outcome outcome;
} kEndings[] = {
    {"no rows", "h2", "select x from system_range(1, 0)", {}, {0, 0, ""}},
    {"a block", "h2", "select x from system_range(1, 128)", {128, false, 100}, {128, 0, ""}},
    {"a row more than a block", "h2", "select x from system_range(1, 129)", {128, false, 100}, {129, 0, ""}},
    {"rows that grow by a byte", "h2", "select repeat('x', x) from system_range(1, 300)", {1}, {300, 0, ""}},
    {"rows of many columns, of which the heap holds few",
     "postgresql",
     kWide.c_str(),
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
    {"a failing fetch of rows that grow wide: three times 1024 rows, then as many as fit a megabyte",
     "postgresql",
     "select 1 / (6000 - g), repeat('x', case when g > 2000 then 8000 else 1 end) from generate_series(1, 9000) g",
     {1024, false, 9000},
     {std::size_t{2} * (3 * 1024 + 22 * 129), 1, "division by zero [22012"}},
};

TEST(BlocksOfResults, EndAsTheRowsDo) {
  for (const auto& row : kEndings) {
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

/// Fails every call of reading two rows and the failure of a third. @return how many calls could fail.
template <class Source>
int sweep(JniLedger& ledger, Source& source) {
  const auto operation = [&source](const Armed& armed) {
    ASSERT_TRUE(source.query("select 1 / (3 - x) from system_range(1, 3)"));
    armed([&source] {
      RowBlocks blocks(source, {1});
      const std::size_t rows = read(blocks).size();
      EXPECT_TRUE((rows == 2 && blocks.errorState == 1) || (JniLedger::faultFired() && blocks.errorState != 0));
      EXPECT_NE(blocks.errorMessage, "");
    });
  };
  int points = 0;
  for (const Fault fault :
       {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter, Fault::kAllocation}) {
    for (const bool lasting : {false, true}) points += sweepFaults(ledger, fault, operation, lasting);
  }
  return points;
}

TEST(BlocksOfResults, ReleaseEverythingWhicheverCallFails) {
  JniLedger ledger;
  Database lazy = database("h2");
  lazy.url += ";LAZY_QUERY_EXECUTION=1";
  {
    ConnectedUtils utils(lazy);
    ConnectedWrapper wrapper(lazy);
    EXPECT_GT(sweep(ledger, utils) + sweep(ledger, wrapper), 100);
  }
  EXPECT_EQ(ledger.complaint(), "");
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
