#include "plan/Pictures.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "plan/Program.h"
#include "tests/daemon/TemporaryDirectory.h"
#include "tests/plan/Dot.h"

namespace Planning {
namespace {

class Draw : public testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(file("plan.json")) << R"({
      "routers": {"r1": {"configuration": {"vrfConfig": {"default": {
        "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}}}}}}, "r2": {}},
      "links": [{"between": ["r1", "r2"]}],
      "events": [{"at": 200, "cut": "r1-r2"}, {"at": 400, "heal": "r1-r2"}, {"at": 400, "reload": "r2",
        "configuration": {}}]})";
  }
  void TearDown() override { ::setenv("PATH", path_.c_str(), 1); }

  std::string file(const std::string &name) const { return directory_.path() + "/" + name; }
  std::string textOf(const std::string &name) const {
    std::ifstream in(file(name));
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // "Graphviz" is what is in the folder of the test.
  void programIs(const std::string &name, const std::string &script) {
    std::ofstream(file(name)) << "#!/bin/sh\n" << script << '\n';
    std::filesystem::permissions(file(name), std::filesystem::perms::owner_all);
    ::setenv("PATH", directory_.path().c_str(), 1);
  }
  int draw(const Arguments &arguments) {
    Arguments all{"draw", file("plan.json")};
    all.insert(all.end(), arguments.begin(), arguments.end());
    out_.str("");
    err_.str("");
    return program(all, out_, err_);
  }

  const ::Test::TemporaryDirectory directory_;
  const std::string path_ = std::getenv("PATH");
  std::ostringstream out_, err_;
};

TEST_F(Draw, WritesAPictureAMomentAndTheSameBytesAgain) {
  ASSERT_EQ(draw({file("a"), "--format", "dot"}), done) << err_.str();
  std::string files;
  for (const char *name : {"network-000-start.dot", "network-001.dot", "network-002.dot", "timeline.svg"}) {
    files += file("a") + "/" + name + "\n";
  }
  EXPECT_EQ(out_.str(), files);
  ASSERT_EQ(draw({file("b"), "--format", "dot"}), done);
  for (const char *name : {"/network-000-start.dot", "/network-001.dot", "/network-002.dot", "/timeline.svg"}) {
    EXPECT_GT(textOf(std::string("a") + name).size(), 100u);
    EXPECT_EQ(textOf(std::string("a") + name), textOf(std::string("b") + name));
  }
  // Each shows the network just before it goes on.
  const auto title = [&](const std::string &name) { return DotReader(textOf("a/" + name)).of("graph")["label"]; };
  EXPECT_NE(title("network-000-start.dot").find("before the first event, at 200 s"), std::string::npos);
  EXPECT_NE(title("network-001.dot").find("1. Link r1-r2 is cut at 200 s; as of 400 s"), std::string::npos);
  EXPECT_NE(title("network-002.dot").find("2. Link r1-r2 is healed; r2 loads another configuration at 400 s"),
            std::string::npos);
  EXPECT_EQ(DotReader(textOf("a/network-000-start.dot")).of("r1 -- r2")["style"], "solid");
  EXPECT_EQ(DotReader(textOf("a/network-001.dot")).of("r1 -- r2")["style"], "dashed");
  EXPECT_EQ(DotReader(textOf("a/network-001.dot")).of("r2")["label"], "r2\\nno BSR");
  EXPECT_EQ(DotReader(textOf("a/network-002.dot")).of("r2")["label"], "r2");

  const std::string picture = textOf("a/timeline.svg");
  ASSERT_EQ(program({"run", file("plan.json"), "--pictures", file("run")}, out_, err_), done) << err_.str();
  EXPECT_EQ(textOf("run/timeline.svg"), picture);

  ASSERT_EQ(draw({file("c"), "--format", "dot", "--events", "2"}), done);
  EXPECT_EQ(out_.str(), file("c/network-002.dot") + "\n" + file("c/timeline.svg") + "\n");
  EXPECT_EQ(textOf("c/network-002.dot"), textOf("a/network-002.dot"));
}

TEST_F(Draw, PutsNodesWhereGraphvizDoes) {
  programIs("neato",
            "[ $# -gt 1 ] || { echo 'node n1 1 2 0 0'; echo 'node n0 0.5 3 0 0'; exit; }\n"
            "echo \"$1 $2 </svg>\"");
  ASSERT_EQ(draw({file("a"), "--events", "0"}), done) << err_.str();
  EXPECT_EQ(err_.str(), "");
  EXPECT_EQ(out_.str(), file("a/network-000-start.dot") + "\n" + file("a/network-000-start.svg") + "\n" +
                            file("a/timeline.svg") + "\n");
  const DotReader picture(textOf("a/network-000-start.dot"));
  EXPECT_EQ(picture.of("r1")["pos"], "36,216!");
  EXPECT_EQ(picture.of("r2")["pos"], "72,144!");
  EXPECT_EQ(textOf("a/network-000-start.svg"), "-n2 -Tsvg </svg>\n");
}

TEST_F(Draw, NamesNoPictureThatIsNotAllThere) {
  const std::string layout = "[ $# -gt 1 ] || { echo 'node n1 1 2 0 0'; echo 'node n0 0.5 3 0 0'; exit; }\n";
  programIs("neato", layout + "echo '<svg> </svg>'");
  std::filesystem::create_directory(file("a"));
  std::filesystem::create_symlink("/dev/full", file("a/network-000-start.svg"));
  EXPECT_EQ(draw({file("a"), "--events", "0"}), failed);
  EXPECT_EQ(out_.str(), file("a/network-000-start.dot") + "\n" + file("a/timeline.svg") + "\n");
  EXPECT_EQ(err_.str(), "pimbsr-sim: " + file("a/network-000-start.svg") + " cannot be written\n");
  programIs("neato", layout + "echo '<svg>'");
  EXPECT_EQ(draw({file("b"), "--events", "0"}), done);
  EXPECT_EQ(out_.str(), file("b/network-000-start.dot") + "\n" + file("b/timeline.svg") + "\n");
  EXPECT_NE(err_.str().find("neato draws only a part"), std::string::npos) << err_.str();
}

TEST_F(Draw, WithoutGraphvizWritesWhatItWouldDraw) {
  const std::string said = "The network is written for Graphviz only, not as SVG: ";
  programIs("cat", "");
  EXPECT_EQ(draw({file("a"), "--events", "0"}), done);
  EXPECT_EQ(out_.str(), file("a/network-000-start.dot") + "\n" + file("a/timeline.svg") + "\n");
  EXPECT_EQ(err_.str(), said + "there is no program \"neato\"; the package graphviz has it\n");
  programIs("neato", "echo 'it is broken' >&2; exit 3");
  EXPECT_EQ(draw({file("a"), "--events", "0"}), done);
  EXPECT_EQ(err_.str(), said + "neato fails: it is broken\n");
  programIs("neato", "echo 'node n1 1 2 0 0'");
  EXPECT_EQ(draw({file("a"), "--events", "0"}), done);
  EXPECT_EQ(err_.str(), said + "neato lays out only 1 nodes\n");
}

TEST_F(Draw, ALayoutThatTakesTooLongIsEnded) {
  programIs("neato", "exec /bin/sleep 1000");
  const Plan plan = planOf(file("plan.json"), err_);
  Simulation simulation(plan, 1);
  Pictures::Options options{file("a")};
  options.limit = std::chrono::seconds(0);
  Pictures pictures(simulation, 1, options, out_, err_);
  EXPECT_NE(err_.str().find("neato takes longer than 0 s"), std::string::npos) << err_.str();
}

TEST_F(Draw, RefusesWhatItCannotDo) {
  const std::pair<Arguments, int> cases[] = {
      {{}, refused},
      {{file("a"), "--format", "png"}, refused},
      {{file("a"), "--events", "1,x"}, refused},
      {{file("a"), "--seed", "-1"}, refused},
      {{file("a"), "--format", "dot", "--events", "3"}, refused},
      {{file("plan.json") + "/a", "--format", "dot"}, failed},
  };
  for (const auto &[arguments, status] : cases) EXPECT_EQ(draw(arguments), status) << err_.str();
}

}  // namespace
}  // namespace Planning
