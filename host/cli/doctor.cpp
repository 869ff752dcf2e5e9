#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "cli/commands.h"
#include "jvm/class_path.h"
#include "session/java.h"
#include "terminal/display.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

constexpr const char* kServer = "check that the server runs, and check --host and --port, or --url";
constexpr const char* kLogin = "check --user and the password";

/// What a failed connection's text holds, the SQLState in brackets or words of the library and of Java, and what helps.
constexpr std::pair<const char*, const char*> kFixes[] = {
    {"NoClassDefFound", "put the jar or folder with this class on the class path: --class-path"},
    {"Unknown vendor", "--through wrapper takes any driver; jdbc only the vendors of JdbcUtils"},
    {"[08", kServer},
    {"refused", kServer},
    {"UnknownHost", kServer},
    {"[28", kLogin},
    {"authentication", kLogin},
    {"[3D", "check the name of the database"},
    {"", "read the driver's error; --verbose shows all of it"},
};

std::string fixFor(const std::string& error, const std::string& url, const std::vector<std::string>& classPath) {
  const bool hasDriver = error.find("no driver found") == std::string::npos;
  for (const auto& [sign, fix] : kFixes) {
    if (hasDriver && error.find(sign) != std::string::npos) return fix;
  }
  for (const kivo::DriverJar& driver : kivo::kDriverJars) {
    if (url.rfind(std::string("jdbc:") + driver.word + ':', 0) != 0) continue;
    if (std::count(classPath.begin(), classPath.end(), driver.jar) > 0)
      return "the driver is installed: check the form of --url";
    return std::string("apt-get install ") + driver.package + ", or --class-path with the driver's jar";
  }
  return "put the driver's jar on the class path, --class-path JAR, or check the word after jdbc: in --url";
}

/// Flushed, since the next check may take long or end the process.
void report(Output& out, const char* mark, const std::string& text) {
  out.write("  ").write(mark).write(" ").write(visible(masked(text))).write("\n").flush();
}

/// @return false
bool bad(Output& out, const std::string& text, const std::string& fix) {
  report(out, "✗", text);
  report(out, " ", "fix: " + fix);
  return false;
}

bool checkVm(Output& out, const Options& options, const kivo::Jvm& jvm) {
  out.write("Java VM\n");
  if (jvm.library.empty()) {
    return bad(out, options.jvm.empty() ? "no Java VM found" : "no Java VM in " + options.jvm,
               "apt-get install default-jre-headless, or --jvm with a Java home");
  }
  report(out, "✓",
         jvm.library + ", by " + jvm.foundBy + ", version " + (jvm.version.empty() ? "unknown" : jvm.version));
  report(out, "✓",
         "a heap of at most " + std::to_string(options.heapMegabytes) + " MB of this machine's " +
             grouped(kivo::machineMegabytes()) + " MB");
  return true;
}

/// Whether a jar is complete. A zip file ends with a record of its contents and a comment of up to 65,535 bytes; a Java
/// VM ignores a file without it silently.
bool isJar(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string jar(std::istreambuf_iterator<char>(file), {});
  const std::size_t record = jar.rfind("PK\x05\x06");
  return record != std::string::npos && record + 22 + 65535 >= jar.size();
}

bool checkClassPath(Output& out, const std::vector<std::string>& classPath) {
  out.write("Class path\n");
  bool good = true;
  bool hasCompanion = false;
  for (const std::filesystem::path entry : classPath) {
    std::error_code unknown;
    const bool usable = std::filesystem::is_directory(entry, unknown) || isJar(entry);
    if (usable) report(out, "✓", entry);
    if (!usable)
      good = bad(out, entry.string() + " is missing, or neither a folder nor a complete jar", "install it again");
    hasCompanion = hasCompanion || entry.filename() == kivo::kCompanionJar;
  }
  if (!hasCompanion)
    good = bad(out, "kivo-jdbc.jar is not beside this program or in ../share/java",
               "--class-path with the jar of the build");
  for (const kivo::DriverJar& driver : kivo::kDriverJars) {
    if (std::count(classPath.begin(), classPath.end(), driver.jar) > 0) continue;
    report(out, "·", driver.word + std::string(" is not installed: apt-get install ") + driver.package);
  }
  return good;
}

bool checkConnection(Output& out, const Options& options, const std::vector<std::string>& classPath) {
  out.write("Connection, through ").write(options.carrier->name).write("\n");
  const std::unique_ptr<Session> session = options.carrier->make();
  const std::optional<Failure> failure = attempt([&] { session->open(options.target); });
  const std::string url = session->url().empty() ? options.target.url + options.target.type : session->url();
  if (failure) {
    bad(out, url + ": " + failure->what(), fixFor(failure->what(), url, classPath));
    if (options.verbose) out.write(visible(masked(failure->details), "\n\t")).write("\n");
    return false;
  }
  report(out, "✓", "connected to " + url);
  attempt([&session] { session->close(); });
  return true;
}

}  // namespace

ExitCode runDoctor(const Options& options, Output& out) {
  const kivo::Jvm jvm = kivo::findJvm(options.jvm);
  const std::vector<std::string> classPath = kivo::findClassPath(options.classPath);
  const bool found = checkVm(out, options, jvm);
  const bool complete = checkClassPath(out, classPath);
  const std::string error = startVm(jvm, classPath, options.heapMegabytes);
  if (found && !error.empty()) bad(out, error, "another Java VM: --jvm");
  if (!error.empty()) return kNoJvm;
  return checkConnection(out, options, classPath) && complete ? kDone : kNoConnection;
}

}  // namespace kivosql
