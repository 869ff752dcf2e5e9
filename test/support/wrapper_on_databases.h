#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "databases.h"
#include "jdbcWrapper.h"
#include "vm_fixture.h"

namespace kivo::test {

[[maybe_unused]] inline auto* const kVmEnvironment = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Text = std::optional<std::string>;

/// A wrapper connected to each database in turn.
class Databases : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    database = databases()[static_cast<std::size_t>(GetParam())];
    connect(wrapper);
  }
  void TearDown() override { EXPECT_TRUE(wrapper.closeConnection()) << wrapper.errorMessage; }

  void connect(jdbcWrapper& object) const {
    std::string url = database.url;
    ASSERT_EQ(object.errorState, 0) << object.errorMessage;
    ASSERT_TRUE(object.setUrl("", "", "", "", "", url) && object.getConnection(database.user, database.password) &&
                object.getStatement())
        << object.errorMessage;
  }

  int update(const std::string& sql) {
    const int count = wrapper.executeUpdate(sql);
    EXPECT_GE(count, 0) << sql.substr(0, 200) << ": " << wrapper.errorMessage;
    return count;
  }

  void recreate(const std::string& table, const std::string& columns) {
    wrapper.executeUpdate("drop table " + table);
    update("create table " + table + " (" + columns + ")");
  }

  void query(const std::string& sql) {
    ASSERT_TRUE(wrapper.executeQuery(sql, 0)) << sql << ": " << wrapper.errorMessage;
  }

  Text column(int number) { return cell(wrapper, number); }

  /// The first column of a query's only row.
  Text only(const std::string& sql) {
    if (!wrapper.executeQuery(sql, 0) || !wrapper.next()) return "failed: " + wrapper.errorMessage;
    Text text = column(1);
    EXPECT_FALSE(wrapper.next());
    EXPECT_EQ(wrapper.errorState, 0) << wrapper.errorMessage;
    return text;
  }

  /// What another connection reads there.
  Text othersOnly(const std::string& sql) {
    ConnectedWrapper other(database);
    return other.query(sql) && other.next() ? cell(other, 1) : "failed: " + other.errorMessage;
  }

  /// @return how many statements ran, a negative number when the batch failed.
  int batch(const std::vector<std::string>& statements) {
    for (const std::string& sql : statements) EXPECT_TRUE(wrapper.addToBatch(sql)) << wrapper.errorMessage;
    int executed = 0;
    return wrapper.executeBatch(executed) ? executed : -1;
  }

  Database database;
  jdbcWrapper wrapper;
};

inline std::string nameOf(const testing::TestParamInfo<int>& tested) {
  const char* const names[] = {"H2", "Hsqldb", "Derby", "Sqlite", "Mariadb", "Postgresql"};
  return names[tested.param];
}

}  // namespace kivo::test
