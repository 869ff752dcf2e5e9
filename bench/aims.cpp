#include "aims.h"

#include <cstdio>
#include <string>

namespace kivo::bench {
namespace {

/// At most so many times what another way takes.
struct Aim {
  const char* database;
  const char* title;  ///< of the comparison
  const char* way;
  const char* other;
  double limit;
};

constexpr const char* kReading = "500 thousand rows";
constexpr const char* kMost = "2 million rows";
constexpr const char* kFew = "50 thousand rows";
constexpr const char* kWriting = "a batch of inserts";
constexpr const char* kLoading = "loading a CSV file";

constexpr Aim kAims[] = {
    {"postgresql", kReading, "utils", "jni-same", 1.05},
    {"postgresql", kReading, "utils-auto", "jni-same-auto", 1.05},
    {"postgresql", kReading, "wrapper", "jni-wrapper", 1.10},
    {"h2", kReading, "utils", "jni-same", 1.05},
    {"h2", kReading, "wrapper", "jni-wrapper", 1.10},
    {"postgresql", kReading, "java-wrapper", "java-256", 1.10},
    {"postgresql", "dates and timestamps alone", "java-utc", "java", 1.40},
    {"postgresql", kReading, "blocks-128", "utils", 0.50},
    {"postgresql", kReading, "blocks-128", "java", 1.15},
    {"postgresql", kReading, "blocks-128", "odbc-rowset", 0.60},
    {"postgresql", kReading, "blocks", "utils", 0.50},
    {"postgresql", kReading, "blocks", "java-512", 1.15},
    {"postgresql", kReading, "blocks", "odbc-rowset", 0.60},
    {"postgresql", kReading, "blocks", "libpq", 1.00},
    {"postgresql", kReading, "blocks-wrapper", "libpq", 1.00},
    {"h2", kReading, "blocks", "java", 1.10},
    {"h2", kReading, "blocks", "java-bytes", 1.10},
    {"postgresql", kWriting, "utils", "java", 1.10},
    {"postgresql", kWriting, "wrapper", "java", 1.10},
    {"h2", kWriting, "utils", "java", 1.10},
    {"h2", kWriting, "wrapper", "java", 1.10},
    {"postgresql", kLoading, "kivosql-load", "java-load", 1.00},
};

/// What must not grow with the rows, in these ways of reading.
constexpr const char* kSteadyWays[] = {"utils", "wrapper", "blocks", "blocks-wrapper"};
constexpr double kMostTimeGrowth = 1.05;
constexpr double kMostMemoryGrowth = 1.10;

const char* verdict(const Spread& ratio, double limit) {
  if (ratio.high <= limit) return "met";
  return ratio.low > limit ? "NOT met" : "cannot be told";
}

void print(const Comparison& comparison, const Aim& aim) {
  const Series* way = comparison.find(aim.way);
  const Series* other = comparison.find(aim.other);
  if (way == nullptr || other == nullptr) return;
  const Spread wall = ratio(way->wall, other->wall);
  std::printf("  %-10s %-28s %-15s / %-12s <= %.2f  clock %.2f (%.2f to %.2f) %-15s", aim.database, aim.title, aim.way,
              aim.other, aim.limit, wall.middle, wall.low, wall.high, verdict(wall, aim.limit));
  if (!way->ownProcess) {
    const Spread processor = ratio(way->processor, other->processor);
    std::printf(" processor %.2f (%.2f to %.2f) %s", processor.middle, processor.low, processor.high,
                verdict(processor, aim.limit));
  }
  std::printf("\n");
}

void printGrowth(const char* database, const char* what, const char* way, double limit, double few, double many) {
  if (few == 0 || many == 0) return;
  const double growth = many / few;
  std::printf("  %-10s %-28s %-30s <= %.2f  %.2f %s\n", database, what, way, limit, growth,
              growth <= limit ? "met" : "NOT met");
}

/// Seconds a row; 0 when it was not measured.
double perRow(const Report& report, const char* title, const char* way) {
  for (const Comparison& comparison : report.comparisons) {
    const Series* series = comparison.title == title ? comparison.find(way) : nullptr;
    if (series != nullptr) return spread(series->wall).middle / static_cast<double>(comparison.rows);
  }
  return 0;
}

double memory(const Report& report, const char* title, const char* way) {
  for (const Figure& figure : report.figures) {
    if (figure.title == std::string("peak memory, ") + title && figure.name == way) return figure.value;
  }
  return 0;
}

}  // namespace

void printAims(const Report& report) {
  std::printf("\naims: the middle of the ratios of each round, and their middle half\n");
  for (const Aim& aim : kAims) {
    for (const Comparison& comparison : report.comparisons) {
      if (comparison.database == aim.database && comparison.title == aim.title) print(comparison, aim);
    }
  }
  if (report.comparisons.empty()) return;
  const char* database = report.comparisons.front().database.c_str();
  for (const char* way : kSteadyWays) {
    printGrowth(database, "time a row, 2 M / 500 k", way, kMostTimeGrowth, perRow(report, kReading, way),
                perRow(report, kMost, way));
    printGrowth(database, "memory, 2 M / 50 k", way, kMostMemoryGrowth, memory(report, kFew, way),
                memory(report, kMost, way));
  }
}

}  // namespace kivo::bench
