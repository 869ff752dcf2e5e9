#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "doubles.h"

namespace {

using Connect = kivo::test::JdbcDoublesTest;

const std::string kServer = "DataSource.setServerName(h)\nDataSource.setPortNumber(1)\nDataSource.setDatabaseName(d)\n";
const std::string kTeradata = "DataSource.setDSName(h)\nDataSource.setDBS_PORT(1)\nDataSource.setDATABASE(d)\n";
const struct {
  const char* vendor;
  const char* url;
  std::string dataSource;
  std::string configuration;
  std::string setUser = "setUser";
  std::string setPassword = "setPassword";
} kVendors[] = {
    {"oracle", "any", "OracleDataSource", "DataSource.setURL(any)\n"},
    {"microsoft", "//h:1;databaseName=d", "SQLServerDataSource", kServer},
    {"velmar", "jdbc:velmar:Tds:h:1/d", "VelmDataSource",
     "DataSource.setConnectionProperties({charset=utf8})\n" + kServer},
    {"db2", "//h:1/d", "DB2SimpleDataSource", kServer + "DataSource.setDriverType(4)\n"},
    {"netezza", "//h:1/d", "Jdbc3PoolingDataSource", kServer + "DataSource.setDriverType(4)\n"},
    {"teradata", "//h/DBS_PORT=1,DATABASE=d", "TeraDataSource", kTeradata, "setuser", "setpassword"},
    {"kx", "any", "kdbDataSource", "DataSource.setURL(any)\n"},
    {"postgresql", "//h:1/d", "Jdbc3SimpleDataSource", kServer},
};

TEST_F(Connect, EachVendorsDataSourceIsConfiguredAndSwitchedToAutoCommit) {
  for (const auto& row : kVendors) {
    JdbcUtils fresh;
    ASSERT_TRUE(fresh.javaInit());
    fresh.vendor = row.vendor;
    fresh.url = row.url;
    std::string user = "scott";
    std::string password = "t\xF0\x9F\x98\x80";
    std::string text = "text before";
    EXPECT_EQ(printed([&] { EXPECT_TRUE(fresh.getConnection(user, password, text)); }), "") << row.vendor;
    EXPECT_EQ(text, "") << row.vendor;
    EXPECT_EQ(calls(), row.dataSource + ".<init>()\n" + row.configuration + "DataSource." + row.setUser +
                           "(scott)\nDataSource." + row.setPassword +
                           "(t\xED\xA0\xBD\xED\xB8\x80)\nDataSource.getConnection()\nConnection.setAutoCommit(true)\n");
    EXPECT_TRUE(fresh.autoCommit);

    text = "text before";
    EXPECT_TRUE(fresh.getConnection(text, text, text)) << row.vendor;
    EXPECT_EQ(text + calls(), "text before") << "connected already";
    fresh.destroy();
  }
}

TEST_F(Connect, AFailureHasItsTextAndPrintsWhatJavaThrew) {
  const struct {
    std::string expected;
    std::vector<std::string> troubles;
    bool held = false;
  } rows[] = {
      {"false, text before",
       {"hide oracle/jdbc/pool/OracleDataSource", "hide <init>", "throw OracleDataSource.<init>"}},
      {"false, getConnection() -- could not construct URL.", {"hide setURL", "throw DataSource.setURL"}},
      {"false, getConnection() -- could not get correct java support methods.",
       {"hide setUser", "throw DataSource.setUser", "hide setPassword", "throw DataSource.setPassword"}},
      {"false, getConnection() -- could not get the java method getConnection().", {"hide getConnection"}},
      {"false, getConnection() -- the getConnection() failed.",
       {"null DataSource.getConnection", "throw DataSource.getConnection"}},
      {"false, getConnection() -- ciould not obtain the setAutoCommit() method.", {"hide setAutoCommit"}, true},
      {"false, getConnection() -- could not obtain the commit() method.", {"hide commit"}, true},
      {"true, ", {"throw Connection.setAutoCommit"}, true},
  };
  for (const auto& row : rows) {
    for (const std::string& text : row.troubles) {
      SCOPED_TRACE(text);
      // An earlier connection's methods must not serve one whose own were not found.
      ASSERT_EQ(connect(), "true, ");
      utils.closeConnection();
      utils.autoCommit = false;

      const Trouble trouble(*this, text);
      EXPECT_EQ(printed([&] { EXPECT_EQ(connect(), row.expected); }), trouble.complaint);
      EXPECT_FALSE(env->ExceptionCheck());
      EXPECT_EQ(utils.connection != nullptr, row.held);
      EXPECT_TRUE(!row.held || connect() == "true, text before");
      EXPECT_EQ(utils.commit(), row.expected == "true, ");
      utils.closeConnection();
    }
  }
}

TEST_F(Connect, AVendorOutsideTheTableIsRefusedBeforeAnyCallAndAUrlBeforeAnySetter) {
  for (const char* vendor : {"Oracle", "mssql", "q", "", "db2"}) {
    utils.vendor = vendor;
    const bool known = utils.vendor == "db2";
    EXPECT_EQ(connect(), known ? "false, getConnection() -- could not construct URL."
                               : "false, getConnection() failed -- Unknown vendor.");
    EXPECT_EQ(calls(), known ? "DB2SimpleDataSource.<init>()\n" : "") << vendor;
  }
  JdbcUtils unborn;
  std::string user, error;
  EXPECT_FALSE(unborn.getConnection(user, user, error));
  EXPECT_EQ(error, "getConnection() failed -- Unknown vendor.") << "the vendor is wrong with or without a Java VM";
}

TEST_F(Connect, AutoCommitIsRecordedAndJavaIsCalledOnlyForAChange) {
  EXPECT_TRUE(utils.setAutoCommit(false)) << "that mode is recorded from the start";
  EXPECT_FALSE(utils.setAutoCommit(true));
  EXPECT_TRUE(utils.setAutoCommit(true)) << "recorded although there was nothing to switch";
  EXPECT_FALSE(utils.setAutoCommit(false));
  EXPECT_FALSE(utils.commit());
  JdbcUtils unborn;
  EXPECT_TRUE(unborn.setAutoCommit(false));
  EXPECT_FALSE(unborn.setAutoCommit(true));
  EXPECT_TRUE(unborn.autoCommit) << "recorded without a Java VM as well";

  ASSERT_EQ(connect(), "true, ");
  calls();
  for (const bool on : {true, false, false, true}) EXPECT_TRUE(utils.setAutoCommit(on));
  EXPECT_TRUE(utils.commit());
  utils.closeConnection();
  EXPECT_EQ(calls(),
            "Connection.setAutoCommit(false)\nConnection.setAutoCommit(true)\nConnection.commit()\n"
            "Connection.close()\n");
  EXPECT_EQ(connect(), "true, ");
  EXPECT_EQ(calls().find("setAutoCommit"), std::string::npos) << "the mode outlives the connection";
}

TEST_F(Connect, AThrowingSwitchOrCommitIsPrintedByTheNextMember) {
  ASSERT_EQ(connect(), "true, ");
  const Trouble switching(*this, "throw Connection.setAutoCommit");
  const Trouble committing(*this, "throw Connection.commit");
  EXPECT_EQ(printed([&] { EXPECT_TRUE(utils.setAutoCommit(false)); }), "");
  EXPECT_FALSE(utils.autoCommit);
  EXPECT_EQ(printed([&] { EXPECT_TRUE(utils.commit()); }), switching.complaint);
  EXPECT_EQ(takePending(), committing.complaint);
}

}  // namespace
