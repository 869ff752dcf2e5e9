#pragma once

#include <string>
#include <vector>

#include "bench.h"

namespace kivo::bench {

/// Middle value, and the quarter and three-quarter ones around it.
struct Spread {
  double low = 0;
  double middle = 0;
  double high = 0;
  /// How far the middle half lies apart, as a share of the middle.
  double width() const { return middle == 0 ? 0 : (high - low) / middle; }
};
Spread spread(std::vector<double> values);

/// The rounds of one reader or writer on one piece of work.
struct Series {
  std::string name;
  std::string about;
  std::vector<double> wall;
  std::vector<double> processor;  ///< of this process, all threads
  bool ownProcess = false;        ///< the work was done elsewhere: its processor time is not known
  Reading reading;
};

/// One piece of work, done by several ways in turn.
struct Comparison {
  std::string database;
  std::string title;
  long rows = 0;
  std::vector<Series> series;
  Spread machine;  ///< seconds of a fixed piece of arithmetic, once a round: how steady the machine was

  const Series* find(const std::string& name) const;
};

/// Ratio of two series, round by round.
Spread ratio(const std::vector<double>& above, const std::vector<double>& below);

/// A way that is ready, and what a round of it does.
struct Contestant {
  std::string name;
  std::string about;
  bool ownProcess;
  std::function<Reading()> run;
};

/// A Java VM compiles what it has run often.
constexpr int kWarmUps = 3;

/// Runs each a few times unmeasured, then rounds of all of them in turn, so that what the machine does meanwhile hits
/// all.
Comparison compare(std::vector<Contestant> contestants, int rounds);

/// Above this spread of the fixed arithmetic the machine was too busy to tell small differences.
constexpr double kSteady = 0.05;

/// The exponent of growth: seconds = c * rows ^ exponent, fitted over comparisons that contain the series.
double growthExponent(const std::vector<const Comparison*>& sizes, const std::string& name);

}  // namespace kivo::bench
