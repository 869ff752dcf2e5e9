// Reads and writes rows in each way that a native host has. bench.py says what to do and when.
//
//   kivo_bench KEY=VALUE...    jvm= classpath= heap= url= user=, for PostgreSQL also host= port= database=;
//                              PGPASSWORD is the password
//
// Each line of standard input is a request, a JSON object whose member "do" names it; a line of JSON answers it.
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "bench.h"

namespace kivo::bench {
namespace {

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

double now() { return secondsOf(CLOCK_MONOTONIC); }

void require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error(what);
}

std::string note(long row) { return "note number " + std::to_string(row); }

std::string half(long row) { return std::to_string(row / 2) + (row % 2 == 0 ? ".0" : ".5"); }

namespace {

using rapidjson::Document;
using rapidjson::Value;

/// Does what requests say.
class Worker {
 public:
  explicit Worker(Target target) : target_(std::move(target)), ways_(nativeWays()), firstJava_(ways_.size()) {
    for (const auto& ways : {javaPeers(), libraryWays()}) ways_.insert(ways_.end(), ways.begin(), ways.end());
  }

  std::string answer(const std::string& line) {
    Document answer(rapidjson::kObjectType);
    try {
      Document request;
      require(!request.Parse(line).HasParseError(), "not JSON: " + line);
      handle(request, answer);
    } catch (const std::exception& failure) {
      answer.AddMember("error", Value(failure.what(), answer.GetAllocator()), answer.GetAllocator());
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    answer.Accept(writer);
    return text.GetString();
  }

 private:
  void handle(const Document& request, Document& answer) {
    auto& memory = answer.GetAllocator();
    const std::string what = request["do"].GetString();
    if (what == "ways") {
      answer.AddMember("ways", listWays(memory), memory);
    } else if (what == "start") {
      answer.AddMember("seconds", startVm(target_), memory);
    } else if (what == "execute") {
      execute(target_, request["sql"].GetString());
    } else if (what == "connect") {
      connect(request["way"].GetUint());
    } else if (what == "run") {
      measure(answer, [&] { return clients_.at(request["way"].GetUint())(work(request)); });
    } else if (what == "threads") {
      measure(answer,
              [&] { return runThreads(request["way"].GetUint(), request["threads"].GetUint(), work(request)); });
    }
  }

  Value listWays(Document::AllocatorType& memory) const {
    Value list(rapidjson::kArrayType);
    for (const Way& way : ways_) {
      Value members(rapidjson::kObjectType);
      members.AddMember("kind", Value(way.kind, memory), memory);
      members.AddMember("name", Value(way.name, memory), memory);
      members.AddMember("about", Value(way.about, memory), memory);
      members.AddMember("java", list.Size() >= firstJava_, memory);
      list.PushBack(members, memory);
    }
    return list;
  }

  void connect(unsigned number) {
    // The native ways do without a Java VM, and so does the process in which their memory is measured.
    if (number >= firstJava_) startVm(target_);
    clients_[number] = ways_.at(number).connect(target_);
  }

  static Work work(const Document& request) { return {request["table"].GetString(), request["rows"].GetInt64()}; }

  template <class Run>
  static void measure(Document& answer, Run run) {
    auto& memory = answer.GetAllocator();
    const double processorBefore = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    const double start = now();
    const Reading reading = run();
    answer.AddMember("wall", now() - start, memory);
    answer.AddMember("processor", secondsOf(CLOCK_PROCESS_CPUTIME_ID) - processorBefore, memory);
    answer.AddMember("first_row", reading.firstRow, memory);
    answer.AddMember("cells", reading.cells, memory);
    answer.AddMember("bytes", reading.bytes, memory);
  }

  /// Does the same work on several threads at once, each with a connection of its own.
  Reading runThreads(unsigned number, unsigned count, const Work& work) {
    std::vector<std::thread> threads;
    for (unsigned started = 0; started < count; ++started) {
      threads.emplace_back([&] {
        ways_.at(number).connect(target_)(work);
        detachThread();
      });
    }
    for (std::thread& thread : threads) thread.join();
    return {};
  }

  Target target_;
  std::vector<Way> ways_;
  std::size_t firstJava_;
  std::map<unsigned, Client> clients_;
};

Target parse(int count, char** arguments) {
  Target target;
  for (int index = 1; index < count; ++index) {
    const std::string argument = arguments[index];
    const std::size_t equals = argument.find('=');
    require(equals != std::string::npos, "not KEY=VALUE: " + argument);
    target[argument.substr(0, equals)] = argument.substr(equals + 1);
  }
  const char* password = std::getenv("PGPASSWORD");
  target["password"] = password == nullptr ? "" : password;
  return target;
}

}  // namespace
}  // namespace kivo::bench

int main(int count, char** arguments) {
  kivo::bench::Worker worker(kivo::bench::parse(count, arguments));
  for (std::string line; std::getline(std::cin, line);) std::cout << worker.answer(line) << std::endl;
  // The Java VM's threads must not outlive what the clients' destructors free.
  std::_Exit(EXIT_SUCCESS);
}
