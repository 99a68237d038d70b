#include "lab/Crowd.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <vector>

namespace Lab {

namespace {

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

// None when nobody listens there, or for the moment nobody takes more clients.
Linux::Descriptor connected(const std::string &path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  Linux::Descriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const auto *const name = reinterpret_cast<const sockaddr *>(&address);
  if (descriptor && ::connect(descriptor.number(), name, sizeof address) != 0) return {};
  return descriptor;
}

class Client {
 public:
  Client(const std::string &socket, const Behavior &behavior, Crowd::Counts &counts)
      : socket_(socket), behavior_(behavior), counts_(counts) {}

  // One step: comes, or takes something of what the agent says. False when the agent takes nobody now.
  bool step() {
    if (!descriptor_) return come();
    std::array<char, 4096> bytes{};
    for (size_t left = behavior_.readsMost; left > 0;) {
      const ssize_t size = ::recv(descriptor_.number(), bytes.data(), std::min(left, bytes.size()), 0);
      if (size == 0 || (size < 0 && errno != EAGAIN)) return leave();
      if (size < 0) return true;
      if (bytes[0] == '{' && std::string_view(bytes.data(), static_cast<size_t>(size)).starts_with("{\"error\"")) {
        ++counts_.refused;
      }
      left -= static_cast<size_t>(size);
    }
    return true;
  }

 private:
  bool come() {
    descriptor_ = connected(socket_);
    if (!descriptor_) return false;
    ++counts_.connected;
    ::send(descriptor_.number(), behavior_.says.data(), behavior_.says.size(), MSG_NOSIGNAL);
    return true;
  }
  bool leave() {
    ++counts_.dropped;
    descriptor_ = {};
    return true;
  }

  const std::string &socket_;
  const Behavior &behavior_;
  Crowd::Counts &counts_;
  Linux::Descriptor descriptor_;
};

}  // namespace

Crowd::Crowd(std::string socket, Behavior behavior, size_t count)
    : socket_(std::move(socket)), behavior_(std::move(behavior)), count_(count) {}

Crowd::Counts Crowd::stay(double seconds) const {
  Counts counts;
  std::vector<Client> clients;
  for (size_t i = 0; i < count_; ++i) clients.emplace_back(socket_, behavior_, counts);
  for (const double end = now() + seconds; now() < end;) {
    for (Client &client : clients) {
      if (!client.step()) break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return counts;
}

Prober::Prober(std::string socket, std::string question, std::string expected, bool anew)
    : socket_(std::move(socket)), question_(std::move(question) + '\n'), expected_(std::move(expected)), anew_(anew) {}

void Prober::ask() {
  ++counts_.asked;
  const double asked = now();
  std::string answer;
  if (anew_) descriptor_ = {};
  // Who is turned away behind a crowd asks again.
  while (!isAnswered(asked + patience, answer)) {
    descriptor_ = {};
    if (now() < asked + patience) continue;
    ++counts_.unanswered;
    return;
  }
  counts_.longest = std::max(counts_.longest, now() - asked);
  if (answer.find(expected_) == std::string::npos) ++counts_.wrong;
}

bool Prober::isAnswered(double deadline, std::string &answer) {
  while (!descriptor_ && now() < deadline) {
    descriptor_ = connected(socket_);
    if (!descriptor_) std::this_thread::sleep_for(std::chrono::milliseconds(1));  // behind others who come
  }
  answer.clear();
  const bool told = descriptor_ && ::send(descriptor_.number(), question_.data(), question_.size(), MSG_NOSIGNAL) > 0;
  return told && answerArrives(deadline, answer);
}

bool Prober::answerArrives(double deadline, std::string &answer) {
  std::array<char, 4096> bytes{};
  while (!answer.ends_with('\n')) {
    pollfd waiting{descriptor_.number(), POLLIN, 0};
    const double left = deadline - now();
    if (left <= 0) return false;
    ::poll(&waiting, 1, static_cast<int>(left * 1000) + 1);  // a signal ends it early, and not the wait
    const ssize_t size = ::recv(descriptor_.number(), bytes.data(), bytes.size(), 0);
    if (size == 0 || (size < 0 && errno != EAGAIN)) return false;
    if (size > 0) answer.append(bytes.data(), static_cast<size_t>(size));
  }
  return true;
}

}  // namespace Lab
