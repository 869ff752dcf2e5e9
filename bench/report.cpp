#include "report.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace kivo::bench {
namespace {

__attribute__((format(printf, 1, 2))) std::string format(const char* pattern, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

double perRow(const Comparison& comparison, double seconds) {
  return seconds * 1e9 / static_cast<double>(comparison.rows);
}

/// Ratio of the time on the clock, with a mark when the rounds lie too far apart to trust it, and of processor time,
/// where that is known: it tells more than the clock on a machine that others use too.
std::string ratioText(const Comparison& comparison, const Series& series, const std::string& reference) {
  const Series* below = comparison.find(reference);
  if (below == nullptr) return "-";
  const Spread wall = ratio(series.wall, below->wall);
  const double processor = ratio(series.processor, below->processor).middle;
  const std::string text = format("%.2f%s", wall.middle, wall.width() > 2 * kSteady ? "~" : "");
  return series.ownProcess ? text : text + format(" (%.2f)", processor);
}

std::string firstLine(const std::string& file, const std::string& start) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind(start, 0) == 0) return line.substr(line.find_first_not_of(" :\t", start.size()));
  }
  return "unknown";
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') result += '\\';
    result += character;
  }
  return result + '"';
}

template <class Items, class Text>
std::string list(const Items& items, Text text) {
  std::string result = "[";
  for (const auto& item : items) result += (result.size() == 1 ? "" : ",") + text(item);
  return result + "]";
}

std::string numbers(const std::vector<double>& values) {
  return list(values, [](double value) { return format("%.6g", value); });
}

std::string json(const Series& series) {
  return "{\"name\":" + quoted(series.name) + ",\"about\":" + quoted(series.about) +
         format(",\"cells\":%ld,\"bytes\":%ld,\"first_row\":%.6g", series.reading.cells, series.reading.bytes,
                series.reading.firstRow) +
         ",\"wall\":" + numbers(series.wall) + ",\"processor\":" + numbers(series.processor) + "}";
}

std::string json(const Comparison& comparison) {
  return "{\"database\":" + quoted(comparison.database) + ",\"title\":" + quoted(comparison.title) +
         format(",\"rows\":%ld,\"machine_spread\":%.4f", comparison.rows, comparison.machine.width()) +
         ",\"series\":" + list(comparison.series, [](const Series& series) { return json(series); }) + "}";
}

std::string json(const Figure& figure) {
  return "{\"title\":" + quoted(figure.title) + ",\"name\":" + quoted(figure.name) +
         format(",\"value\":%.6g", figure.value) + ",\"unit\":" + quoted(figure.unit) + "}";
}

}  // namespace

void print(const Comparison& comparison, const std::vector<std::string>& references) {
  std::printf("\n%s, %s, %ld rows\n", comparison.database.c_str(), comparison.title.c_str(), comparison.rows);
  std::printf("  %-50s %9s %9s %9s %7s %9s", "", "ns/row", "cpu/row", "rows/s", "spread", "first ms");
  for (const std::string& reference : references) std::printf(" %14s", ("/ " + reference).c_str());
  std::printf("\n");
  for (const Series& series : comparison.series) {
    const Spread wall = spread(series.wall);
    std::printf("  %-50s %9.0f %9.0f %9.0f %6.1f%% %9.2f", (series.name + ": " + series.about).c_str(),
                perRow(comparison, wall.middle), perRow(comparison, spread(series.processor).middle),
                static_cast<double>(comparison.rows) / wall.middle, 100 * wall.width(), 1000 * series.reading.firstRow);
    for (const std::string& reference : references) {
      std::printf(" %14s", ratioText(comparison, series, reference).c_str());
    }
    std::printf("\n");
  }
  const double width = comparison.machine.width();
  std::printf("  the machine: a fixed piece of arithmetic varied by %.1f%%: %s\n", 100 * width,
              width <= kSteady ? "steady" : "TOO NOISY to tell small differences");
  std::fflush(stdout);
}

void print(const Figure& figure) {
  std::printf("  %-34s %-18s %10.4g %s\n", figure.title.c_str(), figure.name.c_str(), figure.value,
              figure.unit.c_str());
  std::fflush(stdout);
}

std::string json(const Report& report) {
  return "{\"machine\":" + quoted(report.machine) +
         ",\n\"comparisons\":" + list(report.comparisons, [](const Comparison& one) { return "\n" + json(one); }) +
         ",\n\"figures\":" + list(report.figures, [](const Figure& one) { return "\n" + json(one); }) + "}\n";
}

std::string svg(const Comparison& comparison, const std::string& machine) {
  constexpr int kLine = 24;
  constexpr int kLeft = 260;
  constexpr int kWidth = 460;
  double most = 0;
  for (const Series& series : comparison.series) most = std::max(most, spread(series.wall).high);
  const int height = kLine * (static_cast<int>(comparison.series.size()) + 3);
  std::string picture = format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" font-family=\"sans-serif\" "
      "font-size=\"13\">\n<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n",
      kLeft + kWidth + 90, height);
  picture += format("<text x=\"10\" y=\"20\" font-weight=\"bold\">%s, %s: nanoseconds a row, less is better</text>\n",
                    comparison.database.c_str(), comparison.title.c_str());
  int y = kLine + 10;
  for (const Series& series : comparison.series) {
    const Spread wall = spread(series.wall);
    const auto scaled = [&](double seconds) { return static_cast<int>(seconds / most * kWidth); };
    const bool ours = series.about.find("Jdbc") == 0 || series.about.find("jdbc") == 0 || series.about.find("row") == 0;
    picture += format("<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>", kLeft - 8, y + 16, series.about.c_str());
    picture += format("<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"%s\"/>", kLeft, y + 3,
                      scaled(wall.middle), kLine - 6, ours ? "#2b6cb0" : "#a0aec0");
    picture += format("<path d=\"M%d %dH%d\" stroke=\"black\"/>", kLeft + scaled(wall.low), y + kLine / 2,
                      kLeft + scaled(wall.high));
    picture += format("<text x=\"%d\" y=\"%d\">%.0f</text>\n", kLeft + scaled(wall.high) + 6, y + 16,
                      perRow(comparison, wall.middle));
    y += kLine;
  }
  picture += format("<text x=\"10\" y=\"%d\" font-size=\"10\">%s</text>\n</svg>\n", height - 10, machine.c_str());
  return picture;
}

std::string machineDescription() {
  utsname system{};
  uname(&system);
  std::istringstream load(firstLine("/proc/loadavg", ""));
  std::string average;
  load >> average;
  return format("%ld x %s, memory %s, Linux %s, load %s at the start", sysconf(_SC_NPROCESSORS_ONLN),
                firstLine("/proc/cpuinfo", "model name").c_str(), firstLine("/proc/meminfo", "MemTotal").c_str(),
                system.release, average.c_str());
}

}  // namespace kivo::bench
