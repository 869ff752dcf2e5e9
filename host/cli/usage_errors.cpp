#include "cli/usage_errors.h"

#include <algorithm>

#include "cli/commands.h"
#include "cli/nearest.h"

namespace kivosql {

namespace {

using Words = std::vector<std::string>;

std::string optionFault(const CLI::App& app, const std::string& argument) {
  // What follows the name may be a password.
  const bool isLong = argument.rfind("--", 0) == 0;
  const std::string name = isLong ? argument.substr(0, argument.find('=')) : argument.substr(0, 2);
  Words names;
  for (const CLI::Option* option : app.get_options()) names.push_back(option->get_name());
  for (const CLI::App* command : app.get_subcommands(nullptr)) {
    if (command->get_option_no_throw(name) != nullptr) {
      return name + " is an option of " + command->get_name() + ", and stands after it";
    }
    if (!app.got_subcommand(command)) continue;
    for (const CLI::Option* option : command->get_options()) names.push_back(option->get_name());
  }
  const std::string likely = nearest(name, names);
  return "there is no option " + name + (likely.empty() ? "" : "; did you mean " + likely + "?");
}

std::string commandFault(const std::string& argument) {
  Words names;
  std::string all;
  for (const Command& command : kCommands) {
    names.emplace_back(command.name);
    all += (all.empty() ? "" : ", ") + names.back();
  }
  if (argument.empty()) return "a command is missing; there are " + all;
  const std::string likely = nearest(argument, names);
  return "there is no command \"" + argument + "\"; " +
         (likely.empty() ? "there are " + all : "did you mean " + likely + "?");
}

std::string surplusFault(const CLI::App& command, const std::string& argument) {
  std::string taken;
  for (const CLI::Option* option :
       command.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
    taken += (taken.empty() ? "" : " and ") + option->get_name();
  }
  return command.get_name() + " takes " + (taken.empty() ? "no arguments" : taken) + "; \"" + argument +
         "\" is one argument too many" + (taken.empty() ? "" : ": text with spaces needs quotes");
}

}  // namespace

std::string usageFault(const CLI::App& app, const CLI::ParseError& error) {
  const bool isRequired = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
  const Words unknown = isRequired || isExtra ? app.remaining(true) : Words();
  const auto option = std::find_if(unknown.begin(), unknown.end(), [](const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-' && argument != "--";
  });
  if (option != unknown.end()) return optionFault(app, *option);
  const auto commands = app.get_subcommands();
  if (commands.empty() && (isRequired || isExtra)) return commandFault(unknown.empty() ? "" : unknown.front());
  if (!unknown.empty()) return surplusFault(*commands.front(), unknown.front());
  std::string text = error.what();
  const std::size_t end = text.find(": ");
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) == nullptr || end == std::string::npos) return text;
  return text.substr(0, end) + (text.find("At Most") == end + 2 ? " is there more than once" : " needs a value");
}

}  // namespace kivosql
