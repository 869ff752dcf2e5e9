#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

namespace kivo::test {

/// A port on loopback that passes one connection after another on to a server, and spoils what comes back.
class BadNetwork {
 public:
  enum class Fault {
    kReset,  ///< The connection breaks.
    kEnd,    ///< The server's text ends, in the middle of a message as a rule.
  };

  static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

  explicit BadNetwork(const std::string& serverPort);
  ~BadNetwork();
  BadNetwork(const BadNetwork&) = delete;
  BadNetwork& operator=(const BadNetwork&) = delete;

  /// The fault, if any, strikes when this many of the server's bytes have come through, counted from now over all
  /// connections.
  void plan(std::size_t after = kNever, Fault fault = Fault::kReset);
  std::size_t passed() const { return passed_; }

  std::string port;

 private:
  void serve();
  void pass(int client, int server);
  bool forwardAnswer(int client, int server);
  void spoil(int client) const;

  const std::string serverPort_;
  const int listener_;
  std::atomic<bool> stopping_{false};
  std::atomic<Fault> fault_{Fault::kReset};
  std::atomic<std::size_t> after_{kNever};
  std::atomic<std::size_t> passed_{0};
  std::thread thread_;
};

}  // namespace kivo::test
