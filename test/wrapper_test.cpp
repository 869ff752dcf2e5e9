#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "doubles.h"
#include "jdbcWrapper.h"
#include "jni_ledger.h"

namespace kivo::test {
namespace {

/// What an operation is given to fill in, with a mark in each to see whether it was touched.
struct Given {
  std::string text = "before";
  int number = 77;
  char mark = 'm';
  char* value = &mark;
  std::vector<std::string> tables = {"before"};

  ~Given() {
    if (value != &mark) std::free(value);
  }

  std::string changes() const {
    std::string changed;
    if (text != "before") changed += "text=" + text;
    if (number != 77) changed += "number=" + std::to_string(number);
    if (value != &mark) changed += "value=" + std::string(value == nullptr ? "null" : value);
    if (tables == std::vector<std::string>{"before"}) return changed;
    changed += "tables=";
    for (const std::string& table : tables) changed += table + ',';
    return changed;
  }
};

using W = jdbcWrapper;
using G = Given;

/// A member with the Java method that it is named for, the calls that reach Java, and what it changes.
const struct Operation {
  std::string name;
  std::function<bool(jdbcWrapper&, Given&)> run;
  const char *calls, *done, *failed;
} kOperations[] = {
    {"setUrl", [](W& w, G& g) { return w.setUrl("type", "host", "1521", "instance", "base", g.text); },
     "setUrl(type, host, 1521, instance, base, before) getUrl() ", "text=url", ""},
    {"getUrl", [](W& w, G& g) { return w.getUrl(g.text); }, "getUrl() ", "text=url", "text="},
    {"getVendor", [](W& w, G& g) { return w.getVendor(g.text); }, "getVendor() ", "text=vendor", "text="},
    {"getConnection", [](W& w, G&) { return w.getConnection("us\xC3\xA9r", ""); }, "getConnection(us\xC3\xA9r, ) ", "",
     ""},
    {"closeConnection", [](W& w, G&) { return w.closeConnection(); }, "closeConnection() ", "", ""},
    {"getStatement", [](W& w, G&) { return w.getStatement(); }, "getStatement() ", "", ""},
    {"executeQuery", [](W& w, G&) { return w.executeQuery("select", -5); }, "executeQuery(select, -5) ", "", ""},
    {"next", [](W& w, G&) { return w.next(); }, "next() ", "", ""},
    {"getColumn", [](W& w, G& g) { return w.getColumn(-1, g.value); }, "getColumn(-1) ", "value=value", "value=null"},
    {"getNumColumns", [](W& w, G& g) { return (g.number = w.getNumColumns()) >= 0; }, "getNumColumns() ", "number=3",
     "number=-1"},
    {"getColumnName", [](W& w, G& g) { return w.getColumnName(4, g.text); }, "getColumnName(4) ", "text=name", "text="},
    {"getColumnType", [](W& w, G& g) { return w.getColumnType(4, g.number); }, "getColumnType(4) getErrorCode() ",
     "number=12", ""},
    {"getColumnInfo", [](W& w, G& g) { return w.getColumnInfo(2, g.text, g.number); },
     "getColumnName(2) getColumnType(2) getErrorCode() ", "text=namenumber=12", "text="},
    {"executeUpdate", [](W& w, G& g) { return (g.number = w.executeUpdate("update")) >= 0; }, "executeUpdate(update) ",
     "number=7", "number=-1"},
    {"addToBatch", [](W& w, G&) { return w.addToBatch("insert"); }, "addToBatch(insert) ", "", ""},
    {"executeBatch", [](W& w, G& g) { return w.executeBatch(g.number); }, "executeBatch() getErrorCode() ", "number=2",
     "number=-1"},
    {"getTables", [](W& w, G& g) { return w.getTables(g.tables); }, "getTables() ", "tables=ORDERS,ITEMS,", ""},
};

const Operation& named(const std::string& name) {
  return *std::find_if(std::begin(kOperations), std::end(kOperations),
                       [&](const Operation& operation) { return operation.name == name; });
}

/// The Java method that an operation calls first, and the name under which a missing one is reported.
std::string methodOf(const Operation& operation) {
  return operation.name == "getColumnInfo" ? "getColumnName" : operation.name;
}
std::string reported(const std::string& method) {
  if (method == "addToBatch") return "addTobatch";
  return method == "getNumColumns" ? "getNumColumn" : method;
}

std::string ended(bool result, const jdbcWrapper& wrapper, const std::string& changes) {
  return (result ? "true " : "false ") + std::to_string(wrapper.errorState) + ' ' + wrapper.errorMessage + "; " +
         changes;
}

/// Runs an operation after one that failed. @return "<result> <errorState> <errorMessage>; <changes>".
std::string outcome(jdbcWrapper& wrapper, const Operation& operation) {
  wrapper.errorState = 1;
  wrapper.errorMessage = "earlier";
  Given given;
  const bool result = operation.run(wrapper, given);
  return ended(result, wrapper, given.changes());
}

/// Replaces functions of the thread's real environment while it lives.
struct Patched {
  explicit Patched(JNIEnv* patched) : env(patched), table(*patched->functions) {
    real = env->functions;
    env->functions = &table;
  }
  ~Patched() { env->functions = real; }
  Patched(const Patched&) = delete;
  Patched& operator=(const Patched&) = delete;

