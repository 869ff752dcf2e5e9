#include "workloads.h"

namespace kivo::bench {
namespace {

constexpr const char* kEight =
    "cast(n as int) as id, cast(n as bigint) * 1000003 as big, cast(n * 1.25 as double precision) as ratio, "
    "cast(n * 0.01 as numeric(12, 2)) as price, cast('code' || mod(n, 1000) as varchar(12)) as code, "
    "cast('sixty characters of text that ends with a number: ' || (1000000000 + n) as varchar(60)) as note, "
    "cast('2000-01-01' as date) + cast(mod(n, 9000) as int) as dayon, "
    "cast('2000-01-01 00:00:00' as timestamp) + n * interval '61' second as happened";

/// The wide table's columns, of three types in turn.
std::string wideColumns(int count) {
  std::string columns;
  for (int column = 0; column < count; ++column) {
    const std::string number = std::to_string(column);
    const std::string values[] = {"cast(n + " + number + " as int)", "cast('text' || n as varchar(20))",
                                  "cast(n * 0.01 as numeric(12, 2))"};
    columns += (column == 0 ? "" : ", ") + values[column % 3] + " as c" + number;
  }
  return columns;
}

Workload eight(const std::string& title, const std::string& table, long rows) { return {title, table, kEight, rows}; }

}  // namespace

std::vector<Workload> workloads(const std::string& part, const Target& target) {
  if (part == "sizes") {
    return {eight("50 thousand rows", "rows_50k", 50000), eight("500 thousand rows", "rows_500k", 500000),
            eight("2 million rows", "rows_2m", 2000000)};
  }
  if (part == "dates") {
    return {{"dates and timestamps alone", "dates",
             "cast('2000-01-01' as date) + cast(mod(n, 9000) as int) as d1, "
             "cast('2000-01-01 00:00:00' as timestamp) + n * interval '61' second as t1",
             500000}};
  }
  if (part == "wide") return {{"200 columns", "wide", wideColumns(200), 20000}};
  if (part == "large") {
    const std::string large =
        target.name == "h2" ? "cast(repeat('0123456789', 100000) as varchar(1000000))" : "repeat('0123456789', 100000)";
    return {{"values of 1 MB", "large", "cast(n as int) as id, " + large + " as txt", 50, true}};
  }
  return {};
}

void fill(const Target& target, const Workload& workload) {
  const std::string rows = std::to_string(workload.rows);
  const std::string numbers = target.name == "h2" ? "(select x as n from system_range(1, " + rows + ")) as numbers"
                                                  : "generate_series(1, " + rows + ") as numbers(n)";
  execute(target,
          "create table if not exists " + workload.table + " as select " + workload.columns + " from " + numbers);
  if (target.name == "postgresql") execute(target, "analyze " + workload.table);
}

}  // namespace kivo::bench
