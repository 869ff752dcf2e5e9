#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "doubles.h"

namespace {

const std::string kOracle = "select table_name from user_tables";
const std::string kTeradata = "select TableName  from DBC.TablesX where TableKind='T' and not CreatorName='DBC'";
const std::string kColumns = "CAT:12,SCHEM:12,NAME:12,TYPE:12\n";

class Listing : public kivo::test::JdbcDoublesTest {
 protected:
  Listing() {
    EXPECT_EQ(connect(), "true, ");
    calls();
  }

  /// Lists after a name that is there already. @return the result and the names.
  std::string list(const char* vendor) {
    utils.vendor = vendor;
    std::vector<std::string> tables = {"before"};
    std::string text = utils.getTables(tables) ? "true" : "false";
    for (const std::string& table : tables) text += ' ' + table;
    EXPECT_FALSE(env->ExceptionCheck());
    return text;
  }
};

TEST_F(Listing, DatabaseMetaDataRowsAreFilteredAndNamedByVendor) {
  const std::string plain = "x,a,T1,TABLE\nx,b,T1,TABLE\nnull,null,T2,TABLE\nx,sys,dtproperties,TABLE\n";
  const struct {
    const char* vendor;
    std::string rows;
    const char* expected;
  } rows[] = {
      {"microsoft",
       "x,INFORMATION_SCHEMA,A,TABLE\nx,sys,B,TABLE\nx,dbo,dtproperties,TABLE\nx,dbo,sysalternates,TABLE\n"
       "x,dbo,sysconstraints,TABLE\nx,dbo,syssegments,TABLE\nx,dbo,DTPROPERTIES,TABLE\nx,SYS,C,TABLE\n"
       "x,sysx,D,TABLE\nx,null,E,TABLE\nx,dbo,sys,TABLE\nx,SYSIBM,F,TABLE",
       "true before DTPROPERTIES C D E sys F"},
      {"db2",
       "x,SYSIBM,SYSTABLES,TABLE\nx,SYSCAT,A,TABLE\nx,SYSSTAT,B,TABLE\nx,SYSTOOLS,C,TABLE\nx,SYSIBMADM,D,TABLE\n"
       "x,APP,ORDERS,TABLE\nx,SYSIBMX,E,TABLE\nx,null,F,TABLE\nx,sysibm,G,TABLE\nx,sys,dtproperties,TABLE",
       "true before APP.ORDERS SYSIBMX.E NULL.F sysibm.G sys.dtproperties"},
      {"velmar", plain, "true before T1 T1 T2 dtproperties"},
      {"netezza", plain, "true before T1 T1 T2 dtproperties"},
      {"kx", plain, "true before T1 T1 T2 dtproperties"},
      {"postgresql", plain, "true before T1 T1 T2 dtproperties"},
      {"no vendor", plain, "true before T1 T1 T2 dtproperties"},
      {"kx", "", "true before"},
  };
  for (const auto& row : rows) {
    answer("DatabaseMetaData.getTables", kColumns + row.rows);
    EXPECT_EQ(list(row.vendor), row.expected) << row.vendor;
    EXPECT_EQ(calls().rfind("Connection.getMetaData()\nDatabaseMetaData.getTables(null, null, %, [TABLE])\n", 0), 0U);
  }
}

TEST_F(Listing, AFailedCallIsPrintedAndListsNothing) {
  const struct {
    const char* vendor;
    std::vector<std::string> troubles;
  } rows[] = {
      {"kx",
       {"hide getMetaData", "throw Connection.getMetaData", "null Connection.getMetaData", "hide getTables",
        "throw DatabaseMetaData.getTables", "null DatabaseMetaData.getTables", "hide next", "hide getString",
        "throw ResultSet.next"}},
      {"oracle",
       {"hide createStatement", "throw Statement.executeQuery", "throw ResultSet.getString", "throw ResultSet.next"}},
  };
  answer("DatabaseMetaData.getTables", kColumns + "x,APP,T,TABLE");
  answer(kOracle, "NAME:12\nT");
  for (const auto& row : rows) {
    for (const std::string& text : row.troubles) {
      const Trouble trouble(*this, text);
      EXPECT_EQ(printed([&] { EXPECT_EQ(list(row.vendor), "false before") << text; }), trouble.complaint);
    }
  }
}

TEST_F(Listing, ABrokenRowKeepsTheNamesBeforeItUnlessItHasNoNameOrType) {
  const struct {
    const char* vendor;
    std::string row;
    const char* expected;
    const char* complaint;
  } rows[] = {
      {"kx", "throw", "false before T", "java.sql.SQLException: Row refused\n"},
      {"kx", "x,throw,U,TABLE", "false before T", "java.sql.SQLException: Cell refused\n"},
      {"kx", "x,APP,null,TABLE", "false", ""},
      {"kx", "x,APP,throw,TABLE", "false", "java.sql.SQLException: Cell refused\n"},
      {"kx", "x,APP,U,throw", "false", "java.sql.SQLException: Cell refused\n"},
      {"kx", "x,APP,U,null", "false", ""},
      {"teradata", "throw", "false before T", "java.sql.SQLException: Row refused\n"},
  };
  for (const auto& broken : rows) {
    answer("DatabaseMetaData.getTables", kColumns + "x,APP,T,TABLE\n" + broken.row);
    answer(kTeradata, "NAME:12\nT\n" + broken.row);
    EXPECT_EQ(printed([&] { EXPECT_EQ(list(broken.vendor), broken.expected) << broken.row; }), broken.complaint);
  }
}

TEST_F(Listing, CatalogueQueriesUseAStatementOfTheirOwnAndHideOraclesTables) {
  const struct {
    const char* vendor;
    std::string sql;
    const char* names;
    const char* expected;
  } rows[] = {
      {"oracle", kOracle,
       "HELP\nHELPDESK\nMVIEW$LOG\nLOGMNR_X\nLOGMNRC_\nLOGMNRP_1\nLOGMNRT_1\nAQ$1\nOL$\nDEF$X\nLOGSTDBY$\nREPCAT$_\n"
       "SQLPLUS_P\nhelp_me\nEMP\nOLD_DATA\nLOGMNR\nAHELP\nnull\nHEL\n",
       "true before help_me EMP OLD_DATA LOGMNR AHELP HEL"},
      {"teradata", kTeradata, "HELP\nnull\nMVIEW$LOG\n", "true before HELP MVIEW$LOG"},
      {"oracle", kOracle, "", "true before"},
  };
  for (const auto& row : rows) {
    answer(row.sql, std::string("NAME:12\n") + row.names);
    EXPECT_EQ(list(row.vendor), row.expected);
    const std::string made = calls();
    EXPECT_EQ(made.rfind("Connection.createStatement()\nStatement.setFetchSize(128)\nStatement.setMaxRows(0)\n"
                         "Statement.executeQuery(" +
                             row.sql,
                         0),
              0U)
        << made;
    EXPECT_NE(made.find("ResultSet.close()\nStatement.close()\n"), std::string::npos) << made;
  }
}

TEST_F(Listing, AQueryThatTheCallerHasOpenReadsOn) {
  std::string sql = "select a";
  answer(sql, "A:4,B:12,C:12\n1,one,x\n2,two,y");
  answer(kOracle, "NAME:12\nEMP");
  ASSERT_TRUE(utils.executeQuery(sql, 0));
  ASSERT_TRUE(utils.next());
  const jobject statement = utils.statement;
  EXPECT_EQ(list("oracle"), "true before EMP");
  EXPECT_EQ(utils.statement, statement);
  EXPECT_EQ(utils.getNumColumns(), 3);
  for (const char* expected : {"one", "two"}) {
    char* value = nullptr;
    EXPECT_TRUE(utils.getColumn(2, value));
    EXPECT_STREQ(value, expected);
    std::free(value);
    EXPECT_EQ(utils.next(), *expected == 'o');
  }
}

TEST_F(Listing, NothingIsListedWithoutAConnection) {
  utils.closeConnection();
  calls();
  for (const char* vendor : {"oracle", "teradata", "db2"}) EXPECT_EQ(list(vendor), "false before");
  std::vector<std::string> tables = {"before"};
  EXPECT_FALSE(utils.getOracleTables(tables) || utils.getTeradataTables(tables));
  EXPECT_EQ(tables.size(), 1U);
  EXPECT_EQ(calls(), "");
}

}  // namespace