  static inline const JNINativeInterface_* real = nullptr;
  JNIEnv* env;
  JNINativeInterface_ table;
};

/// Works under the ledger, which must have nothing to complain of when the wrapper is gone.
class Wrapper : public DoublesTest {
 protected:
  Wrapper() : wrapper(std::in_place) { calls(); }
  ~Wrapper() override {
    wrapper.reset();
    EXPECT_EQ(ledger.complaint(), "");
  }

  /// @return the calls that reached the Java object, as "getColumn(1) getErrorCode() ".
  std::string reached() {
    std::string text = calls();
    std::replace(text.begin(), text.end(), '\n', ' ');
    const std::string prefix = "Utilities.";
    for (size_t at = 0; (at = text.find(prefix, at)) != std::string::npos;) text.erase(at, prefix.size());
    return text;
  }

  using Answers = std::vector<std::pair<std::string, std::string>>;
  void script(const Answers& answers) {
    for (const auto& [method, text] : answers) answer("Utilities." + method, text);
  }
  void unscript(const Answers& answers) {
    for (const auto& [method, text] : answers) answer("Utilities." + method, "usual");
  }

  /// The calls but attaching: a thread whose id counts as negative attaches ever again.
  long callsButAttaching() const { return ledger.callCount() - ledger.callCount("AttachCurrentThread"); }

