// Arrow streams of open results: what they hold, and how long it lives.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "KivoArrow.h"
#include "arrow_source.h"
#include "jdbcWrapper.h"
#include "jni_ledger.h"

namespace kivo::test {
namespace {

using Options = ArrowStreamOptions;
using Texts = std::vector<std::string>;

/// The key and value of a field's metadata, in Arrow's form.
std::string metadataOf(const ArrowSchema& field) {
  const char* at = field.metadata;
  const auto number = [&at] {
    std::int32_t read = 0;
    std::memcpy(&read, at, sizeof read);
    at += sizeof read;
    return read;
  };
  const auto text = [&at, &number] {
    const auto size = static_cast<std::size_t>(number());
    at += size;
    return std::string(at - size, size);
  };
  EXPECT_EQ(number(), 1);
  const std::string key = text();
  return key + '=' + text();
}

std::string describe(const ArrowSchema& field) {
  EXPECT_EQ(field.flags & ARROW_FLAG_NULLABLE, ARROW_FLAG_NULLABLE);
  EXPECT_EQ(field.dictionary, nullptr);
  std::string text = textOf(field.name) + ' ' + field.format + ' ' + metadataOf(field);
  for (std::int64_t index = 0; index < field.n_children; ++index) text += " of " + describe(*field.children[index]);
  return text;
}

TEST(ArrowStreams, DescribeTheirColumns) {
  Source source(
      "select cast(1 as bigint) id, cast('a' as varchar(9)) \"Stra\u00DFe\", cast(1.5 as decimal(10, 2)) d,"
      " timestamp '2024-02-29 12:00:00' t, array[1, 2] many, null nothing");
  Stream stream;
  source.open(stream);
  Schema schema;
  ASSERT_EQ(stream.get_schema(&stream, &schema), 0);
  EXPECT_STREQ(schema.format, "+s");
  Texts columns;
  for (std::int64_t index = 0; index < schema.n_children; ++index) columns.push_back(describe(*schema.children[index]));
  const std::string key = " KIVO:type_name=";
  EXPECT_EQ(columns,
            (Texts{"ID l" + key + "BIGINT", "Stra\u00DFe u" + key + "CHARACTER VARYING", "D d:10,2" + key + "DECIMAL",
                   "T tsu:" + key + "TIMESTAMP", "MANY +l" + key + "INTEGER ARRAY of item i" + key + "INTEGER ARRAY",
                   "NOTHING n" + key + "NULL"}));

  // A child that was moved out and a second schema are nobody else's.
  Schema second;
  ASSERT_EQ(stream.get_schema(&stream, &second), 0);
  Schema moved;
  moveTo(moved, *schema.children[4]);
  schema.release(&schema);
  EXPECT_EQ(schema.release, nullptr);
  stream.release(&stream);
  EXPECT_EQ(describe(moved), columns[4]);
  EXPECT_EQ(describe(*second.children[4]), columns[4]);
}

const Options kNulls = {2, 1 << 20, ArrowDecimals::text, 0, true};
const Options kMixed = {2, 1 << 20, ArrowDecimals::text, 0, false, true};

const struct {
  const char* what;
  const char* sql;
  Options options;
  std::vector<std::int64_t> batches;
  const char* text;
  const char* url = kH2;
} kResults[] = {
    {"no rows", "select x from system_range(1, 0)", {}, {}, ""},
    {"one batch", "select x from system_range(1, 3)", {}, {3}, "<1><2><3>"},
    {"full batches", "select x from system_range(1, 4)", byRows(2), {2, 2}, "<1><2><3><4>"},
    {"a rest", "select x from system_range(1, 5)", byRows(2), {2, 2, 1}, "<1><2><3><4><5>"},
    {"rows out of range", "select x from system_range(1, 2)", byRows(-7), {1, 1}, "<1><2>"},
    {"every number of buffers",
     "values (1, true, 'a', x'00ff', array[1, null], null), (null, false, null, null, null, null)",
     {},
     {2},
     "<1, true, a, 00ff, [1, null], null><null, false, null, null, null, null>"},
    {"a decimal without a scale, as text", "select cast(1.25 as decfloat)", {}, {1}, "<1.25>"},
    {"as float64", "select cast(1.25 as decfloat)", {2, 1 << 20, ArrowDecimals::float64}, {1}, "<1.25>"},
    {"as decimal128", "select cast(1.25 as decfloat)", {2, 1 << 20, ArrowDecimals::decimal128, 3}, {1}, "<1.250>"},
    {"a time between two microseconds", "select timestamp '2024-02-29 12:00:00.1234567'", kNulls, {1}, "<null>"},
    {"cells of any type", "select 1 union all select 'a'", kMixed, {2}, "<1><a>", "jdbc:sqlite::memory:"},
};

TEST(ArrowStreams, HandOutTheRowsInBatches) {
  for (const auto& row : kResults) {
    SCOPED_TRACE(row.what);
    Source source(row.sql, row.url);
    Stream stream;
    source.open(stream, row.options);
    const Read read = readAll(stream);
    EXPECT_EQ(read.code, 0);
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.batches, row.batches);
    EXPECT_EQ(read.text, row.text);
    // The end stays the end.
    EXPECT_EQ(readAll(stream).batches, std::vector<std::int64_t>());
  }
}

TEST(ArrowStreams, EndABatchOnceItsBytesAreEnough) {
  Source source("select repeat('x', 600) from system_range(1, 5)");
  Stream stream;
  Options options;
  options.maxBytes = 1000;
  source.open(stream, options);
  EXPECT_EQ(readAll(stream).batches, (std::vector<std::int64_t>{2, 2, 1}));
}

TEST(ArrowStreams, AreReleasedBeforeAmidAndAfterTheRows) {
  for (const int batches : {0, 1, 3, 4}) {
    SCOPED_TRACE(batches);
    Numbers numbers(5);
    ArrowArrayStream& stream = numbers.stream;
    for (int read = 0; read < batches; ++read) {
      Array batch;
      EXPECT_EQ(stream.get_next(&stream, &batch), 0);
      EXPECT_EQ(batch.release == nullptr, read == 3);
    }
    stream.release(&stream);
    EXPECT_EQ(stream.release, nullptr);
    // The source is as usable as before.
    EXPECT_TRUE(numbers.source.query("select 1") && numbers.source.next()) << numbers.source.errorMessage;

    ArrowArray none;
    ArrowSchema nothing;
    // What they held before must not be taken for a batch or a schema.
    std::memset(&none, 1, sizeof none);
    std::memset(&nothing, 1, sizeof nothing);
    EXPECT_EQ(stream.get_next(&stream, &none), EINVAL);
    EXPECT_EQ(stream.get_schema(&stream, &nothing), EINVAL);
    EXPECT_EQ(none.release, nullptr);
    EXPECT_EQ(nothing.release, nullptr);
    EXPECT_NE(textOf(stream.get_last_error(&stream)).find("released"), std::string::npos);
  }
}

TEST(ArrowStreams, LeaveTheirArraysAsTheyAre) {
  JniLedger ledger;
  {
    Array kept[3];
    Array moved;
    {
      Numbers numbers(6);
      for (Array& batch : kept) ASSERT_EQ(numbers.stream.get_next(&numbers.stream, &batch), 0);
      moveTo(moved, *kept[1].children[0]);
      // Its memory is free for a further batch, that of the moved child is not.
      kept[1].release(&kept[1]);
      EXPECT_EQ(readAll(numbers.stream).code, 0);
    }
    EXPECT_EQ(number(*kept[0].children[0], 1), 2);
    EXPECT_EQ(number(moved, 0), 3);
    EXPECT_EQ(number(moved, 1), 4);
    EXPECT_EQ(number(*kept[2].children[0], 1), 6);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(moved.buffers[1]) % 64, 0U);
    EXPECT_EQ(ledger.liveGlobals(), 3);
    // Java does not keep their memory for further batches.
    const Texts& calls = ledger.trace();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "CallVoidMethod close"), 1);
  }
  EXPECT_EQ(ledger.complaint(), "");
}

