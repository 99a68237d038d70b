#include "plan/Workers.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace Planning {

using Linux::systemError;

namespace {

constexpr size_t batchMost = 64;
constexpr size_t triesMost = 2;
// How a line begins, so that what went wrong can be told from what was made.
constexpr char made = '=', fault = '!';

void writeAll(int to, const std::string &text) {
  for (size_t at = 0; at < text.size();) {
    const ssize_t written = ::write(to, text.data() + at, text.size() - at);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) _exit(1);  // nobody reads any more
    at += static_cast<size_t>(written);
  }
}

// However this one's parent ends; it may have done so already.
void endWith(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) _exit(1);
}

std::string reasonOf(int status, const std::string &rest) {
  if (!rest.empty() && rest.front() == fault) return rest.substr(1, rest.find('\n') - 1);
  if (WIFSIGNALED(status)) return std::string("its process was ended by the signal ") + strsignal(WTERMSIG(status));
  return "its process ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

void Workers::run(const std::vector<size_t> &numbers) {
  todo_.assign(numbers.begin(), numbers.end());
  while (!todo_.empty() || !workers_.empty()) {
    while (!todo_.empty() && workers_.size() < jobs_) start();
    std::vector<pollfd> waiting;
    for (const Worker &worker : workers_) waiting.push_back({worker.lines.number(), POLLIN, 0});
    if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) throw systemError("poll");
    for (size_t i = waiting.size(); i-- > 0;) {
      if (waiting[i].revents == 0 || read(workers_[i])) continue;
      finish(workers_[i]);
      workers_.erase(workers_.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
}

// Large batches in the beginning, small ones in the end, so that all end at about the same time.
void Workers::start() {
  const size_t size = std::clamp<size_t>(todo_.size() / (4 * jobs_), 1, batchMost);
  Worker worker;
  worker.batch.assign(todo_.begin(), todo_.begin() + static_cast<std::ptrdiff_t>(size));
  int ends[2];
  if (::pipe(ends) < 0) throw systemError("pipe");
  worker.lines = Linux::Descriptor(ends[0]);
  Linux::Descriptor to(ends[1]);
  const pid_t parent = ::getpid();
  worker.process = ::fork();
  if (worker.process < 0) throw systemError("fork");
  if (worker.process == 0) {
    endWith(parent);
    work(worker.batch, to.number());
  }
  todo_.erase(todo_.begin(), todo_.begin() + static_cast<std::ptrdiff_t>(size));
  workers_.push_back(std::move(worker));
}

void Workers::work(const std::vector<size_t> &batch, int to) const {
  ::signal(SIGPIPE, SIG_DFL);
  try {
    for (const size_t number : batch) writeAll(to, made + tasks_.work(number) + "\n");
  } catch (const std::exception &error) {
    writeAll(to, fault + std::string(error.what()) + "\n");
    _exit(1);
  }
  _exit(0);
}

// False when there will be no more.
bool Workers::read(Worker &worker) {
  char buffer[65536];
  const ssize_t size = ::read(worker.lines.number(), buffer, sizeof buffer);
  if (size < 0 && errno == EINTR) return true;
  if (size <= 0) return false;
  worker.text.append(buffer, static_cast<size_t>(size));
  size_t begin = 0;
  for (size_t end; (end = worker.text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    if (worker.text[begin] != made) break;
    tasks_.take(worker.batch[worker.done++], worker.text.substr(begin + 1, end - begin - 1));
  }
  worker.text.erase(0, begin);
  return true;
}

void Workers::finish(Worker &worker) {
  int status = 0;
  while (::waitpid(worker.process, &status, 0) < 0 && errno == EINTR) {
  }
  if (worker.done == worker.batch.size()) return;
  const size_t at = worker.batch[worker.done];
  const bool givesUp = ++tries_[at] >= triesMost;
  tasks_.lost(at, reasonOf(status, worker.text), givesUp);
  const size_t first = worker.done + (givesUp ? 1 : 0);
  todo_.insert(todo_.begin(), worker.batch.begin() + static_cast<std::ptrdiff_t>(first), worker.batch.end());
}

}  // namespace Planning
