#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "doubles.h"

namespace {

using Member = bool (JdbcUtils::*)(jclass, jobject, std::string&);

const std::string kServer = "setServerName setPortNumber setDatabaseName ";
const std::string kTeradata = "setDSName setDBS_PORT setDATABASE ";

/// The members with a URL that each understands, and what they look up and what they call, in order.
const struct {
  Member member;
  const char* url;
  std::string lookups;
  std::string calls;
} kMembers[] = {
    {&JdbcUtils::jdbcURL, "any", "setURL", "setURL"},
    {&JdbcUtils::kdbURL, "any", "setURL", "setURL"},
    {&JdbcUtils::TeradataURL, "//h/DBS_PORT=1", kTeradata, kTeradata},
    {&JdbcUtils::SqlServerURL, "//h:1", "setURL " + kServer, kServer},
    {&JdbcUtils::PostgresURL, "//h:1", kServer, kServer},
    {&JdbcUtils::VelmarURL, "jdbc:velmar:Tds:h:1",
     kServer + "java/util/Properties <init> setProperty setConnectionProperties", "setConnectionProperties " + kServer},
    {&JdbcUtils::DB2URL, "//h:1", kServer + "setDriverType", kServer + "setDriverType"},
};

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

class DataSources : public kivo::test::DoublesTest {
 protected:
  DataSources() {
    EXPECT_TRUE(utils.javaInit());
    dataSourceClass_ = env->FindClass("doubles/VendorDataSource");
    dataSource_ = env->NewObject(dataSourceClass_, env->GetMethodID(dataSourceClass_, "<init>", "()V"));
    EXPECT_FALSE(env->ExceptionCheck());
    calls();
  }
  ~DataSources() override {
    env->DeleteLocalRef(dataSource_);
    env->DeleteLocalRef(dataSourceClass_);
  }

  /// Runs a member, which may print nothing, and takes what it leaves pending.
  /// @return its result and the setter calls: "true setURL(x) setPort(1) ".
  std::string configure(Member member, std::string url) {
    std::string text;
    EXPECT_EQ(printed([&] { text = (utils.*member)(dataSourceClass_, dataSource_, url) ? "true " : "false "; }), "");
    pending = takePending();
    std::istringstream lines(calls());
    for (std::string line; std::getline(lines, line);) text += line.substr(line.find('.') + 1) + ' ';
    return text;
  }

  JdbcUtils utils;
  std::string pending;

