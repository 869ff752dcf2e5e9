#include "cli/args.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>

#include "cli/commands.h"
#include "cli/connection_parts.h"
#include "cli/nearest.h"
#include "cli/usage_errors.h"
#include "jvm/java_vm.h"
#include "terminal/messages.h"
#include "terminal/password.h"

namespace kivosql {

namespace {

constexpr const char* kExamples = R"(Examples:
  Try it; with no connection, an H2 database in memory that ends with the program:
    kivosql query "select 6 * 7 as answer"
    kivosql run setup.sql

  Any JDBC database, by its URL; a prompt asks for the password:
    kivosql --url jdbc:postgresql://db/shop --user ada query "select * from orders"

  For a script: the URL from its parts, and the password from a file that only you can read:
    kivosql --type postgresql --host db --database shop --user ada --password-file ~/.shop tables

  Export, and load somewhere else; each batch of rows is one transaction:
    kivosql --url jdbc:postgresql://db/shop --user ada query "select * from orders" --format csv > orders.csv
    kivosql --url jdbc:h2:./copy load orders.csv orders

  Something does not work:
    kivosql --url jdbc:oracle:thin:@db:1521:shop doctor

The password comes from --password-file, from KIVO_PASSWORD or from a prompt; never from an argument.
Exit codes: 0 done, 1 a statement failed, 2 wrong use, 3 no connection, 4 no Java VM, 130 interrupted
(143 by SIGTERM, 129 by SIGHUP).)";

constexpr const char* kEmbedded = "jdbc:h2:mem:kivosql";

/// The names of a table's rows, with a description of each.
template <typename Table>
std::string choices(const std::string& about, const Table& table) {
  std::string text = about;
  for (const auto& row : table) text += std::string("\n  ") + row.name + ": " + row.about;
  return text;
}

/// An option that picks a row of a table by its name.
template <typename Row, std::size_t Size>
void addChoice(CLI::App& app, const std::string& name, const Row (&table)[Size], const Row*& chosen, const char* about,
               const char* group) {
  const auto choose = [name, &table, &chosen](const std::string& value) {
    std::vector<std::string> names;
    std::string all;
    for (const Row& row : table) {
      if (value == row.name) chosen = &row;
      names.emplace_back(row.name);
      all += (all.empty() ? "" : ", ") + names.back();
    }
    if (value == chosen->name) return;
    const std::string likely = nearest(value, names);
    throw CLI::ValidationError(name + ": there is no \"" + value + "\"; " +
                               (likely.empty() ? "there are " + all : "did you mean " + likely + "?"));
  };
  app.add_option_function<std::string>(name, choose, choices(about, table))->type_name("NAME")->group(group);
}

template <typename Number>
CLI::Option* addNumber(CLI::App& app, const std::string& name, Number& value, int least, const char* about) {
  const auto read = [name, &value, least](const std::string& text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < least) {
      throw CLI::ValidationError(name + " is a whole number from " + std::to_string(least) + " to " +
                                 grouped(std::numeric_limits<int>::max()) + ", not \"" + text + '"');
    }
    value = static_cast<Number>(number);
  };
  return app.add_option_function<std::string>(name, read, about)
      ->type_name("NUMBER")
      ->default_str(std::to_string(value));
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
  constexpr const char* kGroup = "Connection (default: an H2 database in memory)";
  Target& target = options.target;
  app.add_option("--url", target.url, "A JDBC URL of any driver on the class path")->group(kGroup);
  app.add_option("--type", target.type,
                 "Instead of a URL, its parts: the kind of database, one of\n  " + databaseWords())
      ->group(kGroup);
  for (const Part& part : kParts) app.add_option(part.name, target.*part.field, part.about)->group(kGroup);
  app.add_option("--user", target.user, "The user")->group(kGroup);
  app.add_option("--password-file", options.passwordFile, "A file that only you can read, with the password in it")
      ->group(kGroup);
  addChoice(app, "--through", kCarriers, options.carrier, "Library class to use:", kGroup);
  app.add_option("--class", target.className, "The bridge's Java connection class")
      ->capture_default_str()
      ->group(kGroup);
}

void addOutput(CLI::App& app, Options& options) {
  constexpr const char* kGroup = "Output";
  addChoice(app, "--format", kFormats, options.format, "How rows are written:", kGroup);
  app.add_option("--null", options.null, "Text for NULL in output and in load; JSON always has null")->group(kGroup);
  app.add_flag("--crlf", options.crlf, "End CSV lines with CR LF, as in RFC 4180, instead of LF")->group(kGroup);
  addNumber(app, "--width", options.maxCells, 0, "Maximum width of a table cell, 0 for no limit")->group(kGroup);
  addNumber(app, "--max-rows", options.maxRows, 0, "Maximum rows per query, 0 for no limit")->group(kGroup);
  app.add_flag("--timing", options.timing, "Show how long it took")->group(kGroup);
  app.add_flag("--verbose", options.verbose, "With an error, show Java's full error output")->group(kGroup);
}

void addJava(CLI::App& app, Options& options) {
  constexpr const char* kGroup = "Java VM";
  app.add_option("--jvm", options.jvm, "A Java home, or a libjvm.so")->group(kGroup);
  app.add_option("--class-path", options.classPath,
                 "Jars and folders, separated by ':'; searched before the jars that kivosql finds itself")
      ->allow_extra_args(false)
      ->group(kGroup);
  addNumber(app, "--heap-mb", options.heapMegabytes, 1, "Maximum Java heap in MB")->group(kGroup);
}

