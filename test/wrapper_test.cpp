#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "JavaVmHost.h"
#include "jdbcWrapper.h"
#include "ledger_sweep.h"
#include "wrapper_operations.h"

namespace kivo::test {
namespace {

/// The name under which a missing method is reported.
std::string reported(const std::string& method) {
  if (method == "addToBatch") return "addTobatch";
  return method == "getNumColumns" ? "getNumColumn" : method;
}

/// Works under the ledger, which must have nothing to complain of when the wrapper is gone, and never prints.
class Wrapper : public DoublesTest {
 protected:
  Wrapper() { calls(); }
  ~Wrapper() override {
    wrapper.reset();
    EXPECT_EQ(ledger.complaint(), "");
    EXPECT_EQ(captured.text(), "");
    EXPECT_LE(ledger.maxLocals(), 7) << "five texts and an exception of setUrl";
  }

  /// Runs the body while the Java methods answer as "next=false getErrorCode=1" says.
  template <class Body>
  void scripted(const std::string& answers, Body body) {
    const auto tell = [&](bool usual) {
      std::istringstream words(answers);
      for (std::string word; words >> word;) {
        const size_t end = word.find('=');
        answer(word.substr(0, end), usual ? "usual" : word.substr(end + 1));
      }
    };
    tell(false);
    body();
    tell(true);
  }

