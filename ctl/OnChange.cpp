#include "ctl/OnChange.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/process/args.hpp>
#include <boost/process/async.hpp>
#include <boost/process/async_pipe.hpp>
#include <boost/process/child.hpp>
#include <boost/process/exe.hpp>
#include <boost/process/extend.hpp>
#include <boost/process/group.hpp>
#include <boost/process/io.hpp>

namespace Control {

namespace asio = boost::asio;
namespace process = boost::process;
using boost::system::error_code;

namespace {

constexpr std::chrono::seconds longestDelay{60};
constexpr std::chrono::seconds grace{2};  // from the request to end to the end

std::string failureOf(int status) {
  if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
  return WEXITSTATUS(status) == 0 ? "" : "failed with exit status " + std::to_string(WEXITSTATUS(status));
}

std::string secondsText(OnChange::Milliseconds time) {
  const auto count = time.count();
  return count % 1000 == 0 ? std::to_string(count / 1000) + " s" : std::to_string(count) + " ms";
}

// Runs in the child: it is to have what every program of a shell has.
void setUpChild() {
  ::signal(SIGPIPE, SIG_DFL);
  ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
}

}  // namespace

// One run of the command. Its operations hold it; what they find when it has ended they leave.
class OnChange::Run : public std::enable_shared_from_this<OnChange::Run> {
 public:
  Run(OnChange &owner, std::string input)
      : owner_(&owner),
        input_(std::move(input)),
        stdin_(owner.context_),
        output_(owner.context_),
        timer_(owner.context_) {}

  void start() {
    child_ = process::child(
        process::exe = "/bin/sh", process::args = {"-c", owner_->parameters_.command},
        process::std_in<stdin_, (process::std_out & process::std_err)> output_, group_, owner_->context_,
        process::extend::on_exec_setup = [](auto &) { setUpChild(); },
        process::on_exit = [self = shared_from_this()](int, const std::error_code &) { self->exited(); });
    asio::async_write(stdin_, asio::buffer(input_), [self = shared_from_this()](const error_code &, size_t) {
      error_code ignored;
      self->stdin_.close(ignored);  // whether the command has read it is its own affair
    });
    read();
    timer_.expires_after(owner_->parameters_.takesMost);
    timer_.async_wait([self = shared_from_this()](const error_code &error) {
      if (!error) self->endFor("took longer than " + secondsText(self->owner_->parameters_.takesMost));
    });
  }

  // Ends the command at once and tells nobody.
  void abandon() {
    owner_ = nullptr;
    kill(SIGKILL);
    close();
  }

 private:
  void read() {
    output_.async_read_some(asio::buffer(bytes_), [self = shared_from_this()](const error_code &error, size_t size) {
      if (!self->owner_) return;
      self->written_ += size;
      if (size > 0) self->owner_->output_({self->bytes_.data(), size});
      if (!error && self->written_ <= writesMost) return self->read();
      if (!error) self->endFor("wrote more than 1 MiB");
      self->outputEnded_ = true;
      self->endIfDone();
    });
  }

  // Asks the command to end, and ends it when it does not.
  void endFor(const std::string &failure) {
    if (!owner_ || !failure_.empty()) return;
    failure_ = failure;
    kill(SIGTERM);
    timer_.expires_after(grace);
    timer_.async_wait([self = shared_from_this()](const error_code &error) {
      if (!error) self->kill(SIGKILL);
    });
  }

  // What it has left behind ends with it, and so does the output, unless that has left the group.
  void exited() {
    if (!owner_) return;
    exited_ = true;
    kill(SIGKILL);
    timer_.expires_after(grace);
    timer_.async_wait([self = shared_from_this()](const error_code &error) {
      self->outputEnded_ = true;
      if (!error) self->endIfDone();
    });
    endIfDone();
  }

  void endIfDone() {
    if (!owner_ || !exited_ || !outputEnded_) return;
    close();
    std::exchange(owner_, nullptr)->done(failure_.empty() ? failureOf(child_.native_exit_code()) : failure_);
  }

  void kill(int signal) {
    if (group_.valid() && group_.native_handle() > 0) ::kill(-group_.native_handle(), signal);
  }

  void close() {
    error_code ignored;
    timer_.cancel();
    stdin_.close(ignored);
    output_.close(ignored);
  }

  OnChange *owner_;  // null when this run has ended
  const std::string input_;
  process::group group_;
  process::async_pipe stdin_;
  process::async_pipe output_;
  asio::steady_timer timer_;
  process::child child_;
  std::array<char, 4096> bytes_{};
  size_t written_ = 0;
  bool outputEnded_ = false;
  bool exited_ = false;
  std::string failure_;  // why it was asked to end
};

OnChange::OnChange(asio::io_context &context, Parameters parameters, std::function<std::string()> input,
                   std::function<void(const std::string &)> tell, std::function<void(const std::string &)> output)
    : context_(context),
      parameters_(std::move(parameters)),
      input_(std::move(input)),
      tell_(std::move(tell)),
      output_(std::move(output)),
      timer_(context) {}

OnChange::~OnChange() {
  if (run_) run_->abandon();
}

void OnChange::changed() {
  changed_ = true;
  if (!run_ && !waits_) runAfter(parameters_.gathers);
}

void OnChange::runAfter(Milliseconds delay) {
  waits_ = true;
  timer_.expires_after(delay);
  timer_.async_wait([this](const error_code &error) {
    if (!error) run();
  });
}

void OnChange::run() {
  waits_ = changed_ = false;
  std::string text = input_();
  if (text == taken_) return;
  taken_ = std::nullopt;  // a run that fails may have done half of it
  given_ = std::move(text);
  run_ = std::make_shared<Run>(*this, given_);
  try {
    run_->start();
  } catch (const std::system_error &error) {
    run_->abandon();
    done(std::string("cannot be started: ") + error.what());
  }
}

void OnChange::done(const std::string &failure) {
  run_ = nullptr;
  if (failure.empty()) {
    failures_ = 0;
    taken_ = std::move(given_);
    if (changed_) runAfter(parameters_.gathers);
    return;
  }
  const Milliseconds delay =
      std::min<Milliseconds>(longestDelay, parameters_.firstDelay * (1 << std::min(failures_, 16U)));
  ++failures_;
  tell_("the command " + failure + "; it runs again in " + secondsText(delay));
  runAfter(delay);
}

}  // namespace Control
