/// Clients of a control socket that behave badly, and one that only asks.
#pragma once

#include <cstdint>
#include <string>

#include "platform/linux/Descriptor.h"

namespace Lab {

/// What each client of a crowd does on its connection.
struct Behavior {
  std::string says;       ///< right after it has connected
  size_t readsMost = -1;  ///< bytes that it takes in a hundredth of a second
};

/// Keeps `count` clients connected to the socket for some seconds: whoever is dropped comes back. Single-threaded, as
/// fast as the agent takes them.
class Crowd {
 public:
  struct Counts {
    uint64_t connected = 0;
    uint64_t refused = 0;  ///< told so by an error line
    uint64_t dropped = 0;  ///< closed by the agent
  };
  Crowd(std::string socket, Behavior behavior, size_t count);

  Counts stay(double seconds) const;

 private:
  const std::string socket_;
  const Behavior behavior_;
  const size_t count_;
};

/// Asks the same question again and again, on one connection as long as it lasts.
class Prober {
 public:
  struct Counts {
    uint64_t asked = 0;
    uint64_t wrong = 0;       ///< answered, without the text that is expected
    uint64_t unanswered = 0;  ///< no answer within `patience` seconds, however often it asked
    double longest = 0;       ///< seconds until an answer
  };
  static constexpr double patience = 60;

  /// `expected` is a part of every right answer. `anew` is whether each question has a connection of its own.
  Prober(std::string socket, std::string question, std::string expected, bool anew = false);

  /// Asks once, and waits for the answer.
  void ask();
  const Counts &counts() const { return counts_; }

 private:
  bool isAnswered(double deadline, std::string &answer);
  bool answerArrives(double deadline, std::string &answer);

  const std::string socket_;
  const std::string question_;
  const std::string expected_;
  const bool anew_;
  Linux::Descriptor descriptor_;
  Counts counts_;
};

}  // namespace Lab
