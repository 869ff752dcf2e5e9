#include "cli/commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "sql/patterns.h"
#include "sql/statement_splitter.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

/// A person sees each row as it comes.
int blockRows() { return outputOnTerminal ? 1 : 1024; }

/// Runs one statement and shows what it gave.
using Run = void (*)(Context& context, const std::string& sql, Progress& progress);

std::unique_ptr<Writer> makeWriter(Context& context) {
  const Options& options = context.options;
  return options.format->make(context.out,
                              {options.null.value_or(options.format->null), options.maxCells, options.crlf});
}

void flush(Output& out) {
  if (!out.flush() && !out.abandoned()) throw Failure("cannot write: " + out.reason());
}

/// Writes the rows of the query that the session has begun.
void writeRows(Context& context, const std::vector<Column>& columns, Progress& progress) {
  // On one terminal the rows and the moving line would run into each other.
  if (outputOnTerminal) progress.stop();
  const std::unique_ptr<Writer> writer = makeWriter(context);
  if (context.results++ > 0) context.out.write(context.options.format->between);
  writer->begin(columns);
  unsigned long long rows = 0;
  const auto failure = attempt([&] {
    for (Row row; context.out.good() && context.session.next(row);) {
      checkInterrupt();
      writer->row(row);
      progress.advance(++rows);
      if (outputOnTerminal) context.out.flush();
    }
  });
  // A result that a failure cut off stays open, unless the script goes on.
  if (!failure || (context.options.keepGoing && !context.options.format->forPeople)) writer->end(rows);
  if (failure) throw Failure(*failure);
}

void query(Context& context, const std::string& sql, Progress& progress) {
  writeRows(context, context.session.query(sql, context.options.maxRows, blockRows()), progress);
}

void showChanged(Context& context, int rows, Progress& progress) {
  progress.advance(static_cast<unsigned>(rows));
  progress.stop();
  remark(context, counted(static_cast<unsigned>(rows), "row") + " changed");
}

void update(Context& context, const std::string& sql, Progress& progress) {
  showChanged(context, context.session.writing()->update(sql), progress);
}

void execute(Context& context, const std::string& sql, Progress& progress) {
  std::vector<Column> columns;
  const auto changed = context.session.writing()->execute(sql, context.options.maxRows, blockRows(), columns);
  if (!changed) return writeRows(context, columns, progress);
  showChanged(context, *changed, progress);
}

template <typename Found, typename MakeRow>
ExitCode writeList(Context& context, const std::vector<Column>& heading, const Found& found, MakeRow rowOf) {
  const std::unique_ptr<Writer> writer = makeWriter(context);
  writer->begin(heading);
  for (const auto& item : found) writer->row(rowOf(item));
  writer->end(found.size());
  flush(context.out);
  return kDone;
}

/// @param place of the statement, comes first in reports. @return kDone, or the code of the failure that is reported
ExitCode runStatement(Context& context, const Statement& statement, Run run, const std::string& place) {
  const std::string sql(statement.text);
  const auto failure = attempt([&] {
    // The interrupt may have come between two statements, where there was nothing to cancel.
    checkInterrupt();
    if (!statement.complete) throw Failure("a quote or comment in this statement never ends");
    if (!isUtf8(sql)) throw Failure("this statement is not UTF-8");
    Progress progress;
    run(context, sql, progress);
    flush(context.out);
    progress.stop();
    if (context.options.timing) say(progress.text());
  });
  if (!failure) return kDone;
  const ExitCode code = report(context, *failure, place);
  // A driver that runs several statements gives a place in one of them.
  const bool isPlaced = code == kFailed && splitStatements(sql, dialectOf(context.session.url())).size() == 1;
  const std::string line = isPlaced ? faultLine(sql, failure->details) : "";
  if (!line.empty()) say(line);
  return code;
}

/// Reads the statements of a file, or of standard input for "-".
std::string readScript(const std::string& path) {
  auto file = openInput(path);
  std::string script(std::istreambuf_iterator<char>(&file), {});
  const std::size_t nul = script.find('\0');
  if (nul == std::string::npos) return script;
  // Some drivers end the text there, and what is left of a statement may do far more than the whole of it.
  const auto line = 1 + std::count(script.begin(), script.begin() + static_cast<std::ptrdiff_t>(nul), '\n');
  throw Failure(path + ':' + std::to_string(line) + ": a NUL character; nothing was run");
}

