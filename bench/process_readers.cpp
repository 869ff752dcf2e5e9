// Readers that are programs of their own.
#include <cstdio>
#include <cstdlib>

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

}  // namespace

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
