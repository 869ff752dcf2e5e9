#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "KivoArrow.h"
#include "arrow_text.h"
#include "databases.h"
#include "jni_ledger.h"
#include "vm_fixture.h"

namespace kivo::test {

[[maybe_unused]] inline auto* const kVmOfStreams = testing::AddGlobalTestEnvironment(new VmEnvironment);

using Schema = Held<ArrowSchema>;
using Array = Held<ArrowArray>;
using Stream = Held<ArrowArrayStream>;

/// Fails each call of an operation, in every way that a call can fail. @return how many calls could fail.
template <class Operation>
int sweepAll(JniLedger& ledger, Operation operation) {
  const int globals = ledger.liveGlobals();
  int points = 0;
  for (const Fault fault :
       {Fault::kOutOfMemory, Fault::kNull, Fault::kThrowBefore, Fault::kThrowAfter, Fault::kAllocation}) {
    for (const bool lasting : {false, true}) points += sweepFaults(ledger, fault, operation, lasting);
    EXPECT_EQ(ledger.liveGlobals(), globals);
  }
  return points;
}

constexpr const char* kH2 = "jdbc:h2:mem:arrow;DB_CLOSE_DELAY=-1";

/// A wrapper with a query's open result.
struct Source : ConnectedWrapper {
  explicit Source(const std::string& sql, const char* url = kH2) : ConnectedWrapper({"", url, "", ""}) {
    EXPECT_TRUE(query(sql)) << errorMessage;
  }

  void open(ArrowArrayStream& stream, const ArrowStreamOptions& options = {}) {
    std::string error;
    EXPECT_TRUE(makeArrowStream(*this, stream, error, options)) << error;
  }
};

/// A stream of numbers from 1, which may outlive its source.
struct Numbers {
  explicit Numbers(int count, int maxRows = 2)
      : source("select x from system_range(1, " + std::to_string(count) + ")") {
    source.open(stream, byRows(maxRows));
  }

  Source source;
  Stream stream;
};

inline std::string textOf(const char* text) { return text == nullptr ? "" : text; }

inline std::int64_t number(const ArrowArray& column, std::int64_t row) {
  return static_cast<const std::int64_t*>(column.buffers[1])[row];
}

}  // namespace kivo::test
