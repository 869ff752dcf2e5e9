#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench.h"

namespace kivo::bench {

/// A child process with both of its ends held here.
class Child {
 public:
  explicit Child(const std::vector<std::string>& command) {
    std::array<int, 2> down{};
    std::array<int, 2> up{};
    require(pipe(down.data()) == 0 && pipe(up.data()) == 0, "cannot make pipes");
    id_ = fork();
    if (id_ == 0) become(command, down, up);
    close(down[0]);
    close(up[1]);
    toChild = fdopen(down[1], "w");
    fromChild = fdopen(up[0], "r");
  }
  ~Child() {
    std::fclose(toChild);
    std::fclose(fromChild);
    if (id_ > 0) waitpid(id_, nullptr, 0);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Waits for its end. @return whether it was a success.
  bool succeeds() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = -1;
    return status == 0;
  }

  std::FILE* toChild = nullptr;
  std::FILE* fromChild = nullptr;

 private:
  [[noreturn]] static void become(const std::vector<std::string>& command, const std::array<int, 2>& down,
                                  const std::array<int, 2>& up) {
    dup2(down[0], STDIN_FILENO);
    dup2(up[1], STDOUT_FILENO);
    for (const int end : {down[0], down[1], up[0], up[1]}) close(end);
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    std::perror(words[0]);
    std::_Exit(127);
  }

  pid_t id_ = -1;
};

}  // namespace kivo::bench
