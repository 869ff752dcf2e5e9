#include "aims.h"

#include <cstdio>

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
    {"postgresql", kReading, "blocks", "utils", 0.50},
    {"postgresql", kReading, "blocks", "java", 1.15},
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

const char* verdict(const Spread& ratio, double limit) {
  if (ratio.high <= limit) return "met";
  return ratio.low > limit ? "NOT met" : "cannot be told";
}

void print(const Comparison& comparison, const Aim& aim) {
  const Series* way = comparison.find(aim.way);
  const Series* other = comparison.find(aim.other);
  if (way == nullptr || other == nullptr) return;
  const Spread wall = ratio(way->wall, other->wall);
  const Spread processor = ratio(way->processor, other->processor);
  std::printf("  %-10s %-28s %-15s / %-12s <= %.2f  clock %.2f (%.2f to %.2f) %-15s processor %.2f (%.2f to %.2f) %s\n",
              aim.database, aim.title, aim.way, aim.other, aim.limit, wall.middle, wall.low, wall.high,
              verdict(wall, aim.limit), processor.middle, processor.low, processor.high, verdict(processor, aim.limit));
}

}  // namespace

void printAims(const Report& report) {
  std::printf("\naims: the middle of the ratios of each round, and their middle half\n");
  for (const Aim& aim : kAims) {
    for (const Comparison& comparison : report.comparisons) {
      if (comparison.database == aim.database && comparison.title == aim.title) print(comparison, aim);
    }
  }
}

}  // namespace kivo::bench
