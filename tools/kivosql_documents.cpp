// Writes the man page of kivosql and its completions for three shells, from the table that --help is made of.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "kivo_version.h"

namespace {

using namespace kivosql;
using Names = std::vector<std::string>;
using Listed = std::vector<const CLI::Option*>;

/// Puts @p before in front of each of the given characters.
std::string escaped(const std::string& text, const std::string& characters, const std::string& before = "\\") {
  std::string result;
  for (const char c : text) result.append(characters.find(c) == std::string::npos ? "" : before) += c;
  return result;
}

std::string joined(const Names& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

/// What may follow an option: its check has the names in braces, or its description has a line for each.
Names choicesOf(const CLI::Option& option) {
  std::string names = option.get_type_name();
  const std::size_t brace = names.find('{');
  if (brace != std::string::npos) {
    names = names.substr(brace + 1, names.find('}') - brace - 1);
    return CLI::detail::split(names, ',');
  }
  Names result = CLI::detail::split(option.get_description(), '\n');
  result.erase(result.begin());
  for (std::string& line : result) line = CLI::detail::trim_copy(line.substr(0, line.find(':')));
  return result;
}

Listed optionsOf(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return !option->get_positional(); });
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

/// The options of the program and of each command; a name that two commands share comes once.
Listed allOptions(const CLI::App& app) {
  Listed all = optionsOf(app);
  for (const CLI::App* command : commandsOf(app)) {
    for (const CLI::Option* option : optionsOf(*command)) {
      const auto same = [option](const CLI::Option* other) { return other->get_name() == option->get_name(); };
      if (std::none_of(all.begin(), all.end(), same)) all.push_back(option);
    }
  }
  return all;
}

bool takesValue(const CLI::Option& option) { return !option.get_type_name().empty(); }

Names spellingsOf(const CLI::Option& option) {
  Names spellings;
  for (const std::string& name : option.get_snames()) spellings.push_back('-' + name);
  for (const std::string& name : option.get_lnames()) spellings.push_back("--" + name);
  return spellings;
}

std::string roff(const std::string& text) { return escaped(text, "\\-", "\\"); }

void manOption(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  std::cout << ".TP\n.B " << roff(joined(spellingsOf(option)));
  if (takesValue(option)) std::cout << " \\fI" << type.substr(0, type.find(':')) << "\\fR";
  if (!option.get_default_str().empty()) std::cout << " (default: " << roff(option.get_default_str()) << ')';
  std::cout << '\n' << roff(firstLine(option.get_description())) << '\n';
  const Names lines = CLI::detail::split(option.get_description(), '\n');
  for (std::size_t line = 1; line < lines.size(); ++line) {
    std::cout << ".br\n" << roff(CLI::detail::trim_copy(lines[line])) << '\n';
  }
  if (lines.size() == 1 && !choicesOf(option).empty()) std::cout << "(" << joined(choicesOf(option)) << ")\n";
}

void manCommand(const CLI::App& command) {
  std::cout << ".SS " << command.get_name();
  const Listed arguments = command.get_options([](const CLI::Option* option) { return option->get_positional(); });
  for (const CLI::Option* argument : arguments) std::cout << ' ' << argument->get_name();
  std::cout << '\n' << roff(command.get_description()) << ".\n";
  for (const CLI::Option* argument : arguments) {
    std::cout << ".TP\n.I " << argument->get_name() << '\n' << roff(argument->get_description()) << '\n';
  }
  for (const CLI::Option* option : optionsOf(command)) {
    if (option->get_name() != "--help") manOption(*option);
  }
}

void man(const CLI::App& app) {
  std::cout << ".TH KIVOSQL 1 \"\" \"kivosql " KIVO_VERSION "\" \"User Commands\"\n.SH NAME\nkivosql \\- "
            << roff(app.get_description()) << "\n.SH SYNOPSIS\n.B kivosql\n[\\fIOPTION\\fR]... \\fICOMMAND\\fR "
            << "[\\fIARGUMENT\\fR]...\n.SH COMMANDS\n";
  for (const CLI::App* command : commandsOf(app)) manCommand(*command);
  std::string group;
  for (const CLI::Option* option : optionsOf(app)) {
    if (option->get_group() != group) std::cout << ".SH " << (group = option->get_group()) << '\n';
    manOption(*option);
  }
  const std::string footer = app.get_footer();
  std::cout << ".SH EXAMPLES\n.nf\n" << roff(footer.substr(footer.find('\n') + 1)) << "\n.fi\n";
}

Names commandNames(const CLI::App& app) {
  Names names;
  for (const CLI::App* command : commandsOf(app)) names.push_back(command->get_name());
  return names;
}

void bash(const CLI::App& app) {
  Names options;
  std::cout << "_kivosql() {\n  local word=${COMP_WORDS[COMP_CWORD]} earlier command\n"
               "  case ${COMP_WORDS[COMP_CWORD-1]} in\n";
  for (const CLI::Option* option : allOptions(app)) {
    for (const std::string& spelling : spellingsOf(*option)) options.push_back(spelling);
    if (!takesValue(*option)) continue;
    std::cout << "    " << option->get_name() << ") ";
    const Names choices = choicesOf(*option);
    if (!choices.empty())
      std::cout << "mapfile -t COMPREPLY < <(compgen -W '" << joined(choices) << "' -- \"$word\"); ";
    std::cout << "return ;;\n";
  }
  std::cout << "  esac\n  for earlier in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n    case $earlier in\n";
  std::string pattern = joined(commandNames(app));
  for (std::size_t at = 0; (at = pattern.find(' ', at)) != std::string::npos;) pattern[at] = '|';
  std::cout << "      " << pattern << ") command=$earlier ;;\n    esac\n  done\n  if [[ $word == -* ]]; then\n"
            << "    mapfile -t COMPREPLY < <(compgen -W '" << joined(options) << "' -- \"$word\")\n"
            << "  elif [[ -z $command ]]; then\n    mapfile -t COMPREPLY < <(compgen -W '" << joined(commandNames(app))
            << "' -- \"$word\")\n  fi\n}\ncomplete -o default -F _kivosql kivosql\n";
}

void zsh(const CLI::App& app) {
  std::cout << "#compdef kivosql\n_arguments";
  for (const CLI::Option* option : allOptions(app)) {
    for (const std::string& spelling : spellingsOf(*option)) {
      std::cout << " \\\n  '" << spelling << '['
                << escaped(escaped(firstLine(option->get_description()), "[]"), "'", "'\\'") << ']';
      const Names choices = choicesOf(*option);
      if (takesValue(*option)) std::cout << ":value:" << (choices.empty() ? "_files" : '(' + joined(choices) + ')');
      std::cout << '\'';
    }
  }
  std::cout << " \\\n  '1:command:((";
  for (const CLI::App* command : commandsOf(app)) {
    std::cout << command->get_name() << "\\:\"" << escaped(command->get_description(), "'", "'\\'") << "\" ";
  }
  std::cout << "))' \\\n  '*:argument:_files'\n";
}

void fishOption(const CLI::Option& option, const std::string& condition) {
  std::cout << "complete -c kivosql" << condition;
  for (const std::string& name : option.get_snames()) std::cout << " -s " << name;
  for (const std::string& name : option.get_lnames()) std::cout << " -l " << name;
  const Names choices = choicesOf(option);
  if (takesValue(option)) std::cout << (choices.empty() ? " -r -F" : " -x -a '" + joined(choices) + '\'');
  std::cout << " -d '" << escaped(firstLine(option.get_description()), "'") << "'\n";
}

void fish(const CLI::App& app) {
  for (const CLI::Option* option : optionsOf(app)) fishOption(*option, "");
  for (const CLI::App* command : commandsOf(app)) {
    const std::string& name = command->get_name();
    std::cout << "complete -c kivosql -n __fish_use_subcommand -f -a " << name << " -d '"
              << escaped(command->get_description(), "'") << "'\n";
    for (const CLI::Option* option : optionsOf(*command)) {
      if (option->get_name() != "--help") fishOption(*option, " -n '__fish_seen_subcommand_from " + name + '\'');
    }
  }
}

}  // namespace

int main(int count, char** arguments) try {
  kivosql::Options options;
  CLI::App app;
  addCommandLine(app, options);
  const std::pair<const char*, void (*)(const CLI::App&)> kinds[] = {
      {"man", man}, {"bash", bash}, {"zsh", zsh}, {"fish", fish}};
  for (const auto& [name, write] : kinds) {
    if (count != 2 || std::strcmp(arguments[1], name) != 0) continue;
    write(app);
    return 0;
  }
  return 2;
} catch (const std::exception& failure) {
  std::cerr << failure.what() << '\n';
  return 1;
}
