#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/commands.h"
#include "jvm/find_jvm.h"
#include "kivo_version.h"
#include "sql/patterns.h"

namespace kivosql {

namespace {

constexpr const char* kExamples = R"(Examples:
  Try it; with no connection, an H2 database in memory that ends with the program:
    kivosql query "select 6 * 7 as answer"

  A script, with the URL's parts, and the password in a file that only you can read:
    kivosql --type postgresql --host db --database shop --user ada --password-file ~/.shop run setup.sql

  Export, with a prompt for the password, and load somewhere else; each batch of rows is one transaction:
    kivosql --url jdbc:postgresql://db/shop --user ada query "select * from orders" --format csv > orders.csv
    kivosql --url jdbc:h2:./copy load orders.csv orders

  Something does not work:
    kivosql --url jdbc:oracle:thin:@db:1521:shop doctor

The password comes from --password-file, from KIVO_PASSWORD or from a prompt; never from an argument.
Exit codes: 0 done, 1 a statement failed, 2 wrong use, 3 no connection, 4 no Java VM, 130 interrupted
(143 by SIGTERM, 129 by SIGHUP).)";

/// An option whose value is the name of a table's row.
template <typename Row, std::size_t Size>
void addChoice(CLI::App& app, const std::string& option, const Row (&table)[Size], const Row*& chosen,
               std::string about) {
  std::vector<std::string> names;
  for (const Row& row : table) {
    names.emplace_back(row.name);
    about += std::string("\n  ") + row.name + ": " + row.about;
  }
  const auto choose = [&table, &chosen](const std::string& name) {
    chosen = std::find_if(std::begin(table), std::end(table), [&name](const Row& row) { return name == row.name; });
  };
  app.add_option_function<std::string>(option, choose, about)
      ->check(CLI::IsMember(names).description(""))
      ->type_name("NAME");
}

/// Refuses a value with a password in it. @param before makes a part of a URL look as it does in one
CLI::Validator noPassword(const std::string& before) {
  const auto check = [before](const std::string& value) {
    return holdsPassword(before + value) ? "a password here can be read by everyone on this machine: use "
                                           "--password-file, KIVO_PASSWORD or the prompt"
                                         : "";
  };
  return {check, ""};
}

/// Help of a command has the program's own options too.
class Help : public CLI::Formatter {
 public:
  std::string make_footer(const CLI::App* app) const override {
    const CLI::App* program = app->get_parent();
    const std::string options = program == nullptr ? "" : make_groups(program, CLI::AppFormatMode::Sub) + '\n';
    return options + Formatter::make_footer(app);
  }
};

void addConnection(CLI::App& app, Options& options) {
  app.option_defaults()->group("Connection (default: an H2 database in memory)");
  Target& target = options.target;
  CLI::Option* const url = app.add_option("--url", target.url, "A JDBC URL of any driver on the class path");
  url->check(noPassword(""));
  CLI::Option* const type = app.add_option("--type", target.type, "Instead of a URL, its parts: the kind of database");
  type->type_name("NAME")->excludes(url);
  type->check(CLI::IsMember({"postgresql", "mariadb", "sqlite", "h2", "derby", "hsqldb", "oracle", "sqlserver", "mssql",
                             "db2", "netezza", "teradata", "velmar", "kdb"}));
  for (CLI::Option* part :
       {app.add_option("--host", target.host, "Its host"),
        app.add_option("--port", target.port, "Its port; without one, the driver's default"),
        app.add_option("--instance", target.instance, "Its instance, or database if it has no instances"),
        app.add_option("--database", target.database, "Its database, or database file")}) {
    part->needs(type)->check(noPassword("//"));
  }
  app.add_option("--user", target.user, "The user");
  app.add_option("--password-file", options.passwordFile, "A file that only you can read, with the password in it");
  addChoice(app, "--through", kCarriers, options.carrier, "Library class to use:");
  app.add_option("--class", target.className, "The bridge's Java connection class")->capture_default_str();
}

void addOutput(CLI::App& app, Options& options) {
  app.option_defaults()->group("Output");
  addChoice(app, "--format", kFormats, options.format, "How rows are written:");
  app.add_option("--null", options.null, "Text for NULL in output and in load; JSON always has null");
  app.add_flag("--crlf", options.crlf, "End CSV lines with CR LF, as in RFC 4180, instead of LF");
  app.add_option("--width", options.maxCells, "Maximum width of a table cell, 0 for no limit")->capture_default_str();
  app.add_option("--max-rows", options.maxRows, "Maximum rows per query, 0 for no limit")->capture_default_str();
  app.add_flag("--timing", options.timing, "Show how long it took");
  app.add_flag("--verbose", options.verbose, "With an error, show Java's full error output");
}

void addJava(CLI::App& app, Options& options) {
  app.option_defaults()->group("Java VM");
  app.add_option("--jvm", options.jvm, "A Java home, or a libjvm.so");
  app.add_option("--class-path", options.classPath,
                 "Jars and folders, separated by ':'; searched before the jars that kivosql finds itself")
      ->allow_extra_args(false);
  app.add_option("--heap-mb", options.heapMegabytes, "Maximum Java heap in MB")->capture_default_str();
}

void addCommands(CLI::App& app, Options& options) {
  app.fallthrough();  // options may follow the command too
  app.require_subcommand(1);
  app.option_defaults()->group("Options");
  const CLI::Validator isUtf8Text([](const std::string& text) { return isUtf8(text) ? "" : "not UTF-8"; }, "");
  const CLI::Validator isTable(
      [](const std::string& text) { return isTableName(text) ? "" : '"' + text + "\" is not the name of a table"; },
      "");
  for (const Command& command : kCommands) {
    CLI::App* added = app.add_subcommand(command.name, command.about);
    added->callback([&options, &command] { options.command = &command; });
    for (std::size_t argument = 0; argument < 2 && command.arguments[argument].name != nullptr; ++argument) {
      const Argument& row = command.arguments[argument];
      CLI::Option* option = added->add_option(row.name, options.arguments[argument], row.about)->required();
      // SQL and names go to Java as text, and names into SQL as they stand; a file's name is only bytes.
      if (std::string_view(row.name) != "FILE") option->check(isUtf8Text);
      if (std::string_view(row.name) == "TABLE") option->check(isTable);
    }
  }
  CLI::App* const run = app.get_subcommand("run");
  CLI::App* const load = app.get_subcommand("load");
  for (CLI::App* command : {run, load}) {
    command->add_flag("--single-transaction", options.singleTransaction,
                      "Store everything or, after a failure, nothing");
  }
  run->add_flag("--keep-going", options.keepGoing, "Go on after a statement that failed")
      ->excludes("--single-transaction");
  load->add_flag("--no-header", options.noHeader, "The first line is a row, in the order of the table's columns");
  load->add_option("--batch", options.batchRows,
                   "Maximum rows per batch, a transaction of its own unless --single-transaction")
      ->capture_default_str();
}

/// What the parser cannot see. @return the fault, empty when there is none
std::string faultOf(Options& options) {
  Target& target = options.target;
  const Carrier& carrier = *options.carrier;
  if (target.type.empty() && target.url.empty()) target.url = "jdbc:h2:mem:kivosql";
  if (!target.type.empty() && !carrier.isComplete) return std::string("--through ") + carrier.name + " needs --url";
  if (!carrier.takesAnyScheme && target.type.empty() && target.url.rfind("jdbc:", 0) != 0) {
    return "--url must begin with jdbc:, as in jdbc:postgresql://HOST/DATABASE, jdbc:mariadb://HOST/DATABASE or "
           "jdbc:sqlite:FILE, with --user apart";
  }
  const bool isCsv = options.format->isCsv || options.command->run == runLoad;
  if (options.command->writes && !carrier.isComplete) return std::string("--through ") + carrier.name + " only reads";
  if (isCsv && options.null.value_or("").find_first_of(",\"\r\n") != std::string::npos) {
    return "--null for CSV cannot have a comma, a quote or a line end in it";
  }
  if (options.crlf && !options.format->isCsv) return "--crlf needs --format csv";
  if (options.batchRows == 0) return "--batch must be at least 1";
  if (options.maxRows < 0) return "--max-rows must not be negative";
  return kivo::heapFault(options.heapMegabytes);
}

/// The parser's text, or the unexpected argument alone: what follows the name of an option may be a password.
std::string faultOf(const CLI::App& app, const CLI::ParseError& error) {
  std::vector<std::string> unexpected = app.remaining(true);
  if (unexpected.empty()) return error.what();
  const auto isOption = [](const std::string& argument) { return argument.size() > 1 && argument.front() == '-'; };
  const auto option = std::find_if(unexpected.begin(), unexpected.end(), isOption);
  if (option == unexpected.end()) return "unexpected argument \"" + unexpected.front() + '"';
  const std::size_t end = (*option)[1] == '-' ? option->find('=') : 2;
  return "unexpected option " + option->substr(0, end);
}

}  // namespace

void addCommandLine(CLI::App& app, Options& options) {
  app.name("kivosql");
  app.description("Reads from and writes to any JDBC database.");
  options.arguments.resize(2);
  app.set_version_flag("--version", "kivosql " KIVO_VERSION);
  app.footer(kExamples);
  app.formatter(std::make_shared<Help>());
  addConnection(app, options);
  addOutput(app, options);
  addJava(app, options);
  addCommands(app, options);
}

bool parse(int argc, char** argv, Options& options) {
  CLI::App app;
  addCommandLine(app, options);
  std::string fault;
  try {
    app.parse(argc, argv);
    fault = faultOf(options);
  } catch (const CLI::Success& help) {
    app.exit(help);
    return false;
  } catch (const CLI::ParseError& error) {
    fault = faultOf(app, error);
  }
  if (!fault.empty()) throw Failure(fault + " (kivosql --help shows how)", kWrongUse);
  return true;
}

}  // namespace kivosql
