// The companion's own classes over a driver that answers as no packaged one does, found after two that are unusable.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "JavaConnectionUtils.h"
#include "doubles.h"
#include "jdbcWrapper.h"
#include "sql_client.h"

namespace {

class Drivers : public kivo::test::DoublesTest {
 protected:
  Drivers() { connect("jdbc:any:thing"); }

  void connect(std::string url) {
    wrapper.closeConnection();
    EXPECT_TRUE(wrapper.setUrl("", "", "", "", "", url) && wrapper.getConnection("", "") && wrapper.getStatement())
        << wrapper.errorMessage;
    calls();
  }

  int batch(int statements) {
    for (int count = 0; count < statements; ++count) EXPECT_TRUE(wrapper.addToBatch("insert"));
    int executed = 0;
    wrapper.executeBatch(executed);
    return executed;
  }

  void query() {
    EXPECT_TRUE(wrapper.executeQuery("select 1", 0)) << wrapper.errorMessage;
    while (wrapper.next()) continue;
  }

  /// The calls since the last time that open or end a transaction.
  std::string transactionCalls() {
    std::istringstream lines(calls());
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
      const bool isOne = line.find("Connection.setAutoCommit") == 0 || line.find("Connection.commit") == 0 ||
                         line.find("Connection.rollback") == 0 || line.find("Statement.execute(") == 0;
      if (isOne) kept += line.substr(line.find('.') + 1) + ' ';
    }
    return kept;
  }

  jdbcWrapper wrapper;
};

const struct {
  const char* word;
  const char* host;
  const char* port;
  const char* instance;
  const char* database;
  std::string url;
  std::string vendor;
  std::string complaint;
} kUrls[] = {
    {"oracle", "h", "1", "i", "", "jdbc:oracle:thin:@h:1:i", "oracle", ""},
    {"oracle", "h", "1", "", "d", "", "", "for Oracle the instance name must not be empty"},
    {"oracle", "h", "1", "i", "d", "", "", "for oracle there is no place for the database"},
    {"oracle", "h", "", "i", "", "", "", "for oracle the port must not be empty"},
    {"mssql", "h", "", "i", "", "jdbc:microsoft:sqlserver://h\\i;responseBuffering=adaptive", "microsoft", ""},
    {"velmar", "h", "1", "", "d", "jdbc:velmar:Tds:h:1/d", "velmar", ""},
    {"netezza", "h", "", "i", "", "jdbc:netezza://h/i", "netezza", ""},
    {"teradata", "h", "1", "", "d", "jdbc:teradata://h/DBS_PORT=1,DATABASE=d", "teradata", ""},
    {"teradata", "h", "", "", "d", "jdbc:teradata://h/DATABASE=d", "teradata", ""},
    {"teradata", "h", "1", "i", "", "jdbc:teradata://h/DBS_PORT=1", "teradata",
     "teradata jdbc does not support a specified instance."},
    {"db2", "h", "0", "i", "", "jdbc:db2://h/i", "db2", ""},
    {"kdb", "h", "1", "", "", "jdbc:q:h:1", "kx", ""},
    {"postgresql", "h", "", "", "d", "jdbc:postgresql://h/d", "postgresql", ""},
    {"postgresql", "h", "1", "d", "d", "jdbc:postgresql://h:1/d", "postgresql", ""},
    {"postgresql", "h", "1", "i", "d", "", "",
     "for postgresql instance and database mean the same, but their values differ"},
    {"sqlserver", "h", "", "i", "d", "jdbc:sqlserver://h\\i;databaseName=d", "sqlserver", ""},
    {"mariadb", "h", "0", "", "{host}[x]", "jdbc:mariadb://h/{host}[x]", "mariadb", ""},
    {"h2", "h", "1", "", "d", "jdbc:h2:tcp://h:1/d", "h2", ""},
    {"h2", "", "", "", "mem:d", "jdbc:h2:mem:d", "h2", ""},
    {"h2", "", "1", "", "mem:d", "", "", "for h2 without a host there is no place for the port"},
    {"derby", "", "", "", "memory:d;create=true", "jdbc:derby:memory:d;create=true", "derby", ""},
    {"hsqldb", "h", "", "", "d", "jdbc:hsqldb:hsql://h/d", "hsqldb", ""},
    {"sqlite", "", "", "s.db", "", "jdbc:sqlite:s.db", "sqlite", ""},
    {"Oracle", "h", "1", "i", "d", "", "", "unsupported database type"},
};

