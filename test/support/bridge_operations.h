#pragma once

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "JavaConnectionUtils.h"

namespace kivo::test {

/// What an operation of the bridge is given to fill in, with a mark in each to see whether it was touched.
struct BridgeGiven {
  std::vector<std::string> first = {"before"};
  std::vector<std::string> second = {"before"};
  char mark = 'm';
  char* value = &mark;

  ~BridgeGiven() {
    if (value != &mark) std::free(value);
  }
  bool listsUntouched() const { return first.size() + second.size() == 2; }
};

struct BridgeOperation {
  std::string method;  ///< the Java method
  std::function<bool(JavaConnectionUtils& bridge, BridgeGiven& given)> run;
};

/// All that need an instance.
inline const BridgeOperation kBridgeOperations[] = {
    {"setParams", [](auto& bridge, auto& given) { return bridge.setParams(given.first, given.second); }},
    {"connect", [](auto& bridge, auto&) { return bridge.makeConnection(); }},
    {"canDiscover", [](auto& bridge, auto&) { return bridge.canDiscover(); }},
    {"discoverTables", [](auto& bridge, auto& given) { return bridge.discoverTables(given.first); }},
    {"discoverTable",
     [](auto& bridge, auto& given) { return bridge.discoverTable(given.first[0], given.first, given.second); }},
    {"query", [](auto& bridge, auto&) { return bridge.query(); }},
    {"next", [](auto& bridge, auto&) { return bridge.next(); }},
    {"getColumn", [](auto& bridge, auto& given) { return bridge.getColumn(1, given.value); }},
};

}  // namespace kivo::test
