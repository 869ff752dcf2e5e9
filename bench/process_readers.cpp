// Readers and loaders that are programs of their own.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "bench.h"
#include "child.h"

namespace kivo::bench {
namespace {

/// A script that stays connected: it takes a query a line and answers "cells bytes firstRow".
class JpypeReader : public Reader {
 public:
  explicit JpypeReader(const Target& target)
      : child_({"/usr/bin/python3", KIVO_BENCH_SCRIPTS "/jpype_reader.py", target.libjvm, target.classPath, target.url,
                target.user, target.password}) {}

  Reading read(const std::string& sql) override {
    std::fprintf(child_.toChild, "%s\n", sql.c_str());
    std::fflush(child_.toChild);
    Reading reading;
    require(std::fscanf(child_.fromChild, "%ld %ld %lf", &reading.cells, &reading.bytes, &reading.firstRow) == 3,
            "the JPype script ended");
    return reading;
  }

 private:
  Child child_;
};

/// The whole program, from its start to its end. Of the data here no cell needs quotes.
class KivosqlReader : public Reader {
 public:
  explicit KivosqlReader(const Target& target) : target_(target) {
    setenv("KIVO_PASSWORD", target.password.c_str(), 1);
  }

  Reading read(const std::string& sql) override {
    const Stopwatch watch;
    const Child child({target_.kivosql, "--jvm", target_.libjvm, "--class-path", target_.classPath, "--url",
                       target_.url, "--user", target_.user, "--format", "csv", "query", sql});
    int byte = 0;
    while (byte != '\n' && byte != EOF) byte = std::fgetc(child.fromChild);
    Reading reading;
    reading.firstRow = watch.seconds();
    std::vector<char> part(1U << 16U);
    while (const std::size_t length = std::fread(part.data(), 1, part.size(), child.fromChild)) {
      for (std::size_t at = 0; at < length; ++at) {
        reading.cells += part[at] == ',' || part[at] == '\n' ? 1 : 0;
        reading.bytes += part[at] == ',' || part[at] == '\n' || part[at] == '\r' ? 0 : 1;
      }
    }
    return reading;
  }

 private:
  Target target_;
};

/// Runs a program that loads a CSV file, from its start to its end.
class ProcessLoader : public Writer {
 public:
  /// @param command in which the word TABLE stands for the table.
  ProcessLoader(const Target& target, std::vector<std::string> command) : command_(std::move(command)) {
    setenv("KIVO_PASSWORD", target.password.c_str(), 1);
  }

  void write(const std::string& table, int /*rows*/) override {
    std::vector<std::string> command = command_;
    std::replace(command.begin(), command.end(), std::string("TABLE"), table);
    require(Child(command).succeeds(), command[0] + " failed");
  }

 private:
  std::vector<std::string> command_;
};

}  // namespace

std::vector<WriterWay> processLoaders(const Target& target, const std::string& csv) {
  const auto home = std::filesystem::path(target.libjvm).parent_path().parent_path().parent_path();
  const std::string java = home / "bin" / "java";
  const auto way = [](const char* name, const char* about, std::vector<std::string> command) {
    const auto connect = [command](const Target& to) { return std::make_unique<ProcessLoader>(to, command); };
    return WriterWay{name, about, false, 0, connect, true};
  };
  return {
      way("java-load", "a Java program, prepared, the driver's best setting",
          {java, "-cp", target.classPath, "bench.LoadCsv", target.url + "?reWriteBatchedInserts=true", target.user, csv,
           "TABLE"}),
      way("kivosql-load", "kivosql load",
          {target.kivosql, "--jvm", target.libjvm, "--class-path", target.classPath, "--url", target.url, "--user",
           target.user, "load", csv, "TABLE"}),
  };
}

std::vector<ReaderWay> processReaders(const Target& target) {
  std::vector<ReaderWay> ways = {
      {"jpype", "Python, JPype", false, 500000, [](const Target& to) { return std::make_unique<JpypeReader>(to); },
       true},
  };
  if (!target.kivosql.empty()) {
    ways.push_back({"kivosql", "kivosql to CSV, the whole program", false, 0,
                    [](const Target& to) { return std::make_unique<KivosqlReader>(to); }, true});
  }
  return ways;
}

}  // namespace kivo::bench
