#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "wrapper_on_databases.h"

namespace kivo::test {
namespace {

TEST_P(Databases, ABatchThatFailsInTheMiddleLeavesNothing) {
  recreate("batched", "id int primary key");
  update("insert into batched values (1)");
  EXPECT_LT(
      batch({"insert into batched values (5)", "insert into batched values (1)", "insert into batched values (6)"}), 0);
  EXPECT_EQ(wrapper.errorState, 1);
  EXPECT_EQ(wrapper.errorMessage.find("the batch was rolled back: statement 2 of 3 failed ["), 0U)
      << wrapper.errorMessage;
  EXPECT_EQ(only("select count(*) from batched"), "1");

  // The connection is back in auto-commit, and the failed batch is gone.
  EXPECT_EQ(update("insert into batched values (7)"), 1);
  EXPECT_EQ(othersOnly("select count(*) from batched"), "2");
}

INSTANTIATE_TEST_SUITE_P(Each, Databases, testing::Range(0, 6), nameOf);

}  // namespace
}  // namespace kivo::test