TEST_F(Drivers, AUrlIsBuiltByTheWordOfItsDatabaseOrRefused) {
  for (const auto& row : kUrls) {
    SCOPED_TRACE(std::string(row.word) + ' ' + row.url);
    jdbcWrapper fresh;
    std::string url;
    EXPECT_EQ(fresh.setUrl(row.word, row.host, row.port, row.instance, row.database, url), row.complaint.empty());
    EXPECT_EQ(fresh.errorMessage, row.complaint);
    std::string vendor;
    EXPECT_EQ(fresh.getUrl(url), !row.url.empty());
    fresh.getVendor(vendor);
    EXPECT_EQ(url, row.url);
    EXPECT_EQ(vendor, row.vendor);
  }
}

TEST_F(Drivers, AUrlWithoutAWordForItsDatabaseIsRefused) {
  for (std::string url : {"nonsense", "jdbc:word", "jdbc::x"}) {
    EXPECT_FALSE(wrapper.setUrl("", "", "", "", "", url));
    EXPECT_EQ(wrapper.errorMessage, "could not parse the url");
  }
}

TEST_F(Drivers, TheBridgesClassSaysWhichParameterIsWrong) {
  std::string className = "com/ulvanejdbc/JdbcConnection";
  JavaConnectionUtils bridge(className);
  EXPECT_TRUE(bridge.javaInit());
  const auto set = [&](std::vector<std::string> names, std::vector<std::string> values) {
    return bridge.setParams(names, values);
  };
  const std::string misuse = "com.ulvanejdbc.MisuseException: ";
  EXPECT_EQ(printed([&] {
              set({"url", "usr"}, {"jdbc:any:x", "me"});
            }),
            misuse + "unknown parameter \"usr\": there are [url, user, password, query]\n");
  EXPECT_EQ(printed([&] { EXPECT_FALSE(bridge.makeConnection()); }), misuse + "missing parameter \"url\"\n");
  EXPECT_EQ(printed([&] { EXPECT_TRUE(set({"url"}, {"jdbc:any:x"}) && bridge.makeConnection()); }), "");
  EXPECT_EQ(printed([&] { EXPECT_FALSE(bridge.query()); }), misuse + "missing parameter \"query\"\n");
  EXPECT_EQ(printed([&] { EXPECT_TRUE(set({"query"}, {"select 1"}) && bridge.query() && bridge.next()); }), "");
}

TEST_F(Drivers, TheBridgesClassConnectsAnewAtOnceWhereTheOldConnectionIsBroken) {
  kivo::test::BridgeClient bridge;
  const auto connects = [&bridge] { return bridge.connect("jdbc:postgresql:telling", "", ""); };
  const struct {
    const char* member;
    const char* valid;
    std::string complaint;
  } rows[] = {
      {"Connection.close", "no", ""},
      {"Connection.commit", "no", ""},
      {"Connection.commit", "usual", "java.sql.SQLException: Connection.commit refused\n"},
  };
  answer("Connection.getTransactionState", "0");
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.member) + ' ' + row.valid);
    EXPECT_TRUE(connects() && bridge.query("select 1") && bridge.next());
    calls();
    answer("Connection.isValid", row.valid);
    EXPECT_EQ(printed([&] {
                const Trouble trouble(*this, std::string("throw ") + row.member);
                EXPECT_EQ(connects(), row.complaint.empty());
              }),
              row.complaint);
    EXPECT_NE(calls().find("Connection.close()"), std::string::npos);
  }
}

TEST_F(Drivers, AConnectionThatCannotBeSetUpIsClosedAndNotKept) {
  const struct {
    std::string url;
    std::string member;
    const char* autoCommit;
    bool refused;
  } rows[] = {
      {"jdbc:any:thing", "Connection.getAutoCommit", "usual", true},
      {"jdbc:any:thing", "Connection.setAutoCommit", "off", true},
      {"jdbc:mariadb:thing", "Statement.execute", "usual", true},
      {"jdbc:h2:thing", "Statement.execute", "usual", false},
  };
  for (auto row : rows) {
    SCOPED_TRACE(row.url + ' ' + row.member);
    jdbcWrapper fresh;
    calls();
    answer("Connection.getAutoCommit", row.autoCommit);
    const Trouble trouble(*this, "throw " + row.member);
    EXPECT_TRUE(fresh.setUrl("", "", "", "", "", row.url));
    EXPECT_EQ(fresh.getConnection("", ""), !row.refused);
    EXPECT_EQ(fresh.errorMessage, row.refused ? row.member + " refused" : "");
    EXPECT_EQ(calls().find("Connection.close()") != std::string::npos, row.refused);
    EXPECT_EQ(fresh.getStatement(), !row.refused);
  }
}

