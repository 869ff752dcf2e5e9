#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "adbc_client.h"

// How a driver manager gets the driver, which it loads by itself.

inline AdbcStatusCode initAdbcDriver(const char* name, int version, void* driver, AdbcError* error) {
  static void* const library = dlopen(KIVO_ADBC_DRIVER, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<decltype(&AdbcDriverInit)>(dlsym(library, name))(version, driver, error);
}

AdbcStatusCode AdbcDriverInit(int version, void* driver, AdbcError* error) {
  return initAdbcDriver("AdbcDriverInit", version, driver, error);
}

namespace kivo::test {

inline Options h2(const std::string& name) {
  return {{"uri", "jdbc:h2:mem:" + name + ";DB_CLOSE_DELAY=-1"}, {"adbc.jdbc.driver_path", KIVO_H2}};
}

/// A database of its own for each test.
class AdbcOnH2 : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(client.opened) << client.opened; }

  void run(const char* sql) {
    AdbcQuery query(client, sql);
    const Outcome outcome = query.execute();
    EXPECT_TRUE(outcome) << sql << ": " << outcome;
  }

  AdbcClient client{h2(testing::UnitTest::GetInstance()->current_test_info()->name())};
};

}  // namespace kivo::test
