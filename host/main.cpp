// kivosql: reads from and writes to any JDBC database through libkivo_java_native_lib.so.

#include <unistd.h>

#include <csignal>
#include <exception>

#include "cli/args.h"
#include "cli/commands.h"
#include "jvm/java_vm.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"
#include "terminal/password.h"

namespace {

using namespace kivosql;

/// @return false with the fault reported and @p code set.
bool addPassword(Options& options, ExitCode& code) {
  Password password = findPassword(options.target.user, options.passwordFile);
  keepSecret(password.text);
  options.target.password = password.text;
  if (!password.fault.empty()) complain(password.fault);
  code = password.interrupted ? kInterrupted : kWrongUse;
  return password.fault.empty() && !password.interrupted;
}

ExitCode startJava(const Options& options) {
  const Jvm jvm = findJvm(options.jvm);
  const ClassPath classPath = findClassPath(options.classPath);
  for (const std::string& entry : classPath.missing) complain("the class path has " + entry + ", which does not exist");
  if (!classPath.missing.empty()) return kWrongUse;
  const std::string error = jvm.library.empty() ? "no Java VM found" : startVm(jvm, classPath, options.heapMegabytes);
  if (error.empty()) return kDone;
  complain(error + "; kivosql doctor shows details");
  return kNoJvm;
}

/// Ends the session. The error of a broken connection was already reported by the statement that found it broken.
ExitCode close(Context& context, ExitCode code) {
  const bool reported = code != kDone && context.session.isBroken();
  if (context.session.close() || reported || code == kInterrupted) return code;
  failed(context, "at the end: ");
  return kFailed;
}

ExitCode work(const Options& options, Output& out) {
  if (const ExitCode code = startJava(options); code != kDone) return code;
  const std::unique_ptr<Session> session = options.carrier->make();
  Context context{options, *session, out};
  if (!session->open(options.target)) {
    failed(context, "no connection: ");
    return kNoConnection;
  }
  ExitCode code = kDone;
  try {
    const Interrupt interrupt(*session);
    code = options.command->run(context);
  } catch (const std::exception& error) {
    complain(error.what());
    code = kFailed;
  }
  return close(context, code);
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away shows as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  Options options;
  ExitCode code = kDone;
  if (!parse(argc, argv, options, code) || !addPassword(options, code)) return code;
  Output out(STDOUT_FILENO);
  code = options.command->run == nullptr ? runDoctor(options, out) : work(options, out);
  return code == kInterrupted ? Interrupt::exitCode() : code;
}
