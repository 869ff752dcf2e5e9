// Reads and writes the same rows in every way that a native host has, side by side.
//
//   kivo_bench postgresql|h2 KEY=VALUE...
//
//   jvm= classpath= host= port= database= user=   where; PGPASSWORD is the password
//   kivosql=    the command-line program, to measure it too
//   parts=      of: sizes dates wide large threads write load start memory; all by default
//   readers= tables=   names to measure; all by default
//   rounds=     5 by default
//   json= svg=  files for the result and for a picture of the 500 thousand rows

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "aims.h"
#include "bench.h"
#include "child.h"
#include "measure.h"
#include "report.h"
#include "workloads.h"

namespace kivo::bench {

void require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error(what);
}

std::string note(int row) { return "note number " + std::to_string(row); }

std::string half(int row) { return std::to_string(row / 2) + (row % 2 == 0 ? ".0" : ".5"); }

namespace {

constexpr const char* kParts = "sizes,dates,wide,large,threads,write,load,start,memory";
constexpr int kWritten = 100000;
constexpr int kLoaded = 500000;
constexpr int kStarts = 9;
constexpr int kMemoryHeapMb = 64;

struct Options {
  std::string self;
  Target target;
  std::map<std::string, std::string> given;

  std::string get(const std::string& key, const std::string& otherwise = "") const {
    const auto found = given.find(key);
    return found == given.end() ? otherwise : found->second;
  }
  int rounds() const { return std::stoi(get("rounds", "5")); }
  bool wants(const std::string& key, const std::string& name, const std::string& otherwise = "") const {
    const std::string names = get(key, otherwise);
    return names.empty() || ("," + names + ",").find("," + name + ",") != std::string::npos;
  }
};

std::vector<std::string> references(const Target& target) {
  if (target.name == "h2") return {"java", "jni"};
  return {"libpq", "java", "jni", "odbc-rowset"};
}

std::vector<ReaderWay> readers(const Options& options) {
  std::vector<ReaderWay> chosen;
  for (const auto& group : {nativeReaders(), processReaders(options.target), javaReaders()}) {
    for (const ReaderWay& way : group) {
      if ((way.onH2 || options.target.name != "h2") && options.wants("readers", way.name)) chosen.push_back(way);
    }
  }
  return chosen;
}

/// Every reader must have seen the same: a ratio between different work says nothing.
void requireSameBytes(const Comparison& comparison) {
  const Reading& first = comparison.series.front().reading;
  for (const Series& series : comparison.series) {
    const bool same = series.reading.cells == first.cells && series.reading.bytes == first.bytes;
    require(same, series.name + " read " + std::to_string(series.reading.cells) + " cells and " +
                      std::to_string(series.reading.bytes) + " bytes, " + comparison.series.front().name + " " +
                      std::to_string(first.cells) + " and " + std::to_string(first.bytes));
  }
}

void measureReading(const Options& options, const Workload& workload, Report& report) {
  fill(options.target, workload);
  std::vector<std::unique_ptr<Reader>> connected;
  std::vector<Contestant> contestants;
  for (const ReaderWay& way : readers(options)) {
    if ((way.mostRows != 0 && workload.rows > way.mostRows) || (way.shortValues && workload.longValues)) continue;
    connected.push_back(way.connect(options.target));
    Reader* reader = connected.back().get();
    contestants.push_back(
        {way.name, way.about, way.ownProcess, [reader, workload] { return reader->read(workload.query()); }});
  }
  Comparison comparison = compare(std::move(contestants), options.rounds());
  comparison.database = options.target.name;
  comparison.title = workload.title;
  comparison.rows = workload.rows;
  print(comparison, references(options.target));
  requireSameBytes(comparison);
  report.comparisons.push_back(std::move(comparison));
}

void add(Report& report, const Figure& figure) {
  print(figure);
  report.figures.push_back(figure);
}

void measureReadings(const Options& options, const std::string& part, Report& report) {
  std::vector<const Comparison*> sizes;
  for (const Workload& workload : workloads(part, options.target)) {
    if (options.wants("tables", workload.table)) measureReading(options, workload, report);
  }
  if (part != "sizes" || report.comparisons.size() < 2) return;
  for (const Comparison& comparison : report.comparisons) sizes.push_back(&comparison);
  std::printf("\n");
  for (const Series& series : sizes.front()->series) {
    add(report, {"growth: time ~ rows ^", series.name, growthExponent(sizes, series.name), ""});
  }
}

/// The same query on one thread, then on two at a time: each with its own connection.
void measureThreads(const Options& options, const std::string&, Report& report) {
  const Workload workload = workloads("sizes", options.target)[1];
  fill(options.target, workload);
  std::printf("\n");
  for (const ReaderWay& way : readers(options)) {
    if (way.ownProcess) continue;
    std::vector<double> seconds(3);
    for (const int threads : {1, 2}) {
      std::vector<double> rounds;
      for (int round = 0; round <= options.rounds(); ++round) {
        const auto work = [&] {
          way.connect(options.target)->read(workload.query());
          detachThread();
        };
        const Stopwatch watch;
        std::vector<std::thread> running;
        for (int number = 0; number < threads; ++number) running.emplace_back(work);
        for (std::thread& thread : running) thread.join();
        if (round > 0) rounds.push_back(watch.seconds());
      }
      seconds[static_cast<std::size_t>(threads)] = spread(rounds).middle;
    }
    add(report, {"two threads, work per time, times", way.name, 2 * seconds[1] / seconds[2], "of one"});
  }
}

/// Compares ways to store rows, each in a table of its own whose name begins with @p prefix.
Comparison compareWriters(const Options& options, const std::vector<WriterWay>& ways, const std::string& prefix,
                          int rows) {
  std::vector<std::unique_ptr<Writer>> connected;
  std::vector<Contestant> contestants;
  for (const WriterWay& way : ways) {
    if (!way.onH2 && options.target.name == "h2") continue;
    connected.push_back(way.connect(options.target));
    const std::string table = prefix + std::to_string(connected.size());
    execute(options.target, "drop table if exists " + table + ";\ncreate table " + table +
                                " (id int, note varchar(40), half double precision)");
    const auto run = [table, rows, writer = connected.back().get()] {
      writer->write(table, rows);
      return Reading{};
    };
    contestants.push_back({way.name, way.about, way.ownProcess, run});
  }
  const long runs = static_cast<long>(contestants.size()) * (kWarmUps + options.rounds());
  Comparison comparison = compare(std::move(contestants), options.rounds());
  comparison.database = options.target.name;
  comparison.rows = rows;
  long stored = 0;
  for (std::size_t table = 1; table <= connected.size(); ++table) {
    stored += countRows(options.target, prefix + std::to_string(table));
  }
  require(stored == runs * rows, "the tables hold " + std::to_string(stored) + " rows");
  return comparison;
}

void measureWriting(const Options& options, const std::string&, Report& report) {
  std::vector<WriterWay> ways = nativeWriters();
  for (const WriterWay& way : javaWriters()) ways.push_back(way);
  Comparison comparison = compareWriters(options, ways, "written_", kWritten);
  comparison.title = "a batch of inserts";
  print(comparison, {"java", "java-prepared"});
  report.comparisons.push_back(std::move(comparison));
}

/// Whole programs, of which kivosql cannot reach a database inside this process.
void measureLoading(const Options& options, const std::string&, Report& report) {
  if (options.target.name == "h2" || options.target.kivosql.empty()) return;
  const std::string csv = std::filesystem::temp_directory_path() / ("kivo_bench_" + std::to_string(getpid()) + ".csv");
  std::ofstream file(csv);
  file << "id,note,half\n";
  for (int row = 0; row < kLoaded; ++row) file << row << ',' << note(row) << ',' << half(row) << '\n';
  file.close();
  Comparison comparison = compareWriters(options, processLoaders(options.target, csv), "loaded_", kLoaded);
  std::remove(csv.c_str());
  comparison.title = "loading a CSV file";
  print(comparison, {"java-load"});
  report.comparisons.push_back(std::move(comparison));
}

/// Runs this program once more, with other parts. @return the number that it prints.
double inChild(const Options& options, std::map<std::string, std::string> changes) {
  std::vector<std::string> command = {options.self, options.target.name};
  changes.insert(options.given.begin(), options.given.end());
  for (const auto& [key, value] : changes) {
    if (key != "json" && key != "svg") command.push_back(key + "=" + value);
  }
  const Child child(command);
  double value = 0;
  require(std::fscanf(child.fromChild, "%lf", &value) == 1, "a child process failed");
  return value;
}

void measureStart(const Options& options, const std::string&, Report& report) {
  std::vector<double> seconds;
  for (int start = 0; start < kStarts; ++start) seconds.push_back(inChild(options, {{"parts", "start-child"}}));
  std::printf("\n");
  add(report, {"start of the Java VM", "javaInit", spread(seconds).middle * 1000, "ms"});
}

void measureMemory(const Options& options, const std::string&, Report& report) {
  // H2's tables live in the heap that would be measured.
  if (options.target.name == "h2") return;
  std::printf("\n");
  for (const ReaderWay& way : readers(options)) {
    for (const Workload& workload : workloads("sizes", options.target)) {
      if (way.ownProcess || std::string(way.name).find("-auto") != std::string::npos) continue;
      fill(options.target, workload);
      const double megabytes =
          inChild(options, {{"parts", "memory-child"}, {"readers", way.name}, {"table", workload.table}});
      add(report, {"peak memory, " + workload.title, way.name, megabytes, "MB"});
    }
  }
}

void startChild(const Options& options, const std::string&, Report&) { std::printf("%.6f\n", startVm(options.target)); }

void memoryChild(const Options& options, const std::string&, Report&) {
  Target target = options.target;
  target.heapMb = kMemoryHeapMb;
  const ReaderWay way = readers(options).front();
  bool isNative = false;
  for (const ReaderWay& native : nativeReaders()) isNative |= std::strcmp(native.name, way.name) == 0;
  if (!isNative) startVm(target);
  way.connect(target)->read("select * from " + options.get("table"));
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) std::printf("%.1f\n", std::stod(line.substr(6)) / 1024);
  }
}

