// kivosql: reads from and writes to any JDBC database through libkivo_java_native_lib.so.

#include <unistd.h>

#include <csignal>

#include "cli/commands.h"
#include "jvm/class_path.h"
#include "session/java.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"
#include "terminal/password.h"

namespace {

using namespace kivosql;

void startJava(const Options& options) {
  const std::vector<std::string> classPath = kivo::findClassPath(options.classPath);
  for (const std::string& entry : classPath) {
    if (access(entry.c_str(), F_OK) == 0) continue;
    throw Failure("the class path has " + entry + ", which does not exist", kWrongUse);
  }
  const std::string error = startVm(kivo::findJvm(options.jvm), classPath, options.heapMegabytes);
  if (!error.empty()) throw Failure(error + "; kivosql doctor shows details", kNoJvm);
}

ExitCode work(const Options& options, Output& out) {
  startJava(options);
  const std::unique_ptr<Session> session = options.carrier->make();
  Context context{options, *session, out};
  if (const auto failure = attempt([&] { session->open(options.target); })) {
    report(context, *failure, "no connection: ");
    return kNoConnection;
  }
  ExitCode code = kDone;
  const auto failure = attempt([&] {
    const Interrupt interrupt([&session] { return session->cancel(); });
    code = options.command->run(context);
  });
  if (failure) code = report(context, *failure, "");
  // The statement that found the connection broken has already reported that.
  const bool reported = code == kInterrupted || (code != kDone && session->isBroken());
  const auto refused = attempt([&] { session->close(); });
  if (!refused || reported) return code;
  report(context, *refused, "at the end: ");
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  Options options;
  ExitCode code = kDone;
  const auto failure = attempt([&] {
    if (!parse(argc, argv, options)) return;
    options.target.password = findPassword(options.target.user, options.passwordFile);
    keepSecret(options.target.password);
    Output out(stdout);
    code = options.command->run == nullptr ? runDoctor(options, out) : work(options, out);
  });
  if (failure) {
    complain(failure->what());
    code = failure->code;
  }
  return code == kInterrupted ? Interrupt::exitCode() : code;
}
