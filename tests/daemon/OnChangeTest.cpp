#include "ctl/OnChange.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/daemon/TemporaryDirectory.h"

namespace Control {
namespace {

using Texts = std::vector<std::string>;

// Runs commands of the shell for real. They are told apart by what they write, and no time is measured.
class OnChangeTest : public ::testing::Test {
 protected:
  OnChangeTest() { std::signal(SIGPIPE, SIG_IGN); }

  OnChange onChange(const std::string &command, int takesMost = 600000, int gathers = 0) {
    return OnChange(
        context,
        {command, OnChange::Milliseconds(takesMost), OnChange::Milliseconds(gathers), OnChange::Milliseconds(1)},
        [this] { return input; }, [this](const std::string &text) { told.push_back(text); },
        [this](const std::string &text) { output += text; });
  }
  // Lets things happen until the predicate holds.
  template <class Predicate>
  void runUntil(Predicate holds) {
    context.restart();  // it stops when all is done
    while (!holds()) {
      ASSERT_GT(context.run_one_for(std::chrono::seconds(120)), 0u);
    }
  }

  ::Test::TemporaryDirectory directory;
  boost::asio::io_context context;
  std::string input = "first\n";
  std::string output;
  Texts told;
};

TEST_F(OnChangeTest, ACommandHasTheTextOfItsStartAndChangesMeanwhileComeAfterIt) {
  const std::string wait = directory.path() + "/wait";
  std::ofstream(wait) << "";
  OnChange command = onChange("cat; while [ -e " + wait + " ]; do sleep 0.01; done; echo end");
  command.changed();
  command.changed();
  runUntil([&] { return output == "first\n"; });
  input = "second\n";
  for (int i = 0; i < 10; ++i) command.changed();
  input = "third\n";
  std::filesystem::remove(wait);
  runUntil([&] { return output.ends_with("third\nend\n"); });
  context.run_for(std::chrono::milliseconds(1));
  EXPECT_EQ(output, "first\nend\nthird\nend\n");
  EXPECT_EQ(told, Texts{});
}

TEST_F(OnChangeTest, WhatChangesBackIsNoChangeUnlessTheCommandHasFailed) {
  OnChange command = onChange("read text; echo $text; [ $text != second ]");
  command.changed();
  runUntil([&] { return output == "first\n"; });
  context.run();
  command.changed();  // and back, before it is asked for
  context.restart();
  context.run();
  EXPECT_EQ(output, "first\n");
  input = "second\n";
  command.changed();
  runUntil([&] { return told.size() == 1; });
  input = "first\n";
  runUntil([&] { return output.ends_with("first\n") && output.size() > 15; });
  EXPECT_EQ(output, "first\nsecond\nfirst\n");
}

TEST_F(OnChangeTest, WhateverACommandDoesItsEndIsToldAndItRunsAgain) {
  struct Case {
    const char *command;
    int takesMost;
    const char *failure;  ///< none if empty
  };
  input = std::string(1 << 20, 'x') + "\n";  // more than a pipe holds
  const Case cases[] = {
      {"exit 3", 600000, "the command failed with exit status 3; it runs again in 1 ms"},
      {"kill -9 $$", 600000, "the command was ended by signal 9; it runs again in 1 ms"},
      {"sleep 1000", 10, "the command took longer than 10 ms; it runs again in 1 ms"},
      {"trap '' TERM; sleep 1000 & wait; sleep 1000", 10, "the command took longer than 10 ms; it runs again in 1 ms"},
      {"yes", 600000, "the command wrote more than 1 MiB; it runs again in 1 ms"},
      {"exec <&-; echo deaf", 600000, ""},
  };
  for (const Case &one : cases) {
    told.clear();
    output.clear();
    OnChange command = onChange(one.command, one.takesMost);
    command.changed();
    const std::string failure = one.failure;
    runUntil([&] { return failure.empty() ? output.ends_with("\n") : told.size() == 1; });
    if (!failure.empty()) {
      EXPECT_EQ(told, Texts{failure});
    }
    EXPECT_LE(output.size(), OnChange::writesMost + 4096) << one.command;
  }
}

TEST_F(OnChangeTest, ACommandThatFailsIsTriedAgainLaterAndLater) {
  const std::string count = directory.path() + "/count";
  OnChange command = onChange("echo x >> " + count + "; [ $(wc -l < " + count + ") -gt 3 ] && echo done");
  command.changed();
  runUntil([&] { return output == "done\n"; });
  Texts delays;
  for (const std::string &text : told) delays.push_back(text.substr(text.rfind("in ")));
  EXPECT_EQ(delays, (Texts{"in 1 ms", "in 2 ms", "in 4 ms"}));
}

// Waits for the end of a process that is not our child.
bool ends(pid_t process) {
  constexpr int patience = 120000;  // milliseconds
  const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
  if (descriptor < 0) return errno == ESRCH;
  pollfd end{descriptor, POLLIN, 0};
  int ended = 0;
  do {
    ended = ::poll(&end, 1, patience);
  } while (ended < 0 && errno == EINTR);  // by the end of the command itself
  ::close(descriptor);
  return ended == 1;
}

TEST_F(OnChangeTest, WhatACommandHasLeftBehindEndsWithIt) {
  OnChange command = onChange("sleep 1000 & echo $!");
  command.changed();
  context.run();
  EXPECT_TRUE(ends(std::stoi(output)));
  EXPECT_EQ(told, Texts{});
}

TEST_F(OnChangeTest, ItsEndEndsTheCommand) {
  {
    OnChange command = onChange("sleep 1000 & echo $!; wait");
    command.changed();
    runUntil([&] { return output.ends_with("\n"); });
  }
  EXPECT_TRUE(ends(std::stoi(output)));
}

}  // namespace
}  // namespace Control
