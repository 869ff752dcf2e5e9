#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kivo::test {

/// @return the path of libjvm.so: of JAVA_HOME, of the "java" on the PATH, or of the system's default Java.
/// Throws std::runtime_error when there is none.
std::string jvmLibrary();

/// Creates the process's Java VM, with the class path KIVO_TEST_CLASSPATH and a heap of KIVO_TEST_HEAP_MB (or 256)
/// megabytes. Nothing when it exists. Throws std::runtime_error with the reason when it cannot be created.
void startVm();

/// Starts the VM before the first test of a binary that registers it, or ends the binary, since a test skipped for want
/// of a VM could pass for one that passed:
///   [[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new kivo::test::VmEnvironment);
class VmEnvironment : public testing::Environment {
 public:
  void SetUp() override;
};

}  // namespace kivo::test
