#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "doubles.h"
#include "jni_ledger.h"

namespace kivo::test {

constexpr Fault kFaults[] = {Fault::kOutOfMemory, Fault::kNull,   Fault::kThrowBefore,
                             Fault::kThrowAfter,  Fault::kAttach, Fault::kAllocation};

/// One member on an object in the state that it is called in.
struct Member {
  std::string name;
  std::function<void(JniLedger&, const Armed&)> run;
};

class LedgerSweep : public DoublesTest {
 protected:
  /// Fails every call of every member in every way, once and from then on.
  void sweep(const std::vector<Member>& members, const char* title) {
    answer("DatabaseMetaData.getTables", "A:12,B:12,C:12,D:12\nc,s,ORDERS,TABLE\nc,null,ITEMS,TABLE");
    answer("typed rows", "ID:4,NAME:12\n1,one\n2,two");
    JniLedger ledger;
    int points = 0;
    for (const Member& member : members) points += sweep(ledger, member);
    EXPECT_GT(points, 10 * static_cast<int>(members.size()));
    std::printf("%s: %zu members, %d failing points, maximum local references at a time: %d\n", title, members.size(),
                points, ledger.maxLocals());
  }

 private:
  static int sweep(JniLedger& ledger, const Member& member) {
    int points = 0;
    for (const Fault fault : kFaults) {
      for (const bool lasting : {false, true}) {
        SCOPED_TRACE(member.name);
        const StderrCapture quiet;
        const int globals = ledger.liveGlobals();
        const auto operation = [&](const Armed& armed) { member.run(ledger, armed); };
        points += sweepFaults(ledger, fault, operation, lasting);
        EXPECT_EQ(ledger.liveGlobals(), globals);
      }
    }
    return points;
  }
};

}  // namespace kivo::test
