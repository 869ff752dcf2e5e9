#pragma once

#include <string>
#include <vector>

#include "bench.h"

namespace kivo::bench {

/// A table to read whole.
struct Workload {
  std::string title;
  std::string table;
  std::string columns;  ///< an expression each, over the row's number n
  long rows;
  bool longValues = false;  ///< longer than drivers tell of such columns

  std::string query() const { return "select * from " + table; }
};

/// Named parts of the benchmark that read: sizes, dates, wide, large.
std::vector<Workload> workloads(const std::string& part, const Target& target);

/// Makes the table unless it exists.
void fill(const Target& target, const Workload& workload);

}  // namespace kivo::bench