  JniLedger ledger;
  std::optional<jdbcWrapper> wrapper;
};

TEST_F(Wrapper, EachOperationIsOneJavaCallWithItsArguments) {
  const long lookups = ledger.callCount("GetMethodID");
  EXPECT_EQ(wrapper->utilitiesClass, nullptr);
  for (const Operation& operation : kOperations) {
    EXPECT_EQ(outcome(*wrapper, operation), std::string("true 0 ; ") + operation.done) << operation.name;
    EXPECT_EQ(reached(), operation.calls);
  }
  EXPECT_EQ(ledger.callCount("GetMethodID"), lookups);
}

TEST_F(Wrapper, AnOperationThatCannotRunSaysWhyAndTheNextOneWorks) {
  const struct {
    std::string trouble, before, after;
    bool reaches;
  } rows[] = {
      {"hide ", "method pointer to ", " is NULL", false},
      {"throw Utilities.", "java.sql.SQLException: Utilities.", " refused", true},
      {"mute Utilities.", "a Java exception that could not say what it is", "", true},
  };
  for (const auto& row : rows) {
    for (const Operation& operation : kOperations) {
      const std::string method = methodOf(operation);
      std::optional<Trouble> trouble(std::in_place, *this, row.trouble + method);
      std::optional<jdbcWrapper> hidden(std::in_place);
      calls();
      const std::string name = row.trouble == "hide " ? reported(method) : method;
      const std::string message = row.before + (row.after.empty() ? "" : name) + row.after;
      EXPECT_EQ(
          printed([&] { EXPECT_EQ(outcome(*hidden, operation), "false 2 " + message + "; " + operation.failed); }), "");
      EXPECT_FALSE(env->ExceptionCheck()) << message;
      const std::string call = operation.calls;
      EXPECT_EQ(reached(), row.reaches ? call.substr(0, call.find(") ") + 2) : "") << message;
      trouble.reset();
      hidden.emplace();
      leavePending();
      EXPECT_EQ(printed([&] { EXPECT_EQ(outcome(*hidden, operation).substr(0, 6), "true 0"); }), "");
      EXPECT_EQ(takePending(), kLeftOver) << "of another object, so left to it";
      calls();
    }
  }
}

TEST_F(Wrapper, ResultsAndErrorsAreTakenOverFromJava) {
  const struct {
    std::string operation;
    Answers answers;
    const char* expected;
  } rows[] = {
      {"setUrl", {{"getUrl", "null"}, {"getErrorCode", "1"}}, "true 1 message; text="},
      {"setUrl", {{"setUrl", "false"}, {"getErrorCode", "7"}}, "false 2 message; "},
      {"setUrl", {{"setUrl", "false"}}, "false 1 earlier; "},
      {"getUrl", {{"getUrl", "null"}}, "false 0 ; text="},
      {"getVendor", {{"getVendor", "null"}, {"getErrorCode", "-1"}}, "false 2 message; text="},
      {"getConnection", {{"getConnection", "false"}, {"getErrorCode", "1"}}, "false 1 message; "},
      {"closeConnection", {{"closeConnection", "false"}}, "false 0 ; "},
      {"getStatement", {{"getStatement", "false"}, {"getErrorCode", "2"}}, "false 2 message; "},
      {"next", {{"next", "false"}}, "false 0 ; "},
      {"next", {{"next", "false"}, {"getErrorCode", "1"}, {"getErrorMessage", "f\xC3\xBC"}}, "false 1 f\xC3\xBC; "},
      {"next",
       {{"next", "false"}, {"getErrorCode", "7"}, {"getErrorMessage", "null"}},
       "false 2 error code 7 without a message; "},
      {"next",
       {{"next", "false"}, {"getErrorCode", "throw"}},
       "false 2 java.sql.SQLException: Utilities.getErrorCode refused; "},
      {"next",
       {{"next", "false"}, {"getErrorCode", "1"}, {"getErrorMessage", "throw"}},
       "false 2 java.sql.SQLException: Utilities.getErrorMessage refused; "},
      {"getColumn", {{"getColumn", "null"}}, "true 0 ; value=null"},
      {"getColumn", {{"getColumn", "null"}, {"getErrorCode", "1"}}, "false 1 message; value=null"},
      {"getColumn", {{"getColumn", ""}, {"getErrorCode", "1"}}, "true 0 ; value="},
      {"getColumn",
       {{"getColumn", "\xC0\x80\xED\xA0\xBD\xED\xB8\x80"}},
       "true 0 ; value=\xC0\x80\xED\xA0\xBD\xED\xB8\x80"},
      {"getNumColumns", {{"getNumColumns", "0"}, {"getErrorCode", "1"}}, "true 0 ; number=0"},
      {"getNumColumns", {{"getNumColumns", "-3"}, {"getErrorCode", "1"}}, "false 1 message; number=-3"},
      {"executeUpdate", {{"executeUpdate", "0"}, {"getErrorCode", "1"}}, "true 0 ; number=0"},
      {"executeUpdate", {{"executeUpdate", "-5"}}, "false 0 ; number=-5"},
      {"executeUpdate", {{"executeUpdate", "-5"}, {"getErrorCode", "7"}}, "false 2 message; number=-5"},
      {"getColumnName", {{"getColumnName", "null"}, {"getErrorCode", "2"}}, "false 2 message; text="},
      {"getColumnType", {{"getErrorCode", "1"}}, "false 1 message; "},
      {"getColumnType", {{"getColumnType", "-5"}}, "true 0 ; number=-5"},
      {"getColumnInfo", {{"getColumnName", "null"}, {"getErrorCode", "1"}}, "false 1 message; text="},
      {"getColumnInfo", {{"getErrorCode", "1"}}, "false 1 message; text=name"},
      {"executeBatch", {{"getErrorCode", "-1"}}, "false 2 message; number=2"},
      {"executeBatch", {{"executeBatch", "-3"}}, "true 0 ; number=-3"},
      {"getTables", {{"getTables", "b,,a\xC3\xA4,b,"}, {"getErrorCode", "1"}}, "true 0 ; tables=b,,a\xC3\xA4,b,,"},
      {"getTables", {{"getTables", ""}}, "true 0 ; tables="},
      {"getTables", {{"getTables", "null"}}, "false 0 ; "},
      {"getTables", {{"getTables", "null"}, {"getErrorCode", "1"}}, "false 1 message; "},
      {"getTables", {{"getTables", "a,null,b"}}, "false 2 the table name at index 1 is null; tables="},
  };
  for (const auto& row : rows) {
    script(row.answers);
    EXPECT_EQ(outcome(*wrapper, named(row.operation)), row.expected) << row.operation;
    unscript(row.answers);
  }
}

TEST_F(Wrapper, OutOfMemoryIsAnErrorOfTheOperation) {
  const struct {
    std::string operation;
    Fault fault;
    int nth;
    Answers answers;
    const char* changes;
  } rows[] = {
      {"setUrl", Fault::kNull, 5, {}, ""},
      {"executeUpdate", Fault::kOutOfMemory, 1, {}, "number=-1"},
      {"getUrl", Fault::kOutOfMemory, 2, {}, "text="},
      {"getColumn", Fault::kNull, 2, {}, "value=null"},
      {"getColumn", Fault::kAllocation, 1, {}, "value=null"},
      {"getTables", Fault::kNull, 5, {}, "tables="},
      {"next", Fault::kNull, 2, {{"next", "false"}, {"getErrorCode", "1"}}, ""},
  };
  for (const auto& row : rows) {
    script(row.answers);
    Given given;
    bool result = true;
    JniLedger::plan(row.fault, row.nth, true);
    Armed(row.fault)([&] { result = named(row.operation).run(*wrapper, given); });
    EXPECT_TRUE(JniLedger::faultFired());
    EXPECT_EQ(ended(result, *wrapper, given.changes()), std::string("false 2 out of memory; ") + row.changes)
        << row.operation;
    EXPECT_FALSE(ledger.exceptionPending());
    unscript(row.answers);
  }
}

TEST_F(Wrapper, SetUrlReadsThePortAndGivesItsTextsBackInOrder) {
  const std::pair<const char*, const char*> ports[] = {{"1521", "1521"}, {" 1521", "1521"}, {"1521abc", "1521"},
                                                       {"", "0"},        {"abc", "0"},      {"4294967297", "1"}};
  for (const auto& [port, number] : ports) {
    std::string url;
    EXPECT_TRUE(wrapper->setUrl("", "", port, "", "", url));
    EXPECT_EQ(reached(), std::string("setUrl(, , ") + number + ", , , ) getUrl() ") << port;
  }

  static std::vector<jobject> made, dropped;
  Patched patched(env);
  patched.table.NewStringUTF = [](JNIEnv* on, const char* text) {
    return static_cast<jstring>(made.emplace_back(Patched::real->NewStringUTF(on, text)));
  };
  patched.table.DeleteLocalRef = [](JNIEnv* on, jobject reference) {
    dropped.push_back(reference);
    Patched::real->DeleteLocalRef(on, reference);
  };
  for (const char* text : {"true", "false", "throw"}) {
    answer("Utilities.setUrl", text);
    made.clear();
    dropped.clear();
    outcome(*wrapper, kOperations[0]);
    ASSERT_EQ(made.size(), 5U);
    dropped.resize(made.size());
    EXPECT_EQ(dropped, made) << text;
  }
}

TEST_F(Wrapper, ALongListingHoldsTwoReferencesAtATime) {
  answer("Utilities.getTables", std::string(4000, ','));
  std::vector<std::string> tables;
  ledger.forgetCalls();
  const int before = ledger.liveLocals();
  EXPECT_TRUE(wrapper->getTables(tables));
  EXPECT_EQ(tables.size(), 4001U);
  EXPECT_EQ(ledger.mostLocals() - before, 2);
}

TEST_F(Wrapper, AnObjectThatCouldNotBeCreatedRefusesEverythingForThatReason) {
  const std::string noClass = "could not find the Java class com/ulvanejdbc/jdbcUtilities: ";
  const std::string notCreated = "could not create the Java utilities object: ";
  const std::pair<std::string, std::string> rows[] = {
      {"hide com/ulvanejdbc/jdbcUtilities", noClass + "java.lang.NoClassDefFoundError: com/ulvanejdbc/jdbcUtilities"},
      {"hide <init>", notCreated + "java.lang.NoSuchMethodError: <init>"},
      {"throw Utilities.<init>", notCreated + "java.sql.SQLException: Utilities.<init> refused"},
      {"mute Utilities.<init>", notCreated + "a Java exception that could not say what it is"},
  };
  for (const auto& [cause, message] : rows) {
    std::optional<Trouble> trouble(std::in_place, *this, cause);
    std::optional<jdbcWrapper> broken;
    EXPECT_EQ(printed([&] { broken.emplace(); }), "");
    EXPECT_FALSE(env->ExceptionCheck()) << message;
    trouble.reset();
    const long before = callsButAttaching();
    for (const Operation& operation : kOperations) {
      Given given;
      const bool result = operation.run(*broken, given);
      EXPECT_EQ(ended(result, *broken, given.changes()), "false 2 " + message + "; " + operation.failed);
    }
    EXPECT_EQ(callsButAttaching(), before) << message;
  }

  leavePending();
  EXPECT_EQ(printed([&] { wrapper.emplace(); }), "");
  EXPECT_EQ(ended(wrapper->next(), *wrapper, ""), "true 0 ; ");
}

TEST_F(Wrapper, TheFirstMissingMethodIsReported) {
  const std::vector<std::string> inOrder = {
      "setUrl",        "getConnection",   "getTables",    "getStatement", "executeQuery",  "executeUpdate",
      "next",          "addToBatch",      "executeBatch", "getColumn",    "getNumColumns", "getColumnName",
      "getColumnType", "closeConnection", "getVendor",    "getUrl",       "getErrorCode",  "getErrorMessage"};
  static std::set<std::string> missing;
  missing = {inOrder.begin(), inOrder.end()};
  Patched patched(env);
  patched.table.GetMethodID = [](JNIEnv* on, jclass type, const char* name, const char* signature) {
    return Patched::real->GetMethodID(on, type, missing.count(name) == 0 ? name : "none of this name", signature);
  };
  for (const std::string& first : inOrder) {
    EXPECT_EQ(printed([&] { wrapper.emplace(); }), "");
    EXPECT_EQ(ended(false, *wrapper, ""), "false 2 method pointer to " + reported(first) + " is NULL; ");
    missing.erase(first);
  }
}

/// Memory for the stacks of threads that run one after another: the C library then gives them all the same id.
class ThreadHome {
 public:
  /// @param lowHalf of the stack's address, and so of the id but for its last digits.
  explicit ThreadHome(std::uint32_t lowHalf) {
    // Never unmapped: a thread that ended attached stays known to the Java VM. Five gigabytes hold every low half.
    constexpr size_t kReserved = 5ULL << 30U;
    void* reserved = mmap(nullptr, kReserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    const auto base = reinterpret_cast<std::uintptr_t>(reserved);
    stack_ = static_cast<char*>(reserved) + static_cast<std::uint32_t>(lowHalf - static_cast<std::uint32_t>(base));
    if (reserved == MAP_FAILED || mprotect(stack_, kSize, PROT_READ | PROT_WRITE) != 0) std::abort();
  }

  /// Runs the body on a thread that then ends.
  void run(std::function<void()> body) const {
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack_, kSize);
    const auto start = [](void* given) -> void* {
      (*static_cast<std::function<void()>*>(given))();
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
  }

 private:
  static constexpr size_t kSize = 2U << 20U;
  char* stack_;
};

const ThreadHome kHome(0x10000000);
const ThreadHome kOtherHome(0x20000000);
const ThreadHome kNegativeHome(0x90000000);

using Held = std::optional<jdbcWrapper>;

/// The members that attach.
const std::function<void(Held&)> kConstruct = [](Held& held) { held.emplace(); };
const std::function<void(Held&)> kConnect = [](Held& held) { EXPECT_TRUE(held->getConnection("", "")); };
const std::function<void(Held&)> kClose = [](Held& held) { EXPECT_TRUE(held->closeConnection()); };
const std::function<void(Held&)> kDestroy = [](Held& held) { held.reset(); };

class WrapperThreads : public DoublesTest {
 protected:
  ~WrapperThreads() override { EXPECT_EQ(ledger.complaint(), ""); }