TEST(ArrowStreams, UseMemoryAgainOnceItIsReleased) {
  Numbers numbers(5);
  const void* places[2] = {};
  for (const void*& place : places) {
    Array batch;
    ASSERT_EQ(numbers.stream.get_next(&numbers.stream, &batch), 0);
    place = batch.children[0]->buffers[1];
  }
  EXPECT_EQ(places[0], places[1]);
}

/// Reads up to a failure, which stays. @param batches those before it
void expectFailure(Stream& stream, const std::vector<std::int64_t>& batches, int code, const Texts& pieces) {
  EXPECT_EQ(stream.get_last_error(&stream), nullptr);
  for (int time = 0; time < 2; ++time) {
    const Read read = readAll(stream);
    EXPECT_EQ(read.code, code);
    EXPECT_EQ(read.batches, time == 0 ? batches : std::vector<std::int64_t>());
    for (const std::string& piece : pieces) EXPECT_NE(read.error.find(piece), std::string::npos) << read.error;
  }
  Schema schema;
  EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
  EXPECT_EQ(stream.get_last_error(&stream), nullptr);
}

TEST(ArrowStreams, SayWhichCellFails) {
  const struct {
    const char* sql;
    Options options;
    std::vector<std::int64_t> batches;
    int code;
    Texts pieces;
  } rows[] = {
      {"select 1 / (4 - x) from system_range(1, 9)", byRows(2), {2, 1}, EIO, {"[22012", "zero"}},
      {"select cast(x / 2.0 as decfloat) as \"half \U0001F338\" from system_range(2, 9)",
       {2, 1 << 20, ArrowDecimals::decimal128},
       {1},
       EINVAL,
       {"row 2", "\"half \U0001F338\"", "1.5"}},
      {"select timestamp '2024-02-29 12:00:00.1234567'", {}, {}, EINVAL, {"row 1", "12:00:00.1234567"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sql);
    Source source(row.sql);
    Stream stream;
    source.open(stream, row.options);
    expectFailure(stream, row.batches, row.code, row.pieces);
  }
}

TEST(ArrowStreams, SayWhatEndedTheirResult) {
  const struct {
    const char* piece;
    void (*end)(jdbcWrapper&);
  } rows[] = {
      {"no", [](jdbcWrapper& wrapper) { wrapper.closeConnection(); }},
      {"another query has been run", [](jdbcWrapper& wrapper) { wrapper.executeQuery("select 1", 0); }},
      {"a statement that ends them", [](jdbcWrapper& wrapper) { wrapper.executeUpdate("set @x = 1"); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.piece);
    Numbers numbers(9);
    row.end(numbers.source);
    expectFailure(numbers.stream, {}, EINVAL, {row.piece});
  }
}

TEST(ArrowStreams, AreNotMadeWithoutAnOpenResult) {
  JdbcUtils unattached;
  ConnectedWrapper unasked({"", kH2, "", ""});
  const auto refusal = [](auto& object) {
    std::string error;
    Stream stream;
    EXPECT_FALSE(makeArrowStream(object, stream, error));
    EXPECT_EQ(stream.release, nullptr);
    return error;
  };
  EXPECT_EQ(refusal(unattached), "there is no open result to read");
  EXPECT_NE(refusal(unasked).find("no query has been run"), std::string::npos);
}

}  // namespace
}  // namespace kivo::test
