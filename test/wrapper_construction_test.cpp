#include <gtest/gtest.h>

#include <string>

#include "jdbcWrapper.h"
#include "stderr_capture.h"
#include "vm_fixture.h"

namespace {

/// Operations of every kind, as a host without a look at errorState would call them.
void expectRefusals(jdbcWrapper& wrapper, const std::string& message) {
  std::string url;
  char* value = nullptr;
  EXPECT_FALSE(wrapper.setUrl("h2", "", "", "", "", url));
  EXPECT_FALSE(wrapper.getConnection("", ""));
  EXPECT_FALSE(wrapper.getColumn(1, value));
  EXPECT_LT(wrapper.executeUpdate("update"), 0);
  EXPECT_FALSE(wrapper.closeConnection());
  EXPECT_EQ(wrapper.errorState, 2);
  EXPECT_EQ(wrapper.errorMessage, message);
}

// Needs a process of its own: one without a Java VM at first, and then with a class path that lacks the class.
TEST(WrapperConstruction, WithoutVmOrClassTheObjectRefusesEverythingForThatReason) {
  const std::string noVm = "there is no Java VM to attach to: call javaInit first";
  const std::string noClass = "could not find the Java class com/ulvanejdbc/jdbcUtilities: ";
  const kivo::test::StderrCapture captured;
  {
    jdbcWrapper early;
    EXPECT_FALSE(early.javaInit());
    expectRefusals(early, noVm);

    kivo::test::startVm();
    jdbcWrapper late;
    expectRefusals(late, noClass + "java.lang.NoClassDefFoundError: com/ulvanejdbc/jdbcUtilities");
    EXPECT_TRUE(early.javaInit());
    expectRefusals(early, noVm);
  }
  EXPECT_EQ(captured.text(), "");
}

}  // namespace
