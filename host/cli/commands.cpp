#include "cli/commands.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>

#include "sql/statement_splitter.h"
#include "terminal/fault_line.h"
#include "terminal/interrupt.h"
#include "terminal/messages.h"
#include "terminal/progress.h"

namespace kivosql {

namespace {

std::unique_ptr<Writer> makeWriter(Context& context) {
  const Options& options = context.options;
  const char* noColour = std::getenv("NO_COLOR");
  Style style;
  style.null = options.null.value_or(options.format->null);
  style.maxCells = options.maxCells;
  style.crlf = options.crlf;
  style.colours = outputOnTerminal() && (noColour == nullptr || *noColour == '\0');
  return options.format->make(context.out, style);
}

/// What became of the writing.
ExitCode flushed(Output& out) {
  if (out.flush() || out.abandoned()) return kDone;
  complain("cannot write: " + out.reason());
  return kFailed;
}

/// Writes the rows of the query that the session has begun.
Step writeRows(Context& context, Progress& progress, unsigned long long& rows) {
  const std::unique_ptr<Writer> writer = makeWriter(context);
  if (context.results++ > 0) context.out.write(context.options.format->ofScript.between);
  writer->begin(context.session.columns());
  Row row;
  Step step = Step::row;
  while (context.out.good() && !Interrupt::happened() && (step = context.session.next(row)) == Step::row) {
    writer->row(row);
    progress.advance(++rows);
    if (outputOnTerminal()) context.out.flush();
  }
  // In a script that goes on, more follows what a failure cut off.
  const bool goesOn = context.options.keepGoing && !context.options.format->forPeople;
  if (step == Step::end || goesOn) writer->end(rows);
  return Interrupt::happened() ? Step::failed : step;
}

/// Reports that the statement failed, and where in it.
ExitCode statementFailed(const Context& context, const std::string& sql, const std::string& place) {
  const ExitCode code = failed(context, place);
  StatementSplitter splitter(sql, dialectOf(context.session.url()));
  Statement statement;
  // A driver that runs several counts in one of them.
  const bool isOne = splitter.next(statement) && !splitter.next(statement);
  const std::string line = isOne && code == kFailed ? faultLine(sql, context.session.details()) : "";
  if (!line.empty()) say(line);
  return code;
}

ExitCode query(Context& context, const std::string& sql, const std::string& place) {
  Progress progress;
  const Stopwatch watch;
  unsigned long long rows = 0;
  const bool begun = context.session.query(sql, context.options.maxRows);
  // On one terminal the rows and the moving line would run into each other.
  if (outputOnTerminal()) progress.stop();
  const Step step = begun ? writeRows(context, progress, rows) : Step::failed;
  const ExitCode code = flushed(context.out);
  progress.stop();
  if (step == Step::failed) return statementFailed(context, sql, place);
  tellTiming(context, rows, watch.elapsed());
  return code;
}

ExitCode update(Context& context, const std::string& sql, const std::string& place) {
  Progress progress;
  const Stopwatch watch;
  const int count = context.session.writing()->update(sql);
  progress.stop();
  if (count < 0) return statementFailed(context, sql, place);
  remark(context, counted(static_cast<unsigned>(count), "row") + " changed");
  tellTiming(context, static_cast<unsigned>(count), watch.elapsed());
  return flushed(context.out);
}

ExitCode writeList(Context& context, const std::vector<Column>& columns, const std::vector<Row>& rows) {
  const std::unique_ptr<Writer> writer = makeWriter(context);
  writer->begin(columns);
  for (const Row& row : rows) writer->row(row);
  writer->end(rows.size());
  return flushed(context.out);
}

/// Whether the statement can be run; otherwise the reason is reported.
bool isUsable(const Statement& statement, const std::string& place) {
  const bool utf8 = isUtf8(std::string(statement.text));
  if (!statement.complete) complain(place + "a quote or comment in this statement never ends");
  if (statement.complete && !utf8) complain(place + "this statement is not UTF-8");
  return statement.complete && utf8;
}

ExitCode runStatement(Context& context, const Statement& statement, Dialect dialect, const std::string& place) {
  if (!isUsable(statement, place)) return kFailed;
  const std::string sql(statement.text);
  return givesRows(sql, dialect) ? query(context, sql, place) : update(context, sql, place);
}

/// Some drivers end the text at a NUL, and what is left of a statement may do far more than the whole of it.
bool holdsNul(const std::string& script, const std::string& path) {
  const std::size_t at = script.find('\0');
  if (at == std::string::npos) return false;
  const auto line = 1 + std::count(script.begin(), script.begin() + static_cast<std::ptrdiff_t>(at), '\n');
  complain(path + ':' + std::to_string(line) + ": a NUL character; nothing was run");
  return true;
}

/// Reads the statements of a file, or of standard input for "-". @return false with the fault reported.
bool readScript(const std::string& path, std::string& script, ExitCode& code) {
  std::ifstream file;
  std::istream* const input = openInput(path, file);
  code = kWrongUse;
  if (input == nullptr) return false;
  script.assign(std::istreambuf_iterator<char>(input->rdbuf()), {});
  if (script.rfind("\xEF\xBB\xBF", 0) == 0) script.erase(0, 3);  // a byte order mark
  if (standardInputFailed()) {
    complain("cannot read standard input");
    return false;
  }
  code = kFailed;
  return !holdsNul(script, path);
}

/// Runs the command's own statement, or for "-" the one on standard input.
ExitCode runOne(Context& context, ExitCode (*run)(Context&, const std::string&, const std::string&)) {
  const std::string& argument = context.options.arguments[0];
  if (argument != "-") return run(context, argument, "");
  std::string script;
  if (ExitCode code = kDone; !readScript(argument, script, code)) return code;
  StatementSplitter splitter(script, dialectOf(context.session.url()));
  Statement first;
  Statement second;
  if (!splitter.next(first) || splitter.next(second)) {
    complain("standard input must hold one statement; use kivosql run for several");
    return kWrongUse;
  }
  return isUsable(first, "") ? run(context, std::string(first.text), "") : kFailed;
}

/// Whether a statement begins or ends a transaction, which is reported.
bool hasOwnTransactions(const std::string& script, Dialect dialect, const std::string& path) {
  StatementSplitter splitter(script, dialect);
  Statement statement;
  while (splitter.next(statement)) {
    if (!leavesTransaction(statement.text, false) && leavesTransaction(statement.text, true)) continue;
    complain(path + ':' + std::to_string(statement.line) +
             ": with --single-transaction, a script has no transactions of its own; nothing was run");
    return true;
  }
  return false;
}

ExitCode runStatements(Context& context, const std::string& path, const std::string& script, Dialect dialect) {
  StatementSplitter splitter(script, dialect);
  const Results& results = context.options.format->ofScript;
  context.out.write(results.open);
  ExitCode worst = kDone;
  Statement statement;
  while (splitter.next(statement)) {
    // A reader that had enough rows has not had the rest of the script run.
    if (!context.out.good()) return kFailed;
    const std::string place = path + ':' + std::to_string(statement.line) + ": ";
    // It may have come between two statements, where there was nothing to cancel.
    const ExitCode code =
        Interrupt::happened() ? failed(context, place) : runStatement(context, statement, dialect, place);
    if (code != kDone) worst = code;
    // What was written stays open, so that nobody takes it for the whole.
    if (code != kDone && (!context.options.keepGoing || code == kInterrupted)) return worst;
  }
  context.out.write(results.close);
  const ExitCode written = flushed(context.out);
  return worst == kDone ? written : worst;
}

/// Steps over one name, quoted or not. @return where it ends, @p at when there is none.
std::size_t endOfName(const std::string& text, std::size_t at) {
  const char quote = at < text.size() ? text[at] : '\0';
  if (quote == '"' || quote == '`') {
    const std::size_t end = text.find(quote, at + 1);
    return end == std::string::npos || end == at + 1 ? at : end + 1;
  }
  const auto isPart = [](unsigned char byte) {
    return std::isalnum(byte) != 0 || byte == '_' || byte == '$' || byte == '#' || byte >= 0x80;
  };
  while (at < text.size() && isPart(static_cast<unsigned char>(text[at]))) ++at;
  return at;
}

}  // namespace

bool isTableName(const std::string& text) {
  std::size_t at = 0;
  while (true) {
    const std::size_t end = endOfName(text, at);
    if (end == at || end == text.size()) return end != at;
    if (text[end] != '.') return false;
    at = end + 1;
  }
}

std::istream* openInput(const std::string& path, std::ifstream& file) {
  if (path == "-") return &std::cin;
  std::error_code unknown;
  // A folder can be opened, but not read.
  if (!std::filesystem::is_directory(path, unknown)) file.open(path, std::ios::binary);
  if (file.is_open()) return &file;
  complain("cannot read " + path);
  return nullptr;
}

bool standardInputFailed() { return std::ferror(stdin) != 0; }

ExitCode failed(const Context& context, const std::string& what) {
  if (Interrupt::happened()) {
    complain(what + "interrupted");
    return kInterrupted;
  }
  complain(what + context.session.error());
  if (context.options.verbose && !context.session.details().empty()) say(context.session.details());
  return kFailed;
}

std::string endTransaction(Context& context, ExitCode& code, const std::string& place) {
  WritingSession& session = *context.session.writing();
  if (code == kDone && Interrupt::happened()) code = failed(context, place);
  if (code == kDone) {
    if (session.endTransaction(true)) return {};
    code = failed(context, place + "at the commit: ");
  }
  // One that broke is gone at once; what it had begun to commit is not known.
  if (session.isBroken()) return "the connection broke";
  return session.endTransaction(false) ? "" : session.error();
}

void remark(Context& context, const std::string& text) {
  if (context.options.format->forPeople) {
    context.out.write(text).write("\n").flush();
  } else {
    say(text);
  }
}

void tellTiming(const Context& context, unsigned long long rows, double elapsed) {
  if (!context.options.timing) return;
  const double rate = static_cast<double>(rows) / elapsed;
  say(counted(rows, "row") + " in " + seconds(elapsed) + ", " + counted(static_cast<unsigned long long>(rate), "row") +
      " per second");
}

ExitCode runQuery(Context& context) { return runOne(context, query); }

ExitCode runUpdate(Context& context) { return runOne(context, update); }

ExitCode runScript(Context& context) {
  const std::string& path = context.options.arguments[0];
  std::string script;
  if (ExitCode code = kDone; !readScript(path, script, code)) return code;
  const Dialect dialect = dialectOf(context.session.url());
  if (!context.options.singleTransaction) return runStatements(context, path, script, dialect);
  if (hasOwnTransactions(script, dialect, path)) return kFailed;
  if (!context.session.writing()->beginTransaction()) return failed(context, path + ": ");
  ExitCode code = runStatements(context, path, script, dialect);
  const std::string doubt = endTransaction(context, code, path + ": ");
  if (code == kDone) return code;
  complain(doubt.empty() ? "nothing of " + path + " is stored" : "some of " + path + " may be stored: " + doubt);
  return code;
}

ExitCode runTables(Context& context) {
  std::vector<std::string> names;
  if (!context.session.tables(names)) return failed(context, "");
  std::vector<Row> rows;
  rows.reserve(names.size());
  for (const std::string& name : names) rows.push_back({{name, false}});
  return writeList(context, {{"table", 0, ""}}, rows);
}

ExitCode runDescribe(Context& context) {
  const std::string& table = context.options.arguments[0];
  if (!isTableName(table)) {
    complain("\"" + table + "\" is not the name of a table");
    return kWrongUse;
  }
  if (!context.session.describe(table)) return failed(context, "");
  std::vector<Row> rows;
  for (const Column& column : context.session.columns())
    rows.push_back({{column.name, false}, {column.typeName, false}});
  return writeList(context, {{"column", 0, ""}, {"type", 0, ""}}, rows);
}

}  // namespace kivosql
