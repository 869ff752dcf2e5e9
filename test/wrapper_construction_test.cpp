#include <gtest/gtest.h>

#include <string>

#include "jdbcWrapper.h"
#include "stderr_capture.h"
#include "vm_fixture.h"
#include "wrapper_operations.h"

namespace kivo::test {
namespace {

// Needs a process of its own: one without a Java VM at first, and then with a class path that lacks the class.
TEST(WrapperConstruction, WithoutVmOrClassTheObjectRefusesEverythingForThatReason) {
  const std::string noVm = "there is no Java VM to attach to: call javaInit first";
  const std::string noClass = "could not find the Java class com/ulvanejdbc/jdbcUtilities: ";
  const StderrCapture captured;
  {
    jdbcWrapper early;
    EXPECT_FALSE(early.javaInit());
    expectRefusals(early, noVm);

    startVm();
    jdbcWrapper late;
    expectRefusals(late, noClass + "java.lang.NoClassDefFoundError: com/ulvanejdbc/jdbcUtilities");
    EXPECT_TRUE(early.javaInit());
    expectRefusals(early, noVm);
  }
  EXPECT_EQ(captured.text(), "");
}

}  // namespace
}  // namespace kivo::test