struct Part {
  const char* name;
  void (*run)(const Options& options, const std::string& part, Report& report);
};
constexpr Part kAllParts[] = {
    {"sizes", measureReadings},  {"dates", measureReadings},  {"wide", measureReadings},     {"large", measureReadings},
    {"threads", measureThreads}, {"write", measureWriting},   {"load", measureLoading},      {"start", measureStart},
    {"memory", measureMemory},   {"start-child", startChild}, {"memory-child", memoryChild},
};

Options parse(int count, char** arguments) {
  require(count >= 2, "usage: kivo_bench postgresql|h2 KEY=VALUE...");
  Options options;
  options.self = arguments[0];
  for (int index = 2; index < count; ++index) {
    const std::string argument = arguments[index];
    const std::size_t equals = argument.find('=');
    require(equals != std::string::npos, "not KEY=VALUE: " + argument);
    options.given[argument.substr(0, equals)] = argument.substr(equals + 1);
  }
  const char* password = std::getenv("PGPASSWORD");
  Target& target = options.target;
  target.name = arguments[1];
  target.host = options.get("host");
  target.port = options.get("port");
  target.database = options.get("database");
  target.user = options.get("user");
  target.password = password == nullptr ? "" : password;
  target.classPath = options.get("classpath");
  target.libjvm = options.get("jvm");
  target.kivosql = options.get("kivosql");
  target.url = target.name == "h2" ? "jdbc:h2:mem:bench;DB_CLOSE_DELAY=-1;LAZY_QUERY_EXECUTION=1"
                                   : "jdbc:postgresql://" + target.host + ":" + target.port + "/" + target.database;
  return options;
}

