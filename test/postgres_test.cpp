// JdbcUtils on a real server: what no double shows.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "stderr_capture.h"
#include "test_server.h"
#include "vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

/// Connects by the parts of the URL. @return whether that worked.
bool connect(JdbcUtils& utils, const TestServer& server) {
  std::string type = "postgresql";
  std::string host = server.host;
  std::string port = server.port;
  std::string instance = server.database;
  std::string user = server.user;
  std::string password = server.password;
  std::string none;
  std::string url;
  return utils.javaInit() && utils.setUrl(type, host, port, instance, none, url, none, none) &&
         utils.getConnection(user, password, none) && utils.getStatement();
}

TEST(Postgres, ABatchIsAllOrNothing) {
  const TestServer server("postgres");
  server.sql("create table b (id int primary key)");
  JdbcUtils utils;
  ASSERT_TRUE(connect(utils, server));
  const auto batch = [&utils](std::vector<std::string> statements) {
    std::vector<int> counts(3, 9);
    for (std::string& sql : statements) EXPECT_EQ(utils.addToBatch(sql), 0);
    counts.push_back(utils.executeBatch(counts.data()));
    EXPECT_TRUE(utils.autoCommit);
    return counts;
  };
  EXPECT_EQ(batch({"insert into b values (1), (2)", "delete from b where id = 1", "delete from b where id = 7"}),
            (std::vector<int>{2, 1, 0, 3}));
  {
    const StderrCapture capture;
    EXPECT_EQ(batch({"insert into b values (3)", "insert into b values (2)", "insert into b values (4)"}),
              (std::vector<int>{9, 9, 9, -1}));
    EXPECT_NE(capture.text().find("duplicate key"), std::string::npos);
  }
  EXPECT_EQ(server.sql("select string_agg(id::text, ' ') from b"), "2");

  // The connection is not left inside a failed transaction.
  std::string sql = "insert into b values (5)";
  EXPECT_EQ(utils.executeUpdate(sql), 1);
  EXPECT_EQ(server.sql("select count(*) from b"), "2");
  utils.closeConnection();
}

}  // namespace
}  // namespace kivo::test
