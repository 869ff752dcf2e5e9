#pragma once

namespace kivo::test {

/// Picks the calls that fail among those made while armed: the nth, or all from the nth on.
struct FaultCounter {
  int nth = 0;
  bool lasting = false;
  bool armed = false;
  int calls = 0;
  bool fired = false;

  /// Counts a call that could fail; true when it has to.
  bool hits();
};

/// Decides over every malloc and operator new of the calling thread. The test executable brings its own malloc for
/// this, which also serves the libraries that it loads.
FaultCounter& allocationFaults();

/// Lets every allocation of the calling thread succeed, uncounted, while it lives.
class AllocationPause {
 public:
  AllocationPause() : wasArmed_(allocationFaults().armed) { allocationFaults().armed = false; }
  ~AllocationPause() { allocationFaults().armed = wasArmed_; }
  AllocationPause(const AllocationPause&) = delete;
  AllocationPause& operator=(const AllocationPause&) = delete;

 private:
  bool wasArmed_;
};

}  // namespace kivo::test
