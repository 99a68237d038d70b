#include "plan/Workers.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>

#include "tests/daemon/TemporaryDirectory.h"

namespace Planning {
namespace {

TEST(Workers, AProcessThatDiesIsToldAndItsWorkTriedAgain) {
  // The fourth ends its process the first time, the seventh each time, the eighth is not done.
  const ::Test::TemporaryDirectory directory;
  const std::string died = directory.path() + "/died";
  std::set<size_t> done;
  std::vector<std::string> lost;
  const auto work = [&](size_t number) -> std::string {
    if (number == 3 && !std::filesystem::exists(died)) {
      std::ofstream(died) << "once";
      raise(SIGKILL);
    }
    if (number == 6) _exit(7);
    if (number == 7) throw std::runtime_error("no such luck");
    return "line " + std::to_string(number);
  };
  const auto take = [&](size_t number, const std::string &line) {
    EXPECT_EQ(line, "line " + std::to_string(number));
    EXPECT_TRUE(done.insert(number).second) << number;
  };
  const auto tell = [&](size_t number, const std::string &reason, bool givenUp) {
    lost.push_back(std::to_string(number) + " " + reason + (givenUp ? "; given up" : ""));
  };
  std::vector<size_t> all(100);  // so many that a process has others to do after those
  std::iota(all.begin(), all.end(), 0);
  Workers(1, {work, take, tell}).run(all);
  std::set<size_t> rest(all.begin(), all.end());
  rest.erase(6);
  rest.erase(7);
  EXPECT_EQ(done, rest);
  EXPECT_EQ(lost, (std::vector<std::string>{
                      "3 its process was ended by the signal Killed", "6 its process ended with status 7",
                      "6 its process ended with status 7; given up", "7 no such luck", "7 no such luck; given up"}));
}

TEST(Workers, ProcessesEndWithTheirParent) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t parent = fork();
  if (parent == 0) {
    const auto work = [&](size_t) -> std::string {
      const pid_t self = getpid();
      if (::write(ends[1], &self, sizeof self) < 0) _exit(1);
      for (;;) pause();
    };
    Workers(3, {work, {}, {}}).run({1, 2, 3});
    _exit(0);
  }
  close(ends[1]);
  std::vector<pid_t> workers(3);
  for (pid_t &worker : workers) ASSERT_EQ(::read(ends[0], &worker, sizeof worker), ssize_t{sizeof worker});
  kill(parent, SIGKILL);
  waitpid(parent, nullptr, 0);
  // Each of them has the pipe open for as long as it is there; the time is only spent where one stays.
  pollfd waiting{ends[0], POLLIN, 0};
  const bool all = poll(&waiting, 1, 60'000) == 1;
  EXPECT_TRUE(all);
  for (const pid_t worker : workers) {
    if (!all) kill(worker, SIGKILL);
  }
  close(ends[0]);
}

}  // namespace
}  // namespace Planning