 private:
  jclass dataSourceClass_;
  jobject dataSource_;
};

std::string server(const std::string& host, const char* port, const char* database) {
  return "setServerName(" + host + ") setPortNumber(" + port + ") setDatabaseName(" + database + ") ";
}

std::string teradata(const std::string& host, const char* port, const char* database) {
  return "setDSName(" + host + ") setDBS_PORT(" + port + ") setDATABASE(" + database + ") ";
}

const std::string kVelmar = "setConnectionProperties({charset=utf8}) ";
const std::string kDb2 = "setDriverType(4) ";
const std::string kRefused;
const struct {
  Member member;
  const char* url;
  std::string expected;
} kUrls[] = {
    {&JdbcUtils::jdbcURL, "jdbc:oracle:thin:@h:1:S", "setURL(jdbc:oracle:thin:@h:1:S) "},
    {&JdbcUtils::kdbURL, "jdbc:q:kx1:5001", "setURL(jdbc:q:kx1:5001) "},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1/DBS_PORT=1025,DATABASE=dw", teradata("td1", "1025", "dw")},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1/database=dw,dbs_port=1025", teradata("td1", "1025", "dw")},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1/DATABASE=dw,DBS_PORT=1025", teradata("td1", "1025", "")},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1/dbs_port=1,DBS_PORT=2", teradata("td1", "2", "")},
    {&JdbcUtils::TeradataURL, "//h/TMODE=ANSI,DBS_PORT= 1x,DATABASE=d,CHARSET=UTF8", teradata("h", " 1x", "d")},
    {&JdbcUtils::TeradataURL, "database=a//h/DBS_PORT=", teradata("h", "", "a//h/DBS_PORT=")},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1/DATABASE=dw", kRefused},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://td1,DBS_PORT=1025", kRefused},
    {&JdbcUtils::TeradataURL, "jdbc:teradata:td1/DBS_PORT=1025", kRefused},
    {&JdbcUtils::TeradataURL, "jdbc:teradata://dbs_port=1DBS_PORT=2/x", kRefused},
    {&JdbcUtils::SqlServerURL, "jdbc:microsoft:sqlserver://db1\\X:1433;databaseName=sales;responseBuffering=adaptive",
     server("db1\\X", "1433", "sales")},
    {&JdbcUtils::SqlServerURL, "jdbc:microsoft:sqlserver://h:014x3;databasename=low", server("h", "14", "low")},
    {&JdbcUtils::SqlServerURL, "//h:;databasename=b;databaseName=a", server("h", "0", "a")},
    {&JdbcUtils::SqlServerURL, "//h:1433;responseBuffering=adaptive", server("h", "1433", "")},
    {&JdbcUtils::SqlServerURL, "jdbc:microsoft:sqlserver://h;databaseName=sales", kRefused},
    {&JdbcUtils::SqlServerURL, "jdbc:microsoft:sqlserver:/h:1//x:2", kRefused},
    {&JdbcUtils::PostgresURL, "jdbc:postgresql://pg1:5432", server("pg1", "5432", "")},
    {&JdbcUtils::PostgresURL, "jdbc:postgresql://pg1:5432/db/extra", server("pg1", "5432", "db/extra")},
    {&JdbcUtils::PostgresURL, "jdbc:postgresql://:", server("", "0", "")},
    {&JdbcUtils::PostgresURL, "jdbc:postgresql://pg1/db", kRefused},
    {&JdbcUtils::PostgresURL, "jdbc:postgresql:/x//pg1:1", kRefused},
    {&JdbcUtils::DB2URL, "jdbc:netezza://nz:5480/sys", server("nz", "5480", "sys") + kDb2},
    {&JdbcUtils::DB2URL, "jdbc:db2:/x//h:4294967298/d", server("h", "2", "d") + kDb2},
    {&JdbcUtils::DB2URL, "jdbc:db2:h:500", kRefused},
    {&JdbcUtils::VelmarURL, "jdbc:velmar:Tds:vh:5000/pubs", kVelmar + server("vh", "5000", "pubs")},
    {&JdbcUtils::VelmarURL, "xjdbc:velmar:Tds:vh: +50/a/b", kVelmar + server("vh", "50", "a/b")},
    {&JdbcUtils::VelmarURL, "jdbc:velmar:tds:vh:5000", kRefused},
};

TEST_F(DataSources, EachMemberCutsItsUrlAndCallsItsSettersInOrder) {
  for (const auto& row : kUrls) {
    EXPECT_EQ(configure(row.member, row.url), (row.expected.empty() ? "false " : "true ") + row.expected) << row.url;
    EXPECT_EQ(pending, "") << row.url;
  }
}

TEST_F(DataSources, NothingIsCalledBeforeJavaInitOrOnTopOfAnExceptionThatIsPending) {
  JdbcUtils unborn;
  for (const auto& row : kMembers) {
    std::string url = row.url;
    EXPECT_FALSE((unborn.*row.member)(nullptr, nullptr, url)) << url;
    leavePending();
    EXPECT_EQ(configure(row.member, url), "false ") << url;
    EXPECT_EQ(pending, kLeftOver) << url;
  }
}

TEST_F(DataSources, AFailedLookUpLeavesItsErrorPendingAndNothingCalled) {
  for (const auto& row : kMembers) {
    for (const std::string& name : words(row.lookups)) {
      const Trouble trouble(*this, "hide " + name);
      EXPECT_EQ(configure(row.member, row.url), "false ") << row.url << ' ' << name;
      EXPECT_EQ(pending, trouble.complaint);
    }
  }
}

TEST_F(DataSources, SettersStopAtTheFirstThatThrowsWithItsExceptionPending) {
  for (const auto& row : kMembers) {
    std::string expected = "false";
    for (const std::string& name : words(row.calls)) {
      const Trouble trouble(*this, "throw DataSource." + name);
      std::string called;
      for (const std::string& call : words(configure(row.member, row.url)))
        called += ' ' + call.substr(0, call.find('('));
      EXPECT_EQ(called, ' ' + (expected += ' ' + name)) << row.url;
      EXPECT_EQ(pending, trouble.complaint);
    }
  }
}

}  // namespace