TEST_F(Drivers, TheNextDriverOfAUrlIsTriedAndTheFirstFailureReported) {
  connect("jdbc:shared:thing");
  const Trouble trouble(*this, "throw Driver.connect");
  jdbcWrapper fresh;
  std::string url = "jdbc:shared:thing";
  EXPECT_TRUE(fresh.setUrl("", "", "", "", "", url));
  EXPECT_FALSE(fresh.getConnection("", ""));
  EXPECT_EQ(fresh.errorMessage, "the first driver failed");
  EXPECT_EQ(calls(), "Driver.connect(jdbc:shared:thing)\n") << "a wrong password would count twice";
}

TEST_F(Drivers, AFetchSizeMayBeRefused) {
  const Trouble trouble(*this, "throw Statement.setFetchSize");
  for (const char* url : {"jdbc:any:thing", "jdbc:mysql:thing"}) {
    SCOPED_TRACE(url);
    connect(url);
    query();
  }
}

TEST_F(Drivers, ARowThatFailsIsNotTheEndOfTheRows) {
  EXPECT_TRUE(wrapper.executeQuery("select 1", 0) && wrapper.next());
  answer("ResultSet.next", "throw");
  EXPECT_FALSE(wrapper.next());
  EXPECT_EQ(wrapper.errorMessage, "ResultSet.next refused");
}

TEST_F(Drivers, TransactionsAreOpenedAsFarAsTheStateIsKnown) {
  const std::string own = "setAutoCommit(false) commit() setAutoCommit(true) ";
  const struct {
    const char* what;
    const char* url;
    const char* state;
    std::string query;
    std::string batch;
    std::string afterTheCallers;
  } rows[] = {
      {"unknown", "jdbc:postgresql:silent", "", "", own, ""},
      {"not understood", "jdbc:mariadb:any", "", "", own, ""},
      {"none", "jdbc:postgresql:telling", "0", own, own, ""},
      {"the caller's", "jdbc:postgresql:telling", "1", "setAutoCommit(false) ",
       "execute(savepoint kivo_batch) execute(release savepoint kivo_batch) ", "setAutoCommit(true) "},
  };
  answer("select @@in_transaction", "throw");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    connect(row.url);
    answer("Connection.getTransactionState", row.state);
    query();
    EXPECT_EQ(transactionCalls(), row.query);
    EXPECT_EQ(batch(2), 2);
    EXPECT_EQ(transactionCalls(), row.batch);
    answer("Connection.getTransactionState", "0");
    wrapper.executeUpdate("commit");
    EXPECT_EQ(transactionCalls(), row.afterTheCallers);
  }
}

TEST_F(Drivers, OnlyWhatReadsGetsATransactionForItsRows) {
  const std::pair<const char*, bool> rows[] = {
      {"select 1", true},
      {" -- (insert\n /* a /* nested */ delete */ ((Select 1) union (select 2))", true},
      {"# a remark\nselect 1", true},
      {"VALUES (1)", true},
      {"table t", true},
      {"show all", true},
      {"explain select 1", true},
      {"explain analyze delete from t", false},
      {"with a as (select 'insert', \"update\", $$delete$$, $x$ $$ merge $x$ -- insert\n) select inserted from a",
       true},
      {"with a as (select e'\\' insert', E'''\\'update') select * from a", true},
      {"with a as (select like'\\' from t), b as (delete from t returning 1) select 1", false},
      {"with a as (select b # 1 from t), c as (merge into t using u) select 1", false},
      {"with a as (select $1, x$y$z from t), c as (INSERT into t values (1) returning 1) select 1", false},
      {"insert into t values (1) returning id", false},
      {"/* select */ update t set a = 1 returning a", false},
      {"selection", false},
      {"'never ends", false},
      {"with a as (select e'never ends\\", true},
      {"/* never ends", false},
      {"", false},
  };
  connect("jdbc:postgresql:telling");
  answer("Connection.getTransactionState", "0");
  for (const auto& [sql, reads] : rows) {
    SCOPED_TRACE(sql);
    EXPECT_TRUE(wrapper.executeQuery(sql, 0)) << wrapper.errorMessage;
    EXPECT_TRUE(wrapper.next());
    EXPECT_EQ(transactionCalls(), reads ? "setAutoCommit(false) " : "");
    while (wrapper.next()) continue;
    EXPECT_EQ(transactionCalls(), reads ? "commit() setAutoCommit(true) " : "");
  }
}

TEST_F(Drivers, TheTransactionOfRowsIsCommittedHoweverTheyEnd) {
  const std::function<void()> ends[] = {[this] { wrapper.executeUpdate("any"); },
                                        [this] { wrapper.closeConnection(); }};
  for (const auto& end : ends) {
    connect("jdbc:postgresql:telling");
    answer("Connection.getTransactionState", "0");
    EXPECT_TRUE(wrapper.executeQuery("select 1", 0) && wrapper.next());
    EXPECT_EQ(transactionCalls(), "setAutoCommit(false) ");
    end();
    EXPECT_EQ(transactionCalls(), "commit() setAutoCommit(true) ");
  }
}