void save(const std::string& file, const std::string& text) {
  if (!file.empty()) std::ofstream(file) << text;
}

void run(const Options& options) {
  Report report;
  report.machine = machineDescription();
  const bool isChild = options.get("parts").find("-child") != std::string::npos;
  if (!isChild) {
    std::printf("%s\n", report.machine.c_str());
    startVm(options.target);
  }
  for (const Part& part : kAllParts) {
    if (!options.wants("parts", part.name, kParts)) continue;
    part.run(options, part.name, report);
    // At once, since a later part may fail after half an hour.
    if (!isChild) save(options.get("json"), json(report));
  }
  if (!isChild) printAims(report);
  for (const Comparison& comparison : report.comparisons) {
    if (comparison.rows == 500000) return save(options.get("svg"), svg(comparison, report.machine));
  }
}

}  // namespace
}  // namespace kivo::bench

int main(int count, char** arguments) {
  try {
    kivo::bench::run(kivo::bench::parse(count, arguments));
    std::fflush(stdout);
    // The VM's threads must not outlive what the readers' destructors took away.
    std::_Exit(EXIT_SUCCESS);
  } catch (const std::exception& failure) {
    std::cerr << "kivo_bench: " << failure.what() << '\n';
    return EXIT_FAILURE;
  }
}