  const StderrCapture captured;
  JniLedger ledger;
  std::optional<jdbcWrapper> wrapper{std::in_place};
};

TEST_F(Wrapper, AnOperationIsOneJavaCallWithoutLookUpsWhateverAnotherObjectLeftPending) {
  EXPECT_EQ(wrapper->utilitiesClass, nullptr);
  const long lookups = ledger.callCount("GetMethodID");
  for (const Operation& operation : kOperations) {
    for (const char* leftOver : {"", kLeftOver}) {
      if (*leftOver != '\0') leavePending();
      EXPECT_EQ(outcome(*wrapper, operation), std::string("true 0 ; ") + operation.done) << operation.name;
      EXPECT_EQ(takePending(), leftOver);
      EXPECT_EQ(calls(), operation.calls);
    }
  }
  EXPECT_EQ(ledger.callCount("GetMethodID"), lookups);

  leavePending();
  wrapper.emplace();
  EXPECT_EQ(takePending(), kLeftOver);
  EXPECT_EQ(outcome(*wrapper, named("next")), "true 0 ; ");
}

TEST_F(Wrapper, AnExceptionThatEscapesIsTheErrorAndTheNextCallWorks) {
  for (const Operation& operation : kOperations) {
    const std::string method = methodOf(operation);
    const struct {
      std::string trouble, message;
    } rows[] = {{"=throw", "java.sql.SQLException: " + method + " refused"},
                {"=mute", "a Java exception that could not say what it is"}};
    for (const auto& row : rows) {
      scripted(method + row.trouble, [&] {
        EXPECT_EQ(outcome(*wrapper, operation), "false 2 " + row.message + "; " + operation.failed);
        EXPECT_EQ(takePending(), "");
      });
      EXPECT_EQ(calls(), std::string(operation.calls, std::strchr(operation.calls, '\n') + 1)) << row.message;
      EXPECT_EQ(outcome(*wrapper, operation), std::string("true 0 ; ") + operation.done);
      calls();
    }
  }
}

const struct {
  std::string operation, answers, expected;
  Fault fault = Fault::kNull;
  int nth = 0;
} kOutcomes[] = {
    {"setUrl", "getUrl=null getErrorCode=1", "true 1 message; text="},
    {"setUrl", "setUrl=false getErrorCode=7", "false 2 message; "},
    {"setUrl", "setUrl=false", "false 1 earlier; "},
    {"getUrl", "getUrl=null", "false 0 ; text="},
    {"getVendor", "getVendor=null getErrorCode=-1", "false 2 message; text="},
    {"next", "next=false", "false 0 ; "},
    {"next", "next=false getErrorCode=1 getErrorMessage=f\xC3\xBC", "false 1 f\xC3\xBC; "},
    {"next", "next=false getErrorCode=1 getErrorMessage=", "false 1 ; "},
    {"next", "next=false getErrorCode=-1 getErrorMessage=null", "false 2 error code -1 without a message; "},
    {"next", "next=false getErrorCode=throw", "false 2 java.sql.SQLException: getErrorCode refused; "},
    {"next", "next=false getErrorCode=1 getErrorMessage=throw",
     "false 2 java.sql.SQLException: getErrorMessage refused; "},
    {"getColumn", "getColumn=null", "true 0 ; value=null"},
    {"getColumn", "getColumn=null getErrorCode=1", "false 1 message; value=null"},
    {"getColumn", "getColumn= getErrorCode=1", "true 0 ; value="},
    {"getColumn", "getColumn=\xC0\x80\xED\xA0\xBD\xED\xB8\x80", "true 0 ; value=\xC0\x80\xED\xA0\xBD\xED\xB8\x80"},
    {"getNumColumns", "getNumColumns=0 getErrorCode=1", "true 0 ; number=0"},
    {"getNumColumns", "getNumColumns=-3 getErrorCode=1", "false 1 message; number=-3"},
    {"executeUpdate", "executeUpdate=0 getErrorCode=1", "true 0 ; number=0"},
    {"executeUpdate", "executeUpdate=-5 getErrorCode=7", "false 2 message; number=-5"},
    {"executeUpdate", "executeUpdate=-5", "false 0 ; number=-5"},
    {"getColumnType", "getErrorCode=1", "false 1 message; "},
    {"getColumnType", "getColumnType=-5", "true 0 ; number=-5"},
    {"getColumnInfo", "getColumnName=null getErrorCode=1", "false 1 message; text="},
    {"getColumnInfo", "getErrorCode=1", "false 1 message; text=name"},
    {"executeBatch", "getErrorCode=-1", "false 2 message; number=2"},
    {"executeBatch", "executeBatch=-3", "true 0 ; number=-3"},
    {"getTables", "getTables=b,,a\xC3\xA4,b,,,,, getErrorCode=1", "true 0 ; tables=b,,a\xC3\xA4,b,,,,,,"},
    {"getTables", "getTables=", "true 0 ; tables="},
    {"getTables", "getTables=null", "false 0 ; "},
    {"getTables", "getTables=null getErrorCode=1", "false 1 message; "},
    {"getTables", "getTables=a,null,b", "false 2 the table name at index 1 is null; tables="},
    {"setUrl", "", "false 2 out of memory; ", Fault::kNull, 5},
    {"executeUpdate", "", "false 2 out of memory; number=-1", Fault::kOutOfMemory, 1},
    {"getUrl", "", "false 2 out of memory; text=", Fault::kOutOfMemory, 2},
    {"getColumn", "", "false 2 out of memory; value=null", Fault::kNull, 2},
    {"getColumn", "", "false 2 out of memory; value=null", Fault::kAllocation, 1},
    {"getTables", "", "false 2 out of memory; tables=", Fault::kNull, 5},
    {"next", "next=false getErrorCode=1", "false 2 out of memory; ", Fault::kNull, 2},
};

TEST_F(Wrapper, ResultsAndErrorsAreTakenOverFromJava) {
  for (const auto& row : kOutcomes) {
    JniLedger::plan(row.fault, row.nth);
    scripted(row.answers, [&] {
      wrapper->errorState = 1;
      wrapper->errorMessage = "earlier";
      EXPECT_EQ(outcome(*wrapper, named(row.operation)), row.expected) << row.operation << ": " << row.answers;
      EXPECT_EQ(takePending(), "");
    });
  }
}

TEST_F(Wrapper, SetUrlGivesItsTextsBackInOrder) {
  static std::vector<jobject> made, dropped;
  Patched patched(env);
  patched.table.NewStringUTF = [](JNIEnv* on, const char* text) {
    return static_cast<jstring>(made.emplace_back(Patched::real->NewStringUTF(on, text)));
  };
  patched.table.DeleteLocalRef = [](JNIEnv* on, jobject reference) {
    dropped.push_back(reference);
    Patched::real->DeleteLocalRef(on, reference);
  };
  for (const char* answers : {"setUrl=true", "setUrl=false", "setUrl=throw"}) {
    scripted(answers, [&] {
      made.clear();
      dropped.clear();
      outcome(*wrapper, named("setUrl"));
      dropped.resize(5);
      EXPECT_EQ(dropped, made) << answers;
    });
  }
}

TEST_F(Wrapper, AnObjectThatCouldNotBeCreatedRefusesEverythingForThatReason) {
  JavaVM* const vm = std::exchange(_globaljvm, nullptr);
  wrapper.emplace();
  EXPECT_FALSE(wrapper->javaInit());
  _globaljvm = vm;
  EXPECT_TRUE(wrapper->javaInit());
  expectRefusals(*wrapper, "there is no Java VM to attach to: call javaInit first");

  const std::string noClass = "could not find the Java class com/ulvanejdbc/jdbcUtilities: ";
  const std::string notCreated = "could not create the Java utilities object: ";
  const std::pair<std::string, std::string> rows[] = {
      {"hide com/ulvanejdbc/jdbcUtilities", noClass + "java.lang.NoClassDefFoundError: com/ulvanejdbc/jdbcUtilities"},
      {"hide <init>", notCreated + "java.lang.NoSuchMethodError: <init>"},
      {"throw <init>", notCreated + "java.sql.SQLException: <init> refused"},
      {"mute <init>", notCreated + "a Java exception that could not say what it is"},
  };
  for (const auto& [cause, message] : rows) {
    std::optional<Trouble> trouble(std::in_place, *this, cause);
    wrapper.emplace();
    EXPECT_EQ(takePending(), "");
    trouble.reset();
    expectRefusals(*wrapper, message);
  }
}

TEST_F(Wrapper, AMissingMethodIsReportedByTheFirstInOrderAndByTheOperationsThatNeedIt) {
  const std::vector<std::string> inOrder = {
      "setUrl",        "getConnection",   "getTables",    "getStatement", "executeQuery",  "executeUpdate",
      "next",          "addToBatch",      "executeBatch", "getColumn",    "getNumColumns", "getColumnName",
      "getColumnType", "closeConnection", "getVendor",    "getUrl",       "getErrorCode",  "getErrorMessage"};
  const auto complaint = [](const std::string& name) { return "method pointer to " + name + " is NULL"; };

  for (auto first = inOrder.begin(); first != inOrder.end(); ++first) {
    const Hidden hidden(env, {first, inOrder.end()});
    wrapper.emplace();
    EXPECT_EQ(wrapper->errorMessage, complaint(reported(*first)));
    EXPECT_EQ(wrapper->errorState, 2);
  }
  for (const Operation& operation : kOperations) {
    const Hidden hidden(env, {methodOf(operation)});
    wrapper.emplace();
    calls();
    const std::string expected = "false 2 " + complaint(reported(methodOf(operation))) + "; " + operation.failed;
    EXPECT_EQ(outcome(*wrapper, operation), expected);
    EXPECT_EQ(calls(), "");
  }
  for (const char* ofErrors : {"getErrorCode", "getErrorMessage"}) {
    const Hidden hidden(env, {ofErrors});
    wrapper.emplace();
    scripted("next=false getErrorCode=1", [&] { EXPECT_FALSE(wrapper->next()); });
    EXPECT_EQ(wrapper->errorMessage, complaint(ofErrors));
  }
}

bool run(const Operation& operation, jdbcWrapper& wrapper) {
  Given given;
  return operation.run(wrapper, given);
}

/// A row for an operation of the wrapper; one that fails once must end the next time as it did before.
Member wrapped(const Operation& operation) {
  return {operation.name, [&operation](JniLedger& ledger, const Armed& armed) {
            jdbcWrapper wrapper;
            const bool usual = run(operation, wrapper);
            if (armed([&] { run(operation, wrapper); })) {
              EXPECT_EQ(wrapper.errorState == 0, wrapper.errorMessage.empty());
            }
            EXPECT_FALSE(ledger.exceptionPending());
            EXPECT_EQ(run(operation, wrapper), usual);
          }};
}

/// A row for a construction while the class lacks a method, if named. An object that reports nothing must do
/// everything, and one that does must not crash.
Member constructed(JNIEnv* env, const char* without) {
  return {"jdbcWrapper", [=](JniLedger& ledger, const Armed& armed) {
            const Hidden hidden(env, {without});
            std::optional<jdbcWrapper> wrapper;
            if (!armed([&] { wrapper.emplace(); })) return;
            EXPECT_FALSE(ledger.exceptionPending());
            const bool whole = wrapper->errorState == 0;
            for (const Operation& operation : kOperations) EXPECT_TRUE(run(operation, *wrapper) || !whole);
          }};
}

std::vector<Member> wrapperMembers() {
  std::vector<Member> members;
  for (const Operation& operation : kOperations) members.push_back(wrapped(operation));
  return members;
}

TEST_F(LedgerSweep, WrapperReleasesEverythingWhicheverCallFails) {
  std::vector<Member> members = wrapperMembers();
  for (const char* without : {"", "getTables"}) members.push_back(constructed(env, without));
  sweep(members, "jdbcWrapper");
  for (const char* refused : {"next", "getStatement"}) answer(refused, "false");
  for (const char* nothing : {"getColumn", "getVendor", "getTables"}) answer(nothing, "null");
  for (const char* throwing : {"setUrl", "executeUpdate", "getColumnName"}) answer(throwing, "throw");
  answer("getErrorCode", "1");
  sweep(wrapperMembers(), "jdbcWrapper, refused");
}

}  // namespace
}  // namespace kivo::test
