/// Runs an operator's command whenever something has changed.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Control {

/// Gives the command a text on its standard input. Changes within `gathers` of the first one come as one, and a change
/// while the command runs comes after it: there are never two at once. A text that the last run has taken is not given
/// again, so what changes and changes back is no change. A command that fails, takes longer than
/// `takesMost` or writes more than writesMost bytes is ended with all that it has started, told, and run again after a
/// delay that doubles up to a minute. Runs on the context of its owner, which must not run it once this is gone.
class OnChange {
 public:
  using Milliseconds = std::chrono::milliseconds;
  struct Parameters {
    std::string command;  ///< of the shell
    Milliseconds takesMost{30000};
    Milliseconds gathers{1000};
    Milliseconds firstDelay{1000};  ///< after a failure
  };
  static constexpr size_t writesMost = 1 << 20;  ///< bytes, to standard output and standard error together

  /// `input` is asked for the text when a run begins, `tell` takes what the operator should know, and `output` what the
  /// command writes.
  OnChange(boost::asio::io_context &context, Parameters parameters, std::function<std::string()> input,
           std::function<void(const std::string &)> tell, std::function<void(const std::string &)> output);
  /// Ends the command, if it runs.
  ~OnChange();

  void changed();

 private:
  class Run;

  void runAfter(Milliseconds delay);
  void run();
  void done(const std::string &failure);

  boost::asio::io_context &context_;
  const Parameters parameters_;
  const std::function<std::string()> input_;
  const std::function<void(const std::string &)> tell_;
  const std::function<void(const std::string &)> output_;
  boost::asio::steady_timer timer_;
  bool waits_ = false;                // for the timer, to run
  bool changed_ = false;              // since the last run began
  unsigned failures_ = 0;             // in a row
  std::string given_;                 // to the last run
  std::optional<std::string> taken_;  // given_ after a success
  std::shared_ptr<Run> run_;
};

}  // namespace Control
