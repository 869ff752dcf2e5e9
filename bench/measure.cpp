#include "measure.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>

namespace kivo::bench {
namespace {

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// About 20 ms of arithmetic that touches no memory.
double fixedWork() {
  const Stopwatch watch;
  volatile std::uint64_t result = 0;
  std::uint64_t value = 1;
  for (int step = 0; step < 15000000; ++step) value = value * 6364136223846793005ULL + 1442695040888963407ULL;
  result = value;
  return result == 0 ? 0 : watch.seconds();
}

void runOnce(const Contestant& contestant, Series& series) {
  const double processorBefore = processorSeconds();
  const Stopwatch watch;
  const Reading reading = contestant.run();
  series.wall.push_back(watch.seconds());
  series.processor.push_back(processorSeconds() - processorBefore);
  const double first = series.wall.size() == 1 ? reading.firstRow : std::min(series.reading.firstRow, reading.firstRow);
  series.reading = reading;
  series.reading.firstRow = first;
}

double at(const std::vector<double>& sorted, double share) {
  return sorted[static_cast<std::size_t>(std::lround(share * static_cast<double>(sorted.size() - 1)))];
}

}  // namespace

Spread spread(std::vector<double> values) {
  if (values.empty()) return {};
  std::sort(values.begin(), values.end());
  return {at(values, 0.25), at(values, 0.5), at(values, 0.75)};
}

const Series* Comparison::find(const std::string& name) const {
  const auto found = std::find_if(series.begin(), series.end(), [&](const Series& one) { return one.name == name; });
  return found == series.end() ? nullptr : &*found;
}

Spread ratio(const std::vector<double>& above, const std::vector<double>& below) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < std::min(above.size(), below.size()); ++round) {
    ratios.push_back(above[round] / below[round]);
  }
  return spread(ratios);
}

Comparison compare(std::vector<Contestant> contestants, int rounds) {
  Comparison comparison;
  for (const Contestant& contestant : contestants) {
    for (int warmUp = 0; warmUp < kWarmUps; ++warmUp) contestant.run();
    comparison.series.push_back({contestant.name, contestant.about, {}, {}, contestant.ownProcess, {}});
  }
  std::vector<double> machine;
  for (int round = 0; round < rounds; ++round) {
    machine.push_back(fixedWork());
    for (std::size_t index = 0; index < contestants.size(); ++index) {
      // Every round starts with another one: who comes after whom must not favour anybody.
      const std::size_t turn = (index + static_cast<std::size_t>(round)) % contestants.size();
      runOnce(contestants[turn], comparison.series[turn]);
    }
  }
  comparison.machine = spread(machine);
  return comparison;
}

double growthExponent(const std::vector<const Comparison*>& sizes, const std::string& name) {
  double n = 0;
  double sumX = 0;
  double sumY = 0;
  double sumXX = 0;
  double sumXY = 0;
  for (const Comparison* size : sizes) {
    const Series* series = size->find(name);
    if (series == nullptr) continue;
    const double x = std::log(static_cast<double>(size->rows));
    const double y = std::log(spread(series->wall).middle);
    ++n;
    sumX += x;
    sumY += y;
    sumXX += x * x;
    sumXY += x * y;
  }
  return n < 2 ? 0 : (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
}

}  // namespace kivo::bench
