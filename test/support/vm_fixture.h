#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kivo::test {

/// The path of libjvm.so: of JAVA_HOME, or of the first Java that the system has.
std::string jvmLibrary();

/// Starts the VM before the first test of a binary that registers it, with the class path KIVO_TEST_CLASSPATH and a
/// heap of KIVO_TEST_HEAP_MB (or 256) megabytes. Ends the binary when there is none: a skipped test could pass for one
/// that passed.
///   [[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new kivo::test::VmEnvironment);
class VmEnvironment : public testing::Environment {
 public:
  void SetUp() override;
};

}  // namespace kivo::test
