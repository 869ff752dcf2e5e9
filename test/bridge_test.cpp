#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "JavaConnectionUtils.h"
#include "bridge_operations.h"
#include "doubles.h"

namespace kivo::test {
namespace {

using Names = std::vector<std::string>;

class Bridge : public DoublesTest {
 protected:
  Bridge() {
    EXPECT_TRUE(bridge.javaInit());
    calls();
  }

  std::string className = "doubles/Bridge";
  JavaConnectionUtils bridge{className};
};

TEST_F(Bridge, NothingWorksAndNothingIsTouchedBeforeAnInstanceExists) {
  JavaConnectionUtils unborn(className);
  JavaVM* const vm = std::exchange(_globaljvm, nullptr);
  EXPECT_FALSE(unborn.javaInit());
  _globaljvm = vm;
  EXPECT_EQ(unborn.env, nullptr);
  Names none;
  EXPECT_EQ(unborn.buildStringArray(none), nullptr);

  std::string missing = "doubles/Missing";
  JavaConnectionUtils attached(missing);
  EXPECT_EQ(printed([&] { EXPECT_FALSE(attached.javaInit()); }), "java.lang.NoClassDefFoundError: doubles/Missing\n");
  for (const auto& operation : kBridgeOperations) {
    for (JavaConnectionUtils* object : {&unborn, &attached}) {
      BridgeGiven given;
      EXPECT_FALSE(operation.run(*object, given)) << operation.method;
      EXPECT_TRUE(given.listsUntouched() && given.value == &given.mark) << operation.method;
    }
  }
  EXPECT_EQ(calls(), "");

  attached.className = className;
  EXPECT_TRUE(attached.javaInit()) << "a failed start may be repeated";
  EXPECT_TRUE(attached.javaInit()) << "a second start keeps the instance";
  EXPECT_EQ(calls(), "Bridge.<init>()\n");
}

TEST_F(Bridge, AClassThatCannotBeCreatedIsDescribed) {
  const struct {
    std::string className, trouble, complaint;
  } rows[] = {
      {"java/lang/Number", "", "java.lang.InstantiationException: java.lang.Number\n"},
      {"doubles/Bridge", "hide <init>", "java.lang.NoSuchMethodError: <init>\n"},
      {"doubles/Bridge", "throw Bridge.<init>", "java.sql.SQLException: Bridge.<init> refused\n"},
  };
  for (auto row : rows) {
    const Trouble trouble(*this, row.trouble);
    JavaConnectionUtils refused(row.className);
    EXPECT_EQ(printed([&] { EXPECT_FALSE(refused.javaInit()); }), row.complaint);
    EXPECT_EQ(refused.connectionObject, nullptr);
    EXPECT_FALSE(env->ExceptionCheck());
  }
}

TEST_F(Bridge, AFailureIsPrintedOnceAndLeavesNothingPending) {
  for (const auto& operation : kBridgeOperations) {
    for (const std::string kind : {"hide ", "throw Bridge."}) {
      const Trouble trouble(*this, kind + operation.method);
      BridgeGiven given;
      EXPECT_EQ(printed([&] { EXPECT_FALSE(operation.run(bridge, given)) << operation.method; }), trouble.complaint);
      EXPECT_FALSE(env->ExceptionCheck()) << trouble.complaint;
      EXPECT_TRUE(given.listsUntouched()) << trouble.complaint;
      EXPECT_EQ(given.value == nullptr, operation.method == "getColumn") << trouble.complaint;
    }
    leavePending();
    BridgeGiven given;
    EXPECT_EQ(printed([&] { EXPECT_TRUE(operation.run(bridge, given)) << operation.method; }), kLeftOver);
  }
}

TEST_F(Bridge, DiscoveryThatCannotMakeOrReadItsListsFails) {
  answer("Bridge.discoverTables", "a,b");
  answer("Bridge.discoverTable", "a,b;x");
  for (const char* text : {"hide java/util/Vector", "hide size", "hide get", "hide java/lang/String"}) {
    const Trouble trouble(*this, text);
    for (const auto& operation : kBridgeOperations) {
      if (operation.method.rfind("discover", 0) != 0) continue;
      BridgeGiven given;
      EXPECT_EQ(printed([&] { EXPECT_FALSE(operation.run(bridge, given)) << operation.method; }), trouble.complaint);
      EXPECT_TRUE(given.listsUntouched()) << text;
    }
  }
}

TEST_F(Bridge, CallsPassThroughAndAFalseAnswerIsNoComplaint) {
  Names names = {"host", "smile"};
  Names values = {"h\xC3\xA9\xE2\x82\xAC", "\xF0\x9F\x98\x80!", "third"};
  Names none;
  answer("Bridge.canDiscover", "false");
  answer("Bridge.next", "1");
  EXPECT_EQ(printed([&] {
              EXPECT_TRUE(bridge.setParams(names, values));
              EXPECT_TRUE(bridge.setParams(none, none));
              EXPECT_TRUE(bridge.makeConnection() && bridge.query());
              EXPECT_FALSE(bridge.canDiscover());
              EXPECT_TRUE(bridge.next());
              EXPECT_FALSE(bridge.next());
            }),
            "");
  EXPECT_EQ(calls(),
            "Bridge.setParams([host, smile], [h\xC3\xA9\xE2\x82\xAC, \xED\xA0\xBD\xED\xB8\x80!, third])\n"
            "Bridge.setParams([], [])\nBridge.connect()\nBridge.query()\nBridge.canDiscover()\n"
            "Bridge.next()\nBridge.next()\n");
}

TEST_F(Bridge, AColumnIsABufferOfTheJavaText) {
  const std::pair<std::string, int> rows[] = {{"", 0}, {"plain", -1}, {"nul \xC0\x80 \xED\xA0\xBD\xED\xB8\x80", 7}};
  for (const auto& [text, index] : rows) {
    answer("Bridge.getColumn", text);
    BridgeGiven given;
    EXPECT_TRUE(bridge.getColumn(index, given.value)) << text;
    EXPECT_STREQ(given.value, text.c_str());
    EXPECT_EQ(calls(), "Bridge.getColumn(" + std::to_string(index) + ")\n");
  }
  answer("Bridge.getColumn", "null");
  BridgeGiven given;
  EXPECT_TRUE(bridge.getColumn(1, given.value));
  EXPECT_EQ(given.value, nullptr);
}

TEST_F(Bridge, DiscoveryAppendsInOrderUpToTheFirstElementThatIsNoText) {
  const struct {
    const char* answer;
    bool result;
    Names first, second;
  } rows[] = {
      {"a,b,a;x", true, {"before", "a", "b", "a"}, {"before", "x"}},    {";", true, {"before"}, {"before"}},
      {"a;x,y,z", true, {"before", "a"}, {"before", "x", "y", "z"}},    {"no,a;x", false, {"before"}, {"before"}},
      {"a,b,c,null,e;x", false, {"before", "a", "b", "c"}, {"before"}}, {"a,#,c;x", false, {"before", "a"}, {"before"}},
      {"a,b;x,null", false, {"before", "a", "b"}, {"before", "x"}},
  };
  for (const auto& row : rows) {
    answer("Bridge.discoverTable", row.answer);
    BridgeGiven given;
    std::string table = "T\xC3\xA4\xF0\x9F\x98\x80";
    EXPECT_EQ(printed([&] { EXPECT_EQ(bridge.discoverTable(table, given.first, given.second), row.result); }), "");
    EXPECT_EQ(given.first, row.first) << row.answer;
    EXPECT_EQ(given.second, row.second) << row.answer;
    EXPECT_EQ(calls(), "Bridge.discoverTable(T\xC3\xA4\xED\xA0\xBD\xED\xB8\x80, [], [])\n");
  }
}

}  // namespace
}  // namespace kivo::test