/// Runs the command's own statement, or for "-" the one on standard input.
ExitCode runOne(Context& context, Run run) {
  const std::string& argument = context.options.arguments[0];
  if (argument != "-") return runStatement(context, {argument}, run, "");
  const std::string script = readScript(argument);
  const std::vector<Statement> statements = splitStatements(script, dialectOf(context.session.url()));
  if (statements.size() != 1) {
    throw Failure("standard input must hold one statement; use kivosql run for several", kWrongUse);
  }
  return runStatement(context, statements[0], run, "");
}

/// Throws if a statement begins or ends a transaction.
void checkTransactions(const std::string& script, Dialect dialect, const std::string& path) {
  for (const Statement& statement : splitStatements(script, dialect)) {
    if (!controlsTransaction(std::string(statement.text))) continue;
    throw Failure(path + ':' + std::to_string(statement.line) +
                  ": with --single-transaction, a script has no transactions of its own; nothing was run");
  }
}

ExitCode runStatements(Context& context, const std::string& path, const std::string& script, Dialect dialect) {
  const Format& format = *context.options.format;
  context.out.write(format.open);
  ExitCode worst = kDone;
  for (const Statement& statement : splitStatements(script, dialect)) {
    // If the reader of the output has had enough, the rest of the script is not run.
    if (!context.out.good()) return kFailed;
    const std::string place = path + ':' + std::to_string(statement.line) + ": ";
    const ExitCode code = runStatement(context, statement, execute, place);
    if (code != kDone) worst = code;
    // What was written stays open, so that nobody takes it for the whole.
    if (code != kDone && (!context.options.keepGoing || code == kInterrupted)) return worst;
  }
  context.out.write(format.close);
  flush(context.out);
  return worst;
}

}  // namespace

__gnu_cxx::stdio_filebuf<char> openInput(const std::string& path) {
  const bool isStandard = path == "-";
  const int descriptor = isStandard ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  __gnu_cxx::stdio_filebuf<char> file(descriptor, std::ios::in | std::ios::binary);
  struct stat status {};
  // A folder can be opened, but not read.
  if (file.is_open() && fstat(file.fd(), &status) == 0 && !S_ISDIR(status.st_mode)) return file;
  throw Failure("cannot read " + (isStandard ? "standard input" : path), kWrongUse);
}

void checkInterrupt() {
  if (Interrupt::happened()) throw Failure("interrupted", kInterrupted);
}

ExitCode report(Context& context, const Failure& failure, const std::string& place) {
  context.out.flush();
  if (Interrupt::happened()) {
    complain(place + "interrupted");
    return kInterrupted;
  }
  complain(place + failure.what());
  if (context.options.verbose && !failure.details.empty()) say(failure.details);
  return failure.code;
}

void commit(WrapperSession& session, const std::string& path) {
  checkInterrupt();
  const auto refused = attempt([&session] { session.endTransaction(true); });
  if (refused) throw refused->at(path + ": at the commit: ");
}

std::string rollBack(WrapperSession& session) {
  // The fate of a commit on a connection that broke is unknown.
  if (session.isBroken()) return "the connection broke";
  const auto failure = attempt([&session] { session.endTransaction(false); });
  return failure ? failure->what() : "";
}

void remark(Context& context, const std::string& text) {
  if (context.options.format->forPeople) {
    context.out.write(text).write("\n").flush();
  } else {
    say(text);
  }
}

ExitCode runQuery(Context& context) { return runOne(context, query); }

ExitCode runUpdate(Context& context) { return runOne(context, update); }

ExitCode runScript(Context& context) {
  const std::string& path = context.options.arguments[0];
  const std::string script = readScript(path);
  const Dialect dialect = dialectOf(context.session.url());
  if (!context.options.singleTransaction) return runStatements(context, path, script, dialect);
  checkTransactions(script, dialect, path);
  WrapperSession& session = *context.session.writing();
  session.beginTransaction();
  ExitCode code = kDone;
  const auto failure = attempt([&] {
    code = runStatements(context, path, script, dialect);
    if (code == kDone) commit(session, path);
  });
  if (failure) code = report(context, *failure, "");
  if (code == kDone) return code;
  const std::string doubt = rollBack(session);
  complain(doubt.empty() ? "nothing of " + path + " is stored" : "some of " + path + " may be stored: " + doubt);
  return code;
}

ExitCode runTables(Context& context) {
  const auto rowOf = [](const std::string& name) { return Row{{name, false}}; };
  return writeList(context, {{"table", 0, ""}}, context.session.tables(), rowOf);
}

ExitCode runDescribe(Context& context) {
  const auto rowOf = [](const Column& column) { return Row{{column.name, false}, {column.typeName, false}}; };
  return writeList(context, {{"column", 0, ""}, {"type", 0, ""}},
                   context.session.describe(context.options.arguments[0]), rowOf);
}

}  // namespace kivosql
