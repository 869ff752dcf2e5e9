#include <gtest/gtest.h>

#include <string>

#include "JdbcUtils.h"

namespace {

/// Calls setUrl() and keeps what it left in its parameters.
struct Call {
  std::string dbType, host, port, instance, database;
  std::string url = "";
  std::string errorField = "field before";
  std::string errorText = "text before";

  bool on(JdbcUtils& utils) { return utils.setUrl(dbType, host, port, instance, database, url, errorField, errorText); }
};

TEST(SetUrl, BuildsEachVendorsUrlAndReadsItBack) {
  const struct {
    Call call;
    const char* vendor;
    std::string url;
  } rows[] = {
      {{"oracle", "dbhost", "1521", "ORCL", "ignored"}, "oracle", "jdbc:oracle:thin:@dbhost:1521:ORCL"},
      {{"mssql", "db1", "1433", "SQLEXPRESS", "sales"},
       "microsoft",
       "jdbc:microsoft:sqlserver://db1\\SQLEXPRESS:1433;databaseName=sales;responseBuffering=adaptive"},
      {{"mssql", "db1", "1433", "", ""}, "microsoft", "jdbc:microsoft:sqlserver://db1:1433;responseBuffering=adaptive"},
      {{"velmar", "vh", "5000", "pubs", "ignored"}, "velmar", "jdbc:velmar:Tds:vh:5000/pubs"},
      {{"velmar", "vh", "5000", "", "ignored"}, "velmar", "jdbc:velmar:Tds:vh:5000"},
      {{"netezza", "nz", "5480", "sys", "ignored"}, "netezza", "jdbc:netezza://nz:5480/sys"},
      {{"netezza", "nz", "5480", "", ""}, "netezza", "jdbc:netezza://nz:5480"},
      {{"teradata", "td1", "1025", "", "dw"}, "teradata", "jdbc:teradata://td1/DBS_PORT=1025,DATABASE=dw"},
      {{"teradata", "td1", "1025", "", ""}, "teradata", "jdbc:teradata://td1/DBS_PORT=1025"},
      {{"db2", "h", "500", "SAMPLE", "ignored"}, "db2", "jdbc:db2://h:500/SAMPLE"},
      {{"db2", "h", "500", "", ""}, "db2", "jdbc:db2://h:500"},
      {{"kdb", "kx1", "5001", "ignored", "ignored"}, "kx", "jdbc:q:kx1:5001"},
      {{"postgresql", "pg1", "5432", "app", "ignored"}, "postgresql", "jdbc:postgresql://pg1:5432/app"},
      {{"postgresql", "pg1", "5432", "", ""}, "postgresql", "jdbc:postgresql://pg1:5432/"},
      {{"postgresql", "", "", " a;b/c:d ", ""}, "postgresql", "jdbc:postgresql://:/ a;b/c:d "},
      {{"no type", "", "", "", "", "jdbc:kx:h:1"}, "kx", "jdbc:kx:h:1"},
      {{"oracle", "", "", "", "", "12345two words:rest"}, "two words", "12345two words:rest"},
      {{"oracle", "", "", "", "", "a:b:cORACLE:"}, "ORACLE", "a:b:cORACLE:"},
  };
  for (const auto& row : rows) {
    JdbcUtils utils;
    Call built = row.call;
    EXPECT_TRUE(built.on(utils)) << row.url;
    EXPECT_EQ(built.url + ' ' + utils.url + ' ' + utils.vendor, row.url + ' ' + row.url + ' ' + row.vendor);
    EXPECT_EQ(built.errorField + ", " + built.errorText, "field before, text before") << row.url;

    // Given back as a ready URL it selects the same vendor, except kdb+, whose scheme word is "q".
    const bool isKdb = row.call.dbType == "kdb";
    Call ready{"no type", "", "", "", "", row.url};
    EXPECT_TRUE(ready.on(utils)) << row.url;
    EXPECT_EQ(utils.url + ' ' + utils.vendor, row.url + ' ' + (isKdb ? "q" : row.vendor));
  }
}

TEST(SetUrl, AFailureNamesTheInputAndKeepsTheGoodConfiguration) {
  const std::string kept = "kx jdbc:q:kx1:5001";
  const std::string built = "jdbc:teradata://td1/DBS_PORT=1025,DATABASE=dw";
  const struct {
    Call call;
    std::string error;
    std::string urlOut;
    std::string state;
  } rows[] = {
      {{"db2", "h", "1", "", "", "jdbc::x"}, "url: could not parse the url", "jdbc::x", kept},
      {{"db2", "h", "1", "", "", "jdbc"}, "url: could not parse the url", "jdbc", kept},
      {{"db2", "h", "1", "", "", "jdbc:oracle"}, "url: could not parse the url", "jdbc:oracle", kept},
      {{"oracle", "h", "1", "", "d"}, "instance: for Oracle the instance name must not be empty", "", kept},
      {{"ORACLE", "h", "1", "S", ""}, "dbtype: unsupported database type", "", kept},
      {{"microsoft", "h", "1", "", ""}, "dbtype: unsupported database type", "", kept},
      {{"", "h", "1", "", ""}, "dbtype: unsupported database type", "", kept},
      // The only failure that comes after the URL was stored.
      {{"teradata", "td1", "1025", "inst", "dw"},
       "dbtype: teradata jdbc does not support a specified instance.",
       built,
       "teradata " + built},
  };
  for (const auto& row : rows) {
    JdbcUtils utils;
    Call good{"kdb", "kx1", "5001", "", ""};
    ASSERT_TRUE(good.on(utils));
    Call bad = row.call;
    EXPECT_FALSE(bad.on(utils)) << row.error;
    EXPECT_EQ(bad.errorField + ": " + bad.errorText, row.error);
    EXPECT_EQ(bad.url, row.urlOut) << row.error;
    EXPECT_EQ(utils.vendor + ' ' + utils.url, row.state) << row.error;
  }
}

}  // namespace
