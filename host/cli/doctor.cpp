#include <algorithm>

#include "cli/commands.h"
#include "jvm/java_vm.h"
#include "terminal/display.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

/// What a failed connection's text holds, and what helps.
struct Cure {
  const char* sign;
  const char* cure;
};

constexpr Cure kCures[] = {
    {"driver", "put the driver's jar on the class path: --class-path JAR"},
    {"NoClassDefFound", "put the driver's jar on the class path: --class-path JAR"},
    {"Unknown vendor", "--through wrapper takes any driver; jdbc only the vendors of JdbcUtils"},
    {"refused", "see that the server runs, and that --host and --port, or --url, are right"},
    {"UnknownHost", "see that --host, or the host in --url, is right"},
    {"unknown host", "see that --host, or the host in --url, is right"},
    {"[28", "see that --user and the password are right"},
    {"assword", "see that --user and the password are right"},
    {"uthentication", "see that --user and the password are right"},
    {"Access denied", "see that --user and the password are right"},
    {"[3D", "see that the database's name is right"},
    {"", "read what the driver says; --verbose shows all of it"},
};

std::string cureFor(const std::string& error) {
  const auto* cure = std::find_if(std::begin(kCures), std::end(kCures),
                                  [&error](const Cure& row) { return error.find(row.sign) != std::string::npos; });
  return cure->cure;
}

class Report {
 public:
  explicit Report(Output& out) : out_(out) {}

  void heading(const std::string& text) { out_.write(text).write("\n").flush(); }

  void good(const std::string& name, const std::string& text) { line("✓", name, text); }

  /// Worth knowing, but nothing fails for it.
  void absent(const std::string& name, const std::string& cure) { line("·", name, "not here: " + cure); }

  bool bad(const std::string& name, const std::string& text, const std::string& cure) {
    line("✗", name, text);
    line(" ", "", "cure: " + cure);
    return false;
  }

  void details(const std::string& text) { out_.write(visible(masked(text), "\n\t")).write("\n"); }

 private:
  void line(const char* mark, const std::string& name, const std::string& text) {
    const std::size_t cells = cellsOf(name);
    out_.write("  ").write(mark).write(" ").write(name).fill(" ", 12 - std::min<std::size_t>(cells, 11));
    // What is checked next may take long, or end the process.
    out_.write(visible(masked(text))).write("\n").flush();
  }

  Output& out_;
};

bool checkVm(Report& report, const Options& options, Jvm& jvm) {
  report.heading("Java VM");
  jvm = findJvm(options.jvm);
  if (jvm.library.empty()) {
    return report.bad("library", options.jvm.empty() ? "no Java VM found" : "no Java VM in " + options.jvm,
                      "apt-get install default-jre-headless, or --jvm with a Java home");
  }
  report.good("library", jvm.library + ", by " + jvm.foundBy);
  report.good("version", jvm.version.empty() ? "not told" : jvm.version);
  report.good("heap", "at most " + std::to_string(options.heapMegabytes) + " MB of this machine's " +
                          grouped(static_cast<unsigned long>(machineMegabytes())) + " MB");
  return true;
}

bool checkClassPath(Report& report, const Options& options, ClassPath& classPath) {
  report.heading("Class path");
  classPath = findClassPath(options.classPath);
  bool good = !classPath.companion.empty();
  if (good) {
    report.good("companion", classPath.companion);
  } else {
    report.bad("companion", "kivo-jdbc.jar is not beside this program", "--class-path with the jar of the build");
  }
  for (const std::string& entry : classPath.missing) {
    good = report.bad("entry", entry + " does not exist", "correct --class-path");
  }
  for (const std::string& entry : classPath.given) report.good("entry", entry);
  for (const DriverJar& driver : kDriverJars) {
    const auto& entries = classPath.entries;
    const bool there = std::find(entries.begin(), entries.end(), driver.jar) != entries.end();
    if (there) report.good(driver.word, driver.jar);
    if (!there) report.absent(driver.word, std::string("apt-get install ") + driver.package);
  }
  return good;
}

bool checkConnection(Report& report, const Options& options) {
  report.heading(std::string("Connection, through ") + options.carrier->name);
  const std::unique_ptr<Session> session = options.carrier->make();
  const bool connected = session->open(options.target);
  const std::string name = session->url().empty() ? options.target.url + options.target.type : session->url();
  if (!connected) {
    report.bad("connect", name + ": " + session->error(), cureFor(session->error()));
    if (options.verbose) report.details(session->details());
    return false;
  }
  report.good("connect", name);
  session->close();
  return true;
}

}  // namespace

ExitCode runDoctor(const Options& options, Output& out) {
  Report report(out);
  Jvm jvm;
  ClassPath classPath;
  const bool found = checkVm(report, options, jvm);
  const bool complete = checkClassPath(report, options, classPath);
  const std::string error = found ? startVm(jvm, classPath, options.heapMegabytes) : "";
  if (!error.empty()) report.bad("start", error, "another Java VM: --jvm");
  if (!found || !error.empty()) return kNoJvm;
  const bool connected = checkConnection(report, options);
  return connected && complete ? kDone : kNoConnection;
}

}  // namespace kivosql
