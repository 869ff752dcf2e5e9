#pragma once

#include <string>
#include <vector>

#include "measure.h"

namespace kivo::bench {

/// A number that stands alone.
struct Figure {
  std::string title;
  std::string name;
  double value;
  std::string unit;
};

struct Report {
  std::string machine;
  std::vector<Comparison> comparisons;
  std::vector<Figure> figures;
};

/// @param references names of the series to which each line shows its ratio, where they are there.
void print(const Comparison& comparison, const std::vector<std::string>& references);
void print(const Figure& figure);

std::string json(const Report& report);

/// Bars of the time a row costs.
std::string svg(const Comparison& comparison, const std::string& machine);

/// Processors, memory, kernel, and what runs besides.
std::string machineDescription();

}  // namespace kivo::bench
