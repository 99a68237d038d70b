#include "tests/plan/SweepTest.h"

namespace Planning {
namespace {

class MergeTest : public SweepTest {};

TEST_F(MergeTest, TellsWhatIsMissingAndDouble) {
  sweep({"--no-pairs", "--results", path("results")});
  const Lines lines = linesOf(read("results"));
  std::string other = lines[4];
  other.replace(other.find("\"held\":["), 8, "\"held\":[false,");
  write("a", lines[0] + lines[1] + lines[4]);
  write("b", lines[4] + lines[1] + other + lines[8]);
  EXPECT_EQ(run({"merge", path("a"), path("b")}), failed);
  EXPECT_NE(out_.find("5 runs are missing: 2, 3, 5, 6, 7\n"), std::string::npos) << out_;
  EXPECT_NE(out_.find("3 results are of a run that has one already, and left out; 1 of them say"), std::string::npos);
  write("b", lines[3]);
  EXPECT_EQ(run({"merge", path("b")}), failed);
  EXPECT_NE(err_.find("run 0 is missing"), std::string::npos);
  EXPECT_NE(out_.find("\nat least 3 runs are missing: 0, 1, 2\n"), std::string::npos) << out_;
  std::string negative = lines[3];
  const std::string member = "\"leftWithoutRp\":[";
  negative.insert(negative.find(member) + member.size(), 1, '-');
  for (const std::string &broken :
       {negative, std::string(lines[3]).replace(lines[3].find("\"run\":3"), 7, "\"run\":3.5")}) {
    write("b", broken);
    EXPECT_EQ(run({"merge", path("b")}), refused) << out_;
    EXPECT_NE(err_.find("line 1 is no result of a sweep"), std::string::npos) << err_;
  }
}

TEST_F(MergeTest, RefusesWhatNoRunCanHaveFound) {
  sweep({"--no-pairs", "--results", path("results")});
  const Lines lines = linesOf(read("results"));
  const auto with = [](std::string line, const std::string &text, const std::string &other) {
    return line.replace(line.find(text), text.size(), other);
  };
  const std::string foreign = "line 2 is no result of a sweep: ";
  const std::pair<std::string, std::string> cases[] = {
      {with(lines[3], "\"withoutBsr\":[", "\"withoutBsr\":[-1"), foreign + "-10.0 s is no time"},
      {with(lines[3], "\"disagreed\":[", "\"disagreed\":[1000000000"), foreign + "10000000000.0 s is no time"},
      {with(lines[3], "\"fails\":[", "\"fails\":[\"a\",\"b\","), foreign + "more than two things fail"},
      {with(lines[3], "\"held\":[", "\"held\":[false,"), "line 2 tells of another number of expectations"},
      {with(lines[0], "\"links\":4", "\"links\":1000000000000000000"), foreign + "it has no runs, or more than"},
      {with(lines[0], "\"seeds\":1", "\"seeds\":4294967295"), foreign + "it has no runs, or more than"},
      {with(lines[0], "\"end\":", "\"end\":-"), foreign + "-"},
      {with(lines[3], "\"run\":3", "\"run\":9"),
       "there is a result of run 9, but that of run 0 is of a sweep with 9 runs"},
  };
  for (const auto &[line, error] : cases) {
    write("b", (line[line.find("\"run\":") + 6] == '0' ? lines[1] : lines[0]) + line);
    EXPECT_EQ(run({"merge", path("b")}), refused) << line;
    EXPECT_NE(err_.find(error), std::string::npos) << error << ": " << err_;
  }
}

TEST_F(MergeTest, TakesTheLineOfTheSweepWithMostSeeds) {
  sweep({"--no-pairs", "--results", path("one")});
  sweep({"--no-pairs", "--seeds", "2", "--results", path("two")});
  const std::string whole = out_;
  for (const auto &[first, second] : {std::pair("one", "two"), std::pair("two", "one")}) {
    run({"merge", path(first), path(second)});
    EXPECT_NE(out_.find("9 results are of a run that has one already, and left out\n"), std::string::npos) << out_;
    EXPECT_EQ(out_.substr(0, out_.find('\n')), whole.substr(0, whole.find('\n')));
    EXPECT_EQ(out_.substr(out_.find("\n\n")), whole.substr(whole.find("\n\n")));
  }
}

TEST_F(MergeTest, ALastLineThatOnlyLacksItsEndCounts) {
  sweep({"--no-pairs", "--results", path("results")});
  const std::string whole = out_;
  std::string text = read("results");
  text.pop_back();
  write("b", text);
  run({"merge", path("b")});
  EXPECT_EQ(out_, whole);
  text.pop_back();
  write("b", text);
  run({"merge", path("b")});
  EXPECT_NE(out_.find("\n1 run is missing: 8\n"), std::string::npos) << out_;
}

TEST_F(MergeTest, ClaimsNothingOfRunsThatAreMissing) {
  sweep({"--results", path("results")});
  const Lines lines = linesOf(read("results"));
  const auto merged = [&](const std::string &text) {
    write("some", text);
    run({"merge", path("some")});
    EXPECT_EQ(out_.find("can lose any"), std::string::npos) << out_;
    EXPECT_EQ(out_.find("Whatever else"), std::string::npos) << out_;
    return out_;
  };
  const std::string two = merged(lines[0] + lines[1]);  // link r1-r2 can be lost
  for (const char *what : {"a link or a router", "a pair of links", "another router without"}) {
    EXPECT_NE(two.find(std::string("\nNone of the 2 of 15 runs that are there shows ") + what), std::string::npos)
        << two;
  }
  EXPECT_NE(merged(lines[0] + lines[4]).find("\nNone of the 2 of 15 runs that are there shows any other pair of links"),
            std::string::npos)
      << out_;
  EXPECT_NE(merged(lines[1]).find("\nThe only run that is there does not show"), std::string::npos) << out_;
  // Of a pair nobody knows whether each of the two alone can be lost.
  EXPECT_EQ(merged(lines[0] + lines[9]).find("each of them alone"), std::string::npos) << out_;
}

}  // namespace
}  // namespace Planning
