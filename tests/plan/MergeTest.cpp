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
