#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "JdbcUtils.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

/// A literal of PostgreSQL, and the text that it must come out as wherever host, server and session are.
struct Row {
  const char* literal;
  const char* expected;
};

constexpr Row kRows[] = {
    {"date '2024-02-29'", "2024-02-29"},
    {"date '1582-10-04'", "1582-10-04"},
    {"date '1582-10-10'", "1582-10-10"},
    {"date '0001-01-01'", "0001-01-01"},
    {"date '0044-03-15 BC'", "-0043-03-15"},
    {"date '12345-06-07'", "+12345-06-07"},
    {"date 'infinity'", "infinity"},
    {"date '-infinity'", "-infinity"},
    {"time '00:00'", "00:00:00"},
    {"time '23:59:59.999999'", "23:59:59.999999"},
    {"time '12:34:56.120'", "12:34:56.12"},
    {"time '24:00'", "24:00:00"},
    {"timetz '01:30:00.5+05:30'", "20:00:00.5"},
    {"timetz '23:30:00-03'", "02:30:00"},
    {"timestamp '2024-03-31 02:30:00'", "2024-03-31 02:30:00"},
    {"timestamp '2024-03-10 02:30:00.000001'", "2024-03-10 02:30:00.000001"},
    {"timestamp '0900-02-28 12:00:00.5'", "0900-02-28 12:00:00.5"},
    {"timestamp '0044-03-15 12:00:00 BC'", "-0043-03-15 12:00:00"},
    {"timestamp 'infinity'", "infinity"},
    {"timestamptz '2024-03-31 02:30:00+02'", "2024-03-31 00:30:00"},
    {"timestamptz '2024-01-01 00:30:00+05:30'", "2023-12-31 19:00:00"},
    {"timestamptz '1500-01-01 00:00:00+00'", "1500-01-01 00:00:00"},
    {"timestamptz '0001-01-01 00:00:00+00 BC'", "0000-01-01 00:00:00"},
    {"timestamptz '-infinity'", "-infinity"},
};

TEST(DateTime, TextDependsOnTheValueAlone) {
  TestServer server("postgres");
  JdbcUtils utils;
  std::string type = "postgresql";
  std::string none;
  std::string url;
  std::string error;
  ASSERT_TRUE(utils.javaInit());
  ASSERT_TRUE(utils.setUrl(type, server.host, server.port, server.database, none, url, none, error));
  ASSERT_TRUE(utils.getConnection(server.user, server.password, error)) << error;
  std::string sql = "select 1";
  for (const Row& row : kRows) sql += std::string(", ") + row.literal;

  ASSERT_TRUE(utils.getStatement());
  for (const char* zone : {"UTC", "Pacific/Kiritimati", "America/St_Johns"}) {
    std::string session = std::string("set time zone '") + zone + "'";
    ASSERT_EQ(utils.executeUpdate(session), 0);
    // The driver changes to binary transfer after a few runs of a statement: the text must not.
    for (int run = 0; run < 7; ++run) {
      ASSERT_TRUE(utils.executeQuery(sql, 0));
      ASSERT_TRUE(utils.next());
      unsigned long column = 1;
      for (const Row& row : kRows) {
        char* value = nullptr;
        EXPECT_TRUE(utils.getColumn(++column, value));
        EXPECT_STREQ(value, row.expected) << row.literal << " in " << zone << ", run " << run;
        std::free(value);
      }
    }
  }
  utils.closeConnection();
}

}  // namespace
}  // namespace kivo::test