  long attaches(const std::function<void(Held&)>& member) {
    const long before = ledger.callCount("AttachCurrentThread");
    member(held);
    return ledger.callCount("AttachCurrentThread") - before;
  }

  JniLedger ledger;
  Held held;
};

TEST_F(WrapperThreads, AThreadWithTheIdOfADeadOneAttachesForItself) {
  for (const auto& member : {kConnect, kClose, kDestroy}) {
    for (const bool attachedBefore : {false, true}) {
      kHome.run([&] { held.emplace(); });
      const int deadThread = held->threadId;
      kHome.run([&] {
        ASSERT_EQ(static_cast<int>(pthread_self()), deadThread);
        Held other;
        if (attachedBefore) other.emplace();
        EXPECT_EQ(attaches(member), 1);
      });
      held.reset();
    }
  }
}

TEST_F(WrapperThreads, OnlyAnotherThreadOrANegativeIdAttachesAgain) {
  for (const auto& [home, again] : {std::pair(&kHome, 0), std::pair(&kNegativeHome, 1)}) {
    home->run([&] {
      EXPECT_EQ(attaches(kConstruct), 1);
      EXPECT_EQ(held->threadId < 0, again == 1);
      for (const auto& member : {kConnect, kClose, kClose}) EXPECT_EQ(attaches(member), again);
    });
    for (const auto& member : {kConnect, kClose}) {
      kOtherHome.run([&] {
        EXPECT_EQ(attaches(member), 1);
        EXPECT_TRUE(held->executeQuery("select", 0) && held->next());
        EXPECT_EQ(attaches(kClose), 0);
      });
      home->run([&] { EXPECT_EQ(attaches(member), 1); });
    }
    kOtherHome.run([&] { EXPECT_EQ(attaches(kDestroy), 1); });
  }
}

TEST_F(WrapperThreads, AThreadThatCannotAttachMakesNoCall) {
  kHome.run([&] { held.emplace(); });
  kOtherHome.run([&] {
    JniLedger::plan(Fault::kAttach, 1);
    const long before = ledger.callCount();
    Armed(Fault::kAttach)([&] {
      EXPECT_FALSE(held->getConnection("", ""));
      for (const Operation& operation : kOperations) {
        const std::string expected = "false 2 could not attach the thread to the Java VM; ";
        EXPECT_EQ(outcome(*held, operation), expected + operation.failed);
      }
    });
    EXPECT_EQ(ledger.callCount() - before, 1);
  });
  kHome.run([&] {
    EXPECT_EQ(attaches(kClose), 1);
    EXPECT_EQ(ended(held->next(), *held, ""), "true 0 ; ");
    held.reset();
  });
}

}  // namespace
}  // namespace kivo::test
