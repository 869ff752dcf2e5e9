#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "patience.h"
#include "vm_fixture.h"

namespace {
bool loaderIsSilent = false;
// Looked up before any failure: a look-up forgets the loader's text.
const auto realDlerror = reinterpret_cast<char* (*)()>(dlsym(RTLD_NEXT, "dlerror"));
}  // namespace

/// The loader's own, made able to have no text.
extern "C" char* dlerror() noexcept { return loaderIsSilent || !realDlerror ? nullptr : realDlerror(); }

namespace {

const std::string kFakeJvm = KIVO_FAKE_JVM;
const std::string kNowhere = "/nowhere/libjvm.so";
const std::string kNotOpened = "could not open Java VM shared library '/nowhere/libjvm.so'";

/// Calls javaInit() and gives the error text, which a success leaves as it was.
std::string init(std::string library, int maxHeapMb, std::string classPath = "/a b:c/*") {
  std::string error = "text before";
  const bool created = javaInit(library, classPath, maxHeapMb, error);
  EXPECT_EQ(_jvmPath, library);
  return (created ? "true, " : "false, ") + error;
}

/// Expects what work finds in a process of its own, where a VM may be made, or may end the process.
void expectInChild(const std::string& found, const std::function<std::string()>& work) {
  const auto report = [&work] {
    alarm(240 * kivo::test::patience());
    std::fprintf(stderr, "<%s>", work().c_str());
    std::_Exit(EXIT_SUCCESS);
  };
  EXPECT_EXIT(report(), testing::ExitedWithCode(EXIT_SUCCESS), '<' + found + '>');
}

TEST(VmHost, AFailureReplacesTheErrorTextAndNamesItsCause) {
  const std::string reason = ": " + kNowhere + ": cannot open shared object file: No such file or directory";
  const struct {
    std::string library;
    int maxHeapMb;
    bool silent;
    std::string expected;
  } rows[] = {
      {kNowhere, 8, false, "false, " + kNotOpened + reason},
      {kNowhere, 64, true, "false, " + kNotOpened},
      {"libm.so.6", 8, false, "false, could not find function to create Java VM"},
  };
  for (const auto& row : rows) {
    loaderIsSilent = row.silent;
    EXPECT_EQ(init(row.library, row.maxHeapMb), row.expected);
    loaderIsSilent = false;
    EXPECT_EQ(_globaljvm, nullptr) << row.library;
  }
}

TEST(VmHost, CreatesTheVmWithFourOptionsAndLetsAVmOtherThanHotSpotJudgeTheHeap) {
  void* fake = dlopen(kFakeJvm.c_str(), RTLD_LAZY);
  ASSERT_NE(fake, nullptr) << dlerror();
  ASSERT_EQ(dlsym(RTLD_DEFAULT, "fakeJvmSeen"), nullptr) << "the library is loaded for all already";
  auto* answer = static_cast<jint*>(dlsym(fake, "fakeJvmAnswer"));
  const struct {
    int maxHeapMb;
    jint answer;
    const char* option;
    const char* expected;
  } rows[] = {
      {1, 0, "-Xmx1m", "true, text before"},
      {15, JNI_ERR, "-Xmx15m", "false, could not create Java VM"},
      {16, 5, "-Xmx16m", "true, text before"},
      {0, 0, "-Xmx0m", "true, text before"},
      {INT_MIN, 0, "-Xmx-2147483648m", "true, text before"},
      {INT_MAX, 0, "-Xmx2147483647m", "true, text before"},
  };
  for (const auto& row : rows) {
    *answer = row.answer;
    EXPECT_EQ(init(kFakeJvm, row.maxHeapMb), row.expected) << row.maxHeapMb;
    const bool created = std::string(row.expected).front() == 't';
    EXPECT_EQ(std::exchange(_globaljvm, nullptr), created ? reinterpret_cast<JavaVM*>(answer) : nullptr);

    // Found without a handle: javaInit() has made the library's functions known to those loaded after it.
    const auto seen = reinterpret_cast<const char* (*)()>(dlsym(RTLD_DEFAULT, "fakeJvmSeen"));
    ASSERT_NE(seen, nullptr);
    const std::string before = "10004 strict\n-Djava.class.path=/a b:c/*\n-Xms16m\n";
    EXPECT_EQ(seen(), before + row.option + "\n-Duser.timezone=UTC");
  }
}

TEST(VmHost, TheFirstVmStaysAndObjectsAttachToIt) {
  expectInChild("true, text before\nfalse, could not create Java VM\nkept\nattached", [] {
    const std::string library = kivo::test::jvmLibrary();
    JdbcUtils utils;
    std::string found = utils.javaInit() || utils.env != nullptr ? "attached to nothing" : "";
    found += init(library, 64) + '\n';
    JavaVM* const first = _globaljvm;
    found += init(library, 64) + '\n';
    javaDestroy();
    found += first != nullptr && _globaljvm == first && _jvmPath == library ? "kept\n" : "lost\n";
    return found + (utils.javaInit() && utils.env != nullptr && utils.javaInit() ? "attached" : "detached");
  });
}

TEST(VmHost, AVmThatAnotherLibraryMadeIsRefusedAndCanBeHandedOver) {
  expectInChild("false, could not create Java VM, none\nattached", [] {
    const std::string library = kivo::test::jvmLibrary();
    void* handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    const auto create = reinterpret_cast<decltype(&JNI_CreateJavaVM)>(dlsym(handle, "JNI_CreateJavaVM"));
    JavaVMInitArgs arguments{JNI_VERSION_1_4, 0, nullptr, JNI_FALSE};
    JavaVM* other = nullptr;
    JNIEnv* env = nullptr;
    if (create(&other, reinterpret_cast<void**>(&env), &arguments) != JNI_OK) return std::string("no VM");
    std::string found = init(library, 64) + (_globaljvm == nullptr ? ", none\n" : ", a VM\n");
    _globaljvm = other;
    JdbcUtils utils;
    return found + (utils.javaInit() && utils.env == env ? "attached" : "detached");
  });
}

TEST(VmHost, AHeapThatTheVmRefusesIsAFailureAndTheSmallestOneWorks) {
  const std::pair<int, const char*> rows[] = {
      {0, "false, could not create Java VM"}, {15, "false, could not create Java VM"}, {16, "true, text before"}};
  for (const auto& [maxHeapMb, expected] : rows) {
    SCOPED_TRACE(maxHeapMb);
    expectInChild(expected, [heap = maxHeapMb] { return init(kivo::test::jvmLibrary(), heap); });
  }
}

}  // namespace
