#include "test_server.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

namespace kivo::test {

namespace {

/// Runs a shell command. @return its standard output. Throws when it fails.
std::string run(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  std::string output;
  std::array<char, 4096> part{};
  while (const std::size_t length = std::fread(part.data(), 1, part.size(), pipe)) output.append(part.data(), length);
  if (pclose(pipe) != 0) throw std::runtime_error("failed: " + command + "\n" + output);
  return output;
}

/// The command line of a server's tool, up to the folder; either path may have blanks in it.
std::string tool(const std::string& kind, const std::string& verb, const std::string& folder) {
  return std::string("'" KIVO_TOOLS "/") + kind + "' " + verb + " '" + folder + "'";
}

std::string newFolder(const std::string& kind) {
  std::string folder = (std::filesystem::temp_directory_path() / ("kivo-" + kind + "-XXXXXX")).string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("cannot make a folder like " + folder);
  return folder;
}

}  // namespace

TestServer::TestServer(const std::string& kind) : kind_(kind), folder_(newFolder(kind)) {
  std::istringstream lines(run(tool(kind_, "start", folder_) + " " + std::to_string(getpid())));
  std::map<std::string, std::string> values;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t equals = line.find('=');
    values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  host = values.at("HOST");
  port = values.at("PORT");
  database = values.at("DATABASE");
  user = values.at("USER");
  password = values.at("PASSWORD");
}

TestServer::~TestServer() {
  try {
    run(tool(kind_, "stop", folder_));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string TestServer::sql(const std::string& statement) const {
  std::string output = run("psql -v ON_ERROR_STOP=1 -qAtX -h '" + folder_ + "' -p " + port + " -U " + user + " " +
                           database + " <<'END'\n" + statement + ";\nEND\n");
  if (!output.empty()) output.pop_back();
  return output;
}

}  // namespace kivo::test
