// Reads and writes rows in each way that a native host has. bench.py says what to do and when.
//
//   kivo_bench KEY=VALUE...    jvm= classpath= heap= url= user=, for PostgreSQL also host= port= database=;
//                              PGPASSWORD is the password
//
// Each line of standard input is a request, which a line answers:
//
//   ways                   kind, name, text and whether it needs Java, of each way, separated by tabs
//   execute SQL
//   connect WAY            the way by its number
//   run WAY ROWS TABLE     seconds of the clock and of the processor, seconds until the first row, cells, bytes
//
// The answer to a failure begins with "error".
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "bench.h"

namespace kivo::bench {
namespace {

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Does what requests say.
class Worker {
 public:
  explicit Worker(Target target) : target_(std::move(target)), ways_(nativeWays()), firstJava_(ways_.size()) {
    for (const auto& ways : {javaPeers(), libraryWays()}) ways_.insert(ways_.end(), ways.begin(), ways.end());
  }

  std::string answer(const std::string& line) {
    std::istringstream request(line);
    std::ostringstream answer;
    try {
      handle(request, answer);
      return answer.str();
    } catch (const std::exception& failure) {
      std::string text = failure.what();
      for (char& byte : text) byte = byte == '\n' ? ' ' : byte;
      return "error " + text;
    }
  }

 private:
  void handle(std::istream& request, std::ostream& answer) {
    std::string what;
    std::size_t number = 0;
    Work work;
    request >> what;
    if (what == "ways") {
      for (const Way& way : ways_) {
        answer << way.kind << '\t' << way.name << '\t' << way.about << '\t' << (&way >= &ways_[firstJava_]) << '\t';
      }
    } else if (what == "execute") {
      execute(target_, rest(request));
    } else if (request >> number; what == "connect") {
      // The native ways do without a Java VM, and so does the process in which their memory is measured.
      if (number >= firstJava_) startVm(target_);
      clients_[number] = ways_.at(number).connect(target_);
    } else {
      request >> work.rows;
      work.table = rest(request);
      measure(clients_.at(number), work, answer);
    }
  }

  static std::string rest(std::istream& request) {
    std::string text;
    std::getline(request >> std::ws, text);
    return text;
  }

  static void measure(const Client& client, const Work& work, std::ostream& answer) {
    const double processorBefore = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    const double start = now();
    const Reading reading = client(work);
    const double wall = now() - start;
    answer << wall << ' ' << secondsOf(CLOCK_PROCESS_CPUTIME_ID) - processorBefore << ' ' << reading.firstRow << ' '
           << reading.cells << ' ' << reading.bytes;
  }

  Target target_;
  std::vector<Way> ways_;
  std::size_t firstJava_;
  std::map<std::size_t, Client> clients_;
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

double now() { return secondsOf(CLOCK_MONOTONIC); }

void require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error(what);
}

}  // namespace kivo::bench

int main(int count, char** arguments) {
  kivo::bench::Worker worker(kivo::bench::parse(count, arguments));
  for (std::string line; std::getline(std::cin, line);) std::cout << worker.answer(line) << std::endl;
  // The Java VM's threads must not outlive what the clients' destructors free.
  std::_Exit(EXIT_SUCCESS);
}