TEST_F(Drivers, TheFailedStatementOfABatchIsNamedOnceOrNotAtAll) {
  const struct {
    const char* counts;
    const char* text;
    const char* which;
    const char* state = "23505";
  } rows[] = {
      {"-3,-3,-3", "Batch entry 1 insert was aborted.  Call getNextException to see more.", "statement 2 of 3"},
      {"-3,-3,-3", "Batch entry \u0662 insert was aborted.", "statement 3 of 3"},
      {"-3,-3,-3", "L'element du batch 2 insert a ete annule. Appeler getNextException.", "statement 3 of 3"},
      {"1,-3,1", "Error 0. Use getNextException().", "statement 2 of 3"},
      {"1,-3,-3", "[jcc][t4][2] Batch failure. Use getNextException().", "statement 2 of 3"},
      {"1,-3,-3", "Batch entry 7 of another numbering", "statement 2 of 3"},
      {"-3,-3,1", "duplicate key", "statement 1 of 3"},
      {"1,1", "duplicate key", "statement 3 of 3"},
      // What cannot be, or may be said of any.
      {"-3,-3,-3", "Batch entry 1,002 insert was aborted.", "one of 3 statements"},
      {"-3,-3,-3", "Batch entry 1\u202F002 insert was aborted.", "one of 3 statements"},
      {"-3,-3,-3", "Batch entry 99999999999 insert was aborted.", "one of 3 statements"},
      {"-3,-3,-3", "duplicate key", "one of 3 statements"},
      {"1,1,1", "duplicate key", "one of 3 statements"},
      {"1,1,1,-3", "duplicate key", "one of 3 statements"},
      {"none", "duplicate key", "one of 3 statements"},
      {"null", "duplicate key", "one of 3 statements"},
      {"-3,-3,-3", "Batch entry 0 insert was aborted: no connection", "one of 3 statements", "08006"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.counts) + ' ' + row.text);
    answer("Statement.executeBatch", std::string(row.counts) + ' ' + row.state + ' ' + row.text);
    batch(3);
    EXPECT_EQ(wrapper.errorState, 1);
    const std::string codes = std::string(" [") + row.state + "/0]";
    EXPECT_EQ(wrapper.errorMessage,
              std::string("the batch was rolled back: ") + row.which + " failed" + codes + '\n' + row.text + codes);
  }
}

TEST_F(Drivers, ABatchThatRanIsDoneWhateverCountsTheDriverGives) {
  for (const char* counts : {"1", "1,1,1,1", "-2,-2,-2", "none", "null"}) {
    answer("Statement.executeBatch", counts);
    EXPECT_EQ(batch(3), 3) << counts;
    EXPECT_EQ(wrapper.errorState, 0) << wrapper.errorMessage;
  }
}

TEST_F(Drivers, ARefusedCommitIsReportedEvenIfNothingCanBeUndone) {
  for (const char* member : {"Connection.commit", "Connection.rollback"}) answer(member, "throw");
  batch(1);
  EXPECT_EQ(wrapper.errorMessage, "Connection.commit refused");
}

TEST_F(Drivers, ABatchThatCouldNotBeginIsGone) {
  EXPECT_TRUE(wrapper.executeQuery("select 1", 0));
  answer("ResultSet.close", "throw");
  EXPECT_EQ(batch(1), -1);
  EXPECT_EQ(wrapper.errorMessage, "ResultSet.close refused");
  answer("ResultSet.close", "usual");
  EXPECT_EQ(batch(1), 1);
}

TEST_F(Drivers, ALongChainIsReportedInPart) {
  answer("Statement.executeUpdate", "throw 40000");
  EXPECT_LT(wrapper.executeUpdate("any"), 0);
  const std::string& text = wrapper.errorMessage;
  EXPECT_EQ(text.find("Statement.executeUpdate refused, 40000\n"), 0U) << text.substr(0, 2000);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 20);
  EXPECT_EQ(text.substr(text.rfind('\n')), "\nand 39981 more");
}

TEST_F(Drivers, ARingOfExceptionsIsReportedOnce) {
  answer("Statement.executeUpdate", "throw 2 ring");
  EXPECT_LT(wrapper.executeUpdate("any"), 0);
  EXPECT_EQ(wrapper.errorMessage,
            "Statement.executeUpdate refused, 2\nStatement.executeUpdate refused, 1\nStatement.executeUpdate refused");
}

}  // namespace
