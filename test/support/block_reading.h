#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "JdbcUtils.h"
#include "RowBlocks.h"
#include "databases.h"
#include "vm_fixture.h"

namespace kivo::test {

using Text = std::optional<std::string>;
using Grid = std::vector<Text>;

/// A JdbcUtils connected through DriverManager: it knows no DataSource of most of these databases.
struct ConnectedUtils : JdbcUtils {
  explicit ConnectedUtils(const Database& database) {
    EXPECT_TRUE(javaInit());
    EXPECT_EQ(env->PushLocalFrame(16), JNI_OK);
    const auto text = [this](const std::string& value) {
      return value.empty() ? nullptr : env->NewStringUTF(value.c_str());
    };
    const jclass drivers = env->FindClass("java/sql/DriverManager");
    const jmethodID connect = env->GetStaticMethodID(
        drivers, "getConnection", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)Ljava/sql/Connection;");
    const jobject made =
        env->CallStaticObjectMethod(drivers, connect, text(database.url), text(database.user), text(database.password));
    EXPECT_FALSE(env->ExceptionCheck()) << database.url;
    connection = env->NewGlobalRef(made);
    env->PopLocalFrame(nullptr);
  }
  ~ConnectedUtils() { closeConnection(); }

  bool query(std::string sql) { return executeQuery(sql, 0); }
};

inline Grid read(RowBlocks& blocks) {
  Grid grid;
  while (blocks.next()) {
    EXPECT_GT(blocks.rows(), 0);
    // It ends with the row that takes it beyond a megabyte, which the places of the values count for.
    const int last = blocks.rows() - 1;
    const std::ptrdiff_t places = std::ptrdiff_t{4} * last * blocks.columns();
    EXPECT_LT(blocks.text(last, 1).data() - blocks.text(0, 1).data() + places, 1 << 20);
    for (int row = 0; row < blocks.rows(); ++row) {
      for (int column = 1; column <= blocks.columns(); ++column) {
        grid.push_back(blocks.isNull(row, column) ? Text() : Text(blocks.text(row, column)));
      }
    }
  }
  return grid;
}

inline Grid read(RowBlocks&& blocks) { return read(blocks); }

}  // namespace kivo::test
