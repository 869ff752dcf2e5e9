#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "doubles.h"

namespace {

const std::string kRefused = "java.sql.SQLException: ";

class Statements : public kivo::test::JdbcDoublesTest {
 protected:
  Statements() { connectAnew(); }

  void connectAnew() {
    EXPECT_EQ(connect(), "true, ");
    calls();
  }

  bool query(const std::string& result = "A:4\n1") {
    answer(sql, result);
    return utils.executeQuery(sql, 0);
  }

  /// @return the text of a column, "null", "failed", or "untouched" when it failed without a value of null.
  std::string column(unsigned long index) {
    char mark = 'm';
    char* value = &mark;
    const bool read = utils.getColumn(index, value);
    if (value == &mark) return "untouched";
    std::string text = value == nullptr ? read ? "null" : "failed" : value;
    std::free(value);
    return text;
  }

  bool holdsNothing() const {
    return !utils.resultSet && !utils.resultSetMetaData && !utils.statement && !utils.connection;
  }

  std::string sql = "select 1";
};

TEST_F(Statements, AQueryMakesItsStatementAndReadsEachColumnsTypeOnce) {
  for (const char* vendor : {"oracle", "microsoft", "velmar", "netezza", "teradata", "db2", "kx", "postgresql"}) {
    utils.vendor = vendor;
    answer(sql, "A:4,B:-5");
    const std::string prepared = utils.vendor == "velmar" ? "" : "Statement.setFetchSize(128)\n";
    for (const std::string& before :
         {"Connection.createStatement()\n" + prepared, std::string("ResultSet.close()\n")}) {
      EXPECT_TRUE(utils.executeQuery(sql, 77)) << vendor;
      EXPECT_EQ(calls(), before +
                             "Statement.setMaxRows(77)\nStatement.executeQuery(select 1)\nResultSet.getMetaData()\n"
                             "ResultSetMetaData.getColumnCount()\nResultSetMetaData.getColumnName(1)\n"
                             "ResultSetMetaData.getColumnType(1)\nResultSetMetaData.getColumnCount()\n"
                             "ResultSetMetaData.getColumnName(2)\nResultSetMetaData.getColumnType(2)\n"
                             "ResultSetMetaData.getColumnCount()\n")
          << vendor;
      EXPECT_EQ(utils.columnTypes, (std::vector<int>{4, -5}));
    }
    utils.closeST();
    calls();
  }
}

TEST_F(Statements, DatesAndTimesGoThroughTheUtcHelperAndAllElseThroughGetString) {
  ASSERT_TRUE(query("A:90,B:91,C:92,D:93,E:94,F:12,G:12\nx,d,t,ts,,2001-02-03,null"));
  ASSERT_TRUE(utils.next());
  calls();
  std::string row;
  for (const unsigned long index : {1UL, 2UL, 3UL, 4UL, 5UL, 6UL, 7UL, 0UL, 8UL}) row += column(index) + ';';
  EXPECT_EQ(row, "x;type 91 of column 2;null;type 93 of column 4;;2001-02-03;null;failed;failed;");
  EXPECT_EQ(column(ULONG_MAX), "failed");
  EXPECT_EQ(calls(),
            "ResultSet.getString(1)\nResultSet.getString(5)\nResultSet.getString(6)\nResultSet.getString(7)\n");
}

TEST_F(Statements, AFailingCellCostsThatCellAndAnUndescribedColumnKeepsItsPlace) {
  EXPECT_EQ(printed([&] { ASSERT_TRUE(query("A:4,null:12,throw:91,D:5,E:bad\n1,throw,x,y\nthrow")); }),
            kRefused + "Column name refused\njava.lang.NumberFormatException: For input string: \"bad\"\n");
  EXPECT_EQ(utils.columnTypes, (std::vector<int>{4, 1111, 1111, 5, 1111}));
  ASSERT_TRUE(utils.next());
  EXPECT_EQ(printed([&] { EXPECT_EQ(column(2), "null"); }), "") << "the exception is left pending";
  EXPECT_EQ(printed([&] { EXPECT_EQ(column(1) + column(3) + column(4), "1xy"); }), kRefused + "Cell refused\n");
  EXPECT_FALSE(utils.next());
  EXPECT_EQ(takePending(), kRefused + "Row refused\n");

  std::string name = "before";
  int type = -1;
  EXPECT_FALSE(utils.getColumnInfo(1, name, type));
  EXPECT_EQ(name + std::to_string(type), "before-1");
  EXPECT_TRUE(utils.getColumnInfo(3, name, type));
  EXPECT_EQ(name + std::to_string(type), "D5");
  EXPECT_EQ(utils.getNumColumns(), 5);
}

TEST_F(Statements, AStepOfAQueryThatFailsIsPrintedAndLeavesNoResult) {
  const std::string noHelper = "*** could not get toAsUtcString method!!!! ***\n";
  const struct {
    bool result;
    std::string line;
    std::vector<std::string> troubles;
  } rows[] = {
      {true, "", {"throw Statement.setFetchSize", "throw Statement.setMaxRows"}},
      {true, "Could not set the maxrows in the statement.\n", {"hide setMaxRows"}},
      {false, noHelper, {"hide com/ulvanejdbc/datetime", "hide getAsUtcString"}},
      {false,
       "",
       {"hide createStatement", "throw Connection.createStatement", "null Connection.createStatement",
        "hide setFetchSize", "hide executeQuery", "throw Statement.executeQuery", "null Statement.executeQuery",
        "hide getMetaData", "throw ResultSet.getMetaData", "null ResultSet.getMetaData", "hide next", "hide getString",
        "hide getObject"}},
  };
  for (const auto& row : rows) {
    for (const std::string& text : row.troubles) {
      SCOPED_TRACE(text);
      {
        const Trouble trouble(*this, text);
        EXPECT_EQ(printed([&] { EXPECT_EQ(query(), row.result); }), row.line + trouble.complaint);
      }
      EXPECT_FALSE(env->ExceptionCheck());
      EXPECT_EQ(utils.statement == nullptr, text.find("createStatement") != std::string::npos);
      EXPECT_EQ(utils.next(), row.result);
      EXPECT_EQ(column(1), row.result ? "1" : "untouched");
      EXPECT_EQ(utils.getNumColumns(), row.result ? 1 : -1);
      EXPECT_TRUE(query()) << "the next query is served";
      utils.closeST();
    }
  }
}

TEST_F(Statements, ClosingGoesFromTheInsideOutAndReleasesWhateverCloseDoes) {
  const auto closeAll = [this] {
    EXPECT_TRUE(query());
    calls();
    std::string text = printed([&] { utils.closeConnection(), utils.closeConnection(); });
    EXPECT_TRUE(holdsNothing());
    return text;
  };
  {
    const Trouble result(*this, "throw ResultSet.close");
    const Trouble statement(*this, "throw Statement.close");
    const Trouble connection(*this, "throw Connection.close");
    EXPECT_EQ(closeAll(), result.complaint + statement.complaint + connection.complaint);
    EXPECT_EQ(calls(), "ResultSet.close()\nStatement.close()\nConnection.close()\n");
  }
  connectAnew();
  const Trouble missing(*this, "hide close");
  EXPECT_EQ(closeAll(), "**** Failed call close() on an open resultSet.\n" + missing.complaint +
                            "**** Failed to call close() on an open statement.\n" + missing.complaint +
                            "**** Failed to call close() on an open connection.\n" + missing.complaint);
  EXPECT_EQ(calls(), "");
}

TEST_F(Statements, DestroyReleasesWithoutClosingAndReportsWhatIsPending) {
  const std::string names[] = {"<resultSet>", "<statement>.", "<connection>."};
  for (const std::string& first : names) {
    ASSERT_TRUE(query());
    if (first != names[0]) utils.closeRS();
    if (first == names[2]) utils.closeST();
    calls();
    leavePending();
    const std::string expected = "Exception in deleting global ref to " + first + '\n' + kLeftOver;
    EXPECT_EQ(printed([&] { utils.destroy(), utils.destroy(); }), expected);
    EXPECT_EQ(calls(), "");
    EXPECT_TRUE(holdsNothing());
    EXPECT_EQ(utils.vendor + utils.url, "oracleany");
    connectAnew();
  }
}

TEST_F(Statements, AnUpdateNeedsAStatementAndGivesItsCountOrMinusOne) {
  sql = "update t set a='\xF0\x9F\x98\x80' where b=1";
  int counts[] = {42};
  EXPECT_EQ(utils.executeUpdate(sql) + utils.addToBatch(sql) + utils.executeBatch(counts), -3);
  EXPECT_EQ(calls(), "");
  ASSERT_TRUE(utils.getStatement() && utils.getStatement());
  EXPECT_EQ(calls(), "Connection.createStatement()\nStatement.setFetchSize(128)\n");
  EXPECT_TRUE(utils.setAutoCommit(false));
  calls();
  EXPECT_EQ(utils.executeUpdate(sql), 7);
  EXPECT_EQ(calls(), "Statement.executeUpdate(update t set a='\xED\xA0\xBD\xED\xB8\x80' where b=1)\n");

  const std::string noMethod = "mid is NULL!!!!\n";
  const struct {
    const char* trouble;
    std::function<int()> run;
    int result;
    std::string line;
  } rows[] = {
      {"throw Statement.executeUpdate", [this] { return utils.executeUpdate(sql); }, -1, ""},
      {"hide executeUpdate", [this] { return utils.executeUpdate(sql); }, -1, noMethod},
      {"throw Statement.addBatch", [this] { return utils.addToBatch(sql); }, 0, ""},
      {"hide addBatch", [this] { return utils.addToBatch(sql); }, 0, noMethod},
      {"hide executeBatch", [&] { return utils.executeBatch(counts); }, -1, noMethod},
  };
  for (const auto& row : rows) {
    const Trouble trouble(*this, row.trouble);
    calls();
    EXPECT_EQ(printed([&] { EXPECT_EQ(row.run(), row.result); }), row.line + trouble.complaint) << row.trouble;
    EXPECT_FALSE(env->ExceptionCheck()) << row.trouble;
  }
  EXPECT_EQ(calls(), "") << "no commit after a batch that was not run, and auto-commit stays off";
  EXPECT_EQ(counts[0], 42);
}

TEST_F(Statements, ABatchSwitchesAutoCommitOffAndBackOnWhateverBecomesOfIt) {
  const struct {
    int added;
    const char* trouble;
    std::string answer;
    std::vector<int> counts;
  } rows[] = {
      {3, "", "", {1, 1, 1}},
      {3, "", "5,-2,-3", {5, -2, -3}},
      {3, "", "1", {1}},
      {2, "", "1,1,1", {1, 1, 1}},
      {0, "", "", {}},
      {2, "throw Statement.executeBatch", "", {}},
      {2, "null Statement.executeBatch", "", {}},
      {1, "throw Connection.commit", "", {1}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.trouble);
    ASSERT_TRUE(utils.getStatement());
    calls();
    answer("Statement.executeBatch", row.answer);
    const Trouble trouble(*this, row.trouble);
    std::string expected = "Connection.setAutoCommit(false)\n";
    for (int index = 0; index < row.added; ++index) {
      EXPECT_EQ(utils.addToBatch(sql), 0);
      expected += "Statement.addBatch(select 1)\n";
    }
    if (row.added == 0) utils.setAutoCommit(false);
    std::vector<int> counts(4, 42);
    const bool failed = std::string(row.trouble).find("executeBatch") != std::string::npos;
    const int result = failed ? -1 : static_cast<int>(row.counts.size());
    int* const room = row.added == 0 ? nullptr : counts.data();
    EXPECT_EQ(printed([&] { EXPECT_EQ(utils.executeBatch(room), result); }), trouble.complaint);
    std::vector<int> written = row.counts;
    written.resize(4, 42);
    EXPECT_EQ(counts, written);
    EXPECT_EQ(calls(), expected + "Statement.executeBatch()\nConnection.commit()\nConnection.setAutoCommit(true)\n");
    EXPECT_TRUE(utils.autoCommit);
    utils.closeST();
  }
}

TEST_F(Statements, NoStatementOfABatchIsLostWhenTheDriverRefusesToLeaveAutoCommit) {
  ASSERT_TRUE(utils.getStatement());
  calls();
  const Trouble trouble(*this, "throw Connection.setAutoCommit");
  EXPECT_EQ(printed([&] { EXPECT_EQ(utils.addToBatch(sql), 0); }), trouble.complaint);
  EXPECT_EQ(calls(), "Connection.setAutoCommit(false)\nStatement.addBatch(select 1)\n");
}

}  // namespace
