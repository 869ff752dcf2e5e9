#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "jdbcWrapper.h"
#include "jni_ledger.h"

namespace kivo::test {

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

struct Operation {
  std::string name;
  std::function<bool(jdbcWrapper& w, Given& g)> run;
  const char* calls;   ///< What reaches the Java double, a line each.
  const char* done;    ///< What a success changes with the double's usual answers, as changes() tells it.
  const char* failed;  ///< The same of a call that could not be made.
};

inline const Operation kOperations[] = {
    {"setUrl", [](jdbcWrapper& w, Given& g) { return w.setUrl("type", "host", " 1521x", "instance", "base", g.text); },
     "setUrl(type, host, 1521, instance, base, before)\ngetUrl()\n", "text=url", ""},
    {"getUrl", [](jdbcWrapper& w, Given& g) { return w.getUrl(g.text); }, "getUrl()\n", "text=url", "text="},
    {"getVendor", [](jdbcWrapper& w, Given& g) { return w.getVendor(g.text); }, "getVendor()\n", "text=vendor",
     "text="},
    {"getConnection", [](jdbcWrapper& w, Given&) { return w.getConnection("us\xC3\xA9r", ""); },
     "getConnection(us\xC3\xA9r, )\n", "", ""},
    {"closeConnection", [](jdbcWrapper& w, Given&) { return w.closeConnection(); }, "closeConnection()\n", "", ""},
    {"getStatement", [](jdbcWrapper& w, Given&) { return w.getStatement(); }, "getStatement()\n", "", ""},
    {"executeQuery", [](jdbcWrapper& w, Given&) { return w.executeQuery("select", -5); }, "executeQuery(select, -5)\n",
     "", ""},
    {"next", [](jdbcWrapper& w, Given&) { return w.next(); }, "next()\n", "", ""},
    {"getColumn", [](jdbcWrapper& w, Given& g) { return w.getColumn(-1, g.value); }, "getColumn(-1)\n", "value=value",
     "value=null"},
    {"getNumColumns", [](jdbcWrapper& w, Given& g) { return (g.number = w.getNumColumns()) >= 0; }, "getNumColumns()\n",
     "number=3", "number=-1"},
    {"getColumnName", [](jdbcWrapper& w, Given& g) { return w.getColumnName(4, g.text); }, "getColumnName(4)\n",
     "text=name", "text="},
    {"getColumnType", [](jdbcWrapper& w, Given& g) { return w.getColumnType(4, g.number); },
     "getColumnType(4)\ngetErrorCode()\n", "number=12", ""},
    {"getColumnInfo", [](jdbcWrapper& w, Given& g) { return w.getColumnInfo(2, g.text, g.number); },
     "getColumnName(2)\ngetColumnType(2)\ngetErrorCode()\n", "text=namenumber=12", "text="},
    {"executeUpdate", [](jdbcWrapper& w, Given& g) { return (g.number = w.executeUpdate("update")) >= 0; },
     "executeUpdate(update)\n", "number=7", "number=-1"},
    {"addToBatch", [](jdbcWrapper& w, Given&) { return w.addToBatch("insert"); }, "addToBatch(insert)\n", "", ""},
    {"executeBatch", [](jdbcWrapper& w, Given& g) { return w.executeBatch(g.number); },
     "executeBatch()\ngetErrorCode()\n", "number=2", "number=-1"},
    {"getTables", [](jdbcWrapper& w, Given& g) { return w.getTables(g.tables); }, "getTables()\n",
     "tables=ORDERS,ITEMS,", ""},
};

inline const Operation& named(const std::string& name) {
  return *std::find_if(std::begin(kOperations), std::end(kOperations),
                       [&](const Operation& operation) { return operation.name == name; });
}

/// The Java method that an operation calls first.
inline std::string methodOf(const Operation& operation) {
  return std::string(operation.calls, std::strchr(operation.calls, '('));
}

/// Runs an operation while the planned fault is armed. @return "<result> <errorState> <errorMessage>; <changes>".
inline std::string outcome(jdbcWrapper& wrapper, const Operation& operation) {
  Given given;
  bool result = true;
  const Armed armed(Fault::kNull);
  armed([&] { result = operation.run(wrapper, given); });
  const std::string ended = (result ? "true " : "false ") + std::to_string(wrapper.errorState) + ' ';
  return ended + wrapper.errorMessage + "; " + given.changes();
}

/// Expects every operation to fail with the message.
inline void expectRefusals(jdbcWrapper& wrapper, const std::string& message) {
  for (const Operation& operation : kOperations) {
    EXPECT_EQ(outcome(wrapper, operation), "false 2 " + message + "; " + operation.failed) << operation.name;
  }
}

}  // namespace kivo::test