void addCommands(CLI::App& app, Options& options) {
  app.fallthrough();  // options may follow the command too
  for (const Command& command : kCommands) {
    CLI::App* added = app.add_subcommand(command.name, command.about);
    added->callback([&options, &command] { options.command = &command; });
    for (std::size_t argument = 0; argument < 2 && command.arguments[argument].name != nullptr; ++argument) {
      const Argument& row = command.arguments[argument];
      added->add_option(row.name, options.arguments[argument], row.about)->required();
    }
  }
  app.get_subcommand("run")->add_flag("--keep-going", options.keepGoing, "Go on after a statement that failed");
  for (const char* name : {"run", "load"}) {
    app.get_subcommand(name)->add_flag("--single-transaction", options.singleTransaction,
                                       "Store everything or, after a failure, nothing");
  }
  CLI::App* load = app.get_subcommand("load");
  load->add_flag("--no-header", options.noHeader, "The first line is a row, in the order of the table's columns");
  addNumber(*load, "--batch", options.batchRows, 1,
            "Maximum rows per batch, a transaction of its own unless --single-transaction");
  app.require_subcommand(1);
}

std::string passwordFault(const std::string& option, const std::string& value) {
  if (!holdsPassword(value)) return {};
  return "a password in " + option +
         " can be read by everyone on this machine: use --password-file, KIVO_PASSWORD or the prompt";
}

/// How other programs write a URL, and how a driver takes it.
struct Scheme {
  const char* begin;
  const char* likely;
};

constexpr Scheme kSchemes[] = {
    {"postgres://", "jdbc:postgresql://HOST:PORT/DATABASE and --user"},
    {"postgresql://", "jdbc:postgresql://HOST:PORT/DATABASE and --user"},
    {"mysql://", "jdbc:mariadb://HOST:PORT/DATABASE and --user"},
    {"mariadb://", "jdbc:mariadb://HOST:PORT/DATABASE and --user"},
    {"sqlite:", "jdbc:sqlite:FILE"},
};

std::string urlFault(const std::string& url) {
  if (url.empty() || url.rfind("jdbc:", 0) == 0) return {};
  std::string fault = "--url must begin with jdbc:";
  for (const Scheme& scheme : kSchemes) {
    if (url.rfind(scheme.begin, 0) == 0) fault += std::string(", here probably ") + scheme.likely;
  }
  return fault;
}

/// SQL and names go to Java as text; a file's name is mere bytes.
std::string textFault(const Options& options) {
  for (std::size_t argument = 0; argument < 2; ++argument) {
    const char* name = options.command->arguments[argument].name;
    const bool isText = name != nullptr && std::string_view(name) != "FILE";
    if (isText && !isUtf8(options.arguments[argument])) return std::string("the ") + name + " is not UTF-8";
  }
  return {};
}

/// What the parser cannot see of the connection. @return the fault, empty when there is none.
std::string connectionFault(const CLI::App& app, const Options& options) {
  if (app.count("--url") > 0 && app.count("--type") > 0) return "--url already says what --type does";
  for (const Part& part : kParts) {
    if (app.count(part.name) == 0) continue;
    if (app.count("--url") > 0) return std::string("--url already says what ") + part.name + " does";
    if (options.target.type.empty()) return std::string(part.name) + " needs --type";
    // A host with a user before it looks as in a URL.
    std::string fault = passwordFault(part.name, "//" + options.target.*part.field);
    if (!fault.empty()) return fault;
  }
  if (!options.target.type.empty() && !options.carrier->takesParts) {
    return std::string("--through ") + options.carrier->name + " needs --url instead of --type";
  }
  if (std::string fault = passwordFault("--url", options.target.url); !fault.empty()) return fault;
  // A bridge's class may take URLs of its own.
  return options.carrier->takesParts ? urlFault(options.target.url) : "";
}

/// What the parser cannot see.
std::string faultOf(const CLI::App& app, const Options& options) {
  if (std::string fault = connectionFault(app, options); !fault.empty()) return fault;
  if (options.command->writes && !options.carrier->writes) {
    return std::string("--through ") + options.carrier->name + " only reads";
  }
  if (options.singleTransaction && options.keepGoing) {
    return "--single-transaction ends at the first failure, where --keep-going goes on";
  }
  const bool isCsv = options.format->make == makeCsv || options.command->run == runLoad;
  if (isCsv && options.null.value_or("").find_first_of(",\"\r\n") != std::string::npos) {
    return "--null for CSV cannot have a comma, a quote or a line end in it";
  }
  if (options.crlf && options.format->make != makeCsv) return "--crlf needs --format csv";
  if (std::string fault = textFault(options); !fault.empty()) return fault;
  return heapFault(options.heapMegabytes);
}

ExitCode refuse(const std::string& why) {
  complain(why + " (kivosql --help shows how)");
  return kWrongUse;
}

}  // namespace

bool parse(int argc, char** argv, Options& options, ExitCode& code) {
  CLI::App app("Reads from and writes to any JDBC database.", "kivosql");
  app.set_version_flag("--version", "kivosql " KIVOSQL_VERSION);
  app.footer(kExamples);
  app.formatter(std::make_shared<Help>());
  options.arguments.resize(2);
  addConnection(app, options);
  addOutput(app, options);
  addJava(app, options);
  addCommands(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    code = error.get_exit_code() == 0 ? static_cast<ExitCode>(app.exit(error)) : refuse(usageFault(app, error));
    return false;
  }

  if (options.target.url.empty() && options.target.type.empty()) options.target.url = kEmbedded;
  std::string fault = faultOf(app, options);
  if (fault.empty() && !options.target.type.empty()) fault = fitParts(options.target, *options.carrier);
  if (!fault.empty()) code = refuse(fault);
  return fault.empty();
}

}  // namespace kivosql
