#include <algorithm>
#include <filesystem>

#include "cli/commands.h"
#include "cli/nearest.h"
#include "jvm/jar.h"
#include "jvm/java_vm.h"
#include "terminal/display.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

bool contains(const std::vector<std::string>& entries, const std::string& entry) {
  return std::find(entries.begin(), entries.end(), entry) != entries.end();
}

/// What a failed connection's text holds, and what helps.
struct Fix {
  const char* sign;
  const char* fix;
};

constexpr const char* kHost = "check --host, or the host in --url";
constexpr const char* kLogin = "check --user and the password";
constexpr const char* kName = "check the name of the database";
constexpr const char* kFolder = "check that the file's folder exists and that you may write there";

constexpr Fix kFixes[] = {
    {"NoClassDefFound", "put the jar or folder with this class on the class path: --class-path"},
    {"Unknown vendor", "--through wrapper takes any driver; jdbc only the vendors of JdbcUtils"},
    {"could not parse the url", "a URL is jdbc:, the driver's word, a colon and the driver's part"},
    {"refused", "check that the server runs, and check --host and --port, or --url"},
    {"UnknownHost", kHost},
    {"unknown host", kHost},
    {"fail to connect to host", kHost},
    {"[28", kLogin},
    {"assword", kLogin},
    {"uthentication", kLogin},
    {"Access denied", kLogin},
    {"[3D", kName},
    {"Unknown database", kName},
    {"database \"", kName},
    {"Database '", kName},
    {"path to '", kFolder},
    {"creating file", kFolder},
    {"", "read the driver's error; --verbose shows all of it"},
};

/// For a URL that no driver takes.
std::string fixForDriver(const std::string& url, const ClassPath& classPath) {
  const std::size_t begin = url.find(':') + 1;
  const std::string word = url.substr(begin, url.find(':', begin) - begin);
  std::vector<std::string> words;
  for (const DriverJar& driver : kDriverJars) {
    words.emplace_back(driver.word);
    if (word != driver.word) continue;
    if (contains(classPath.entries, driver.jar))
      return "the driver is installed: check that --url has the form that it takes";
    return std::string("apt-get install ") + driver.package + ", or --class-path with the driver's jar";
  }
  const std::string likely = nearest(word, words);
  return likely.empty() ? "put the driver's jar on the class path: --class-path JAR"
                        : "--url with jdbc:" + likely + ": instead of jdbc:" + word + ":";
}

std::string fixFor(const std::string& error, const std::string& url, const ClassPath& classPath) {
  if (error.find("no driver found") != std::string::npos) return fixForDriver(url, classPath);
  const auto* fix = std::find_if(std::begin(kFixes), std::end(kFixes),
                                 [&error](const Fix& row) { return error.find(row.sign) != std::string::npos; });
  return fix->fix;
}

class Report {
 public:
  explicit Report(Output& out) : out_(out) {}

  void heading(const std::string& text) { out_.write(text).write("\n").flush(); }

  void good(const std::string& name, const std::string& text) { line("✓", name, text); }

  /// Worth knowing, but nothing fails for it.
  void absent(const std::string& name, const std::string& fix) { line("·", name, "not installed: " + fix); }

  bool bad(const std::string& name, const std::string& text, const std::string& fix) {
    line("✗", name, text);
    line(" ", "", "fix: " + fix);
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
  report.good("version", jvm.version.empty() ? "unknown" : jvm.version);
  report.good("heap", "at most " + std::to_string(options.heapMegabytes) + " MB of this machine's " +
                          grouped(static_cast<unsigned long>(machineMegabytes())) + " MB");
  return true;
}

/// An entry that is there.
bool checkEntry(Report& report, const std::string& name, const std::string& entry, const std::string& fix) {
  std::error_code unknown;
  const bool good = std::filesystem::is_directory(entry, unknown) || isJar(entry);
  if (good) report.good(name, entry);
  return good || report.bad(name, entry + " is not a jar, or not all of one", fix);
}

bool checkDrivers(Report& report, const ClassPath& classPath) {
  bool good = true;
  for (const DriverJar& driver : kDriverJars) {
    const std::string package = driver.package;
    if (!contains(classPath.entries, driver.jar)) {
      report.absent(driver.word, "apt-get install " + package);
    } else if (!checkEntry(report, driver.word, driver.jar, "apt-get install --reinstall " + package)) {
      good = false;
    }
  }
  return good;
}

bool checkClassPath(Report& report, const Options& options, ClassPath& classPath) {
  constexpr const char* kBuild = "--class-path with the jar of the build";
  report.heading("Class path");
  classPath = findClassPath(options.classPath);
  bool good = classPath.companion.empty() ? report.bad("companion", "kivo-jdbc.jar is not beside this program", kBuild)
                                          : checkEntry(report, "companion", classPath.companion, kBuild);
  for (const std::string& entry : classPath.missing) {
    good = report.bad("entry", entry + " does not exist", "correct --class-path");
  }
  for (const std::string& entry : classPath.given) {
    good = checkEntry(report, "entry", entry, "get it again, or take it out of --class-path") && good;
  }
  return checkDrivers(report, classPath) && good;
}

bool checkConnection(Report& report, const Options& options, const ClassPath& classPath) {
  report.heading(std::string("Connection, through ") + options.carrier->name);
  const std::unique_ptr<Session> session = options.carrier->make();
  const std::optional<Failure> failure = attempt([&] { session->open(options.target); });
  const std::string name = session->url().empty() ? options.target.url + options.target.type : session->url();
  if (failure) {
    report.bad("connect", name + ": " + failure->what(), fixFor(failure->what(), name, classPath));
    if (options.verbose) report.details(failure->details);
    return false;
  }
  report.good("connect", name);
  attempt([&session] { session->close(); });
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
  const bool connected = checkConnection(report, options, classPath);
  return connected && complete ? kDone : kNoConnection;
}

}  // namespace kivosql
