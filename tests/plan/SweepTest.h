// What the tests of sweeps and of merge share.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "plan/Program.h"
#include "tests/daemon/TemporaryDirectory.h"

namespace Planning {

using Lines = std::vector<std::string>;

// A triangle, and r4 behind r3. r1 is the BSR, r2 the spare one, and the only RP.
constexpr const char *network = R"({
  "routers": {
    "r1": {"configuration": {"vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {"priority": 65}}}}}}}},
    "r2": {"configuration": {"vrfConfig": {"default": {"bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}}},
                                                       "rpCandidateConfig": {"lo": {"groupRange": {"224.0.0.0/4": {}}}}}}}},
    "r3": {}, "r4": {}},
  "links": [{"between": ["r1", "r2"]}, {"between": ["r2", "r3"]}, {"between": ["r1", "r3"]}, {"between": ["r3", "r4"]}],
  "events": [{"at": 300, "crash": "r1"}],
  "expect": [{"withoutRp": 5, "from": 60}, {"at": 350, "bsr": "r1"}]
})";

class SweepTest : public testing::Test {
 protected:
  SweepTest() { write("plan.json", network); }

  std::string path(const std::string &name) const { return directory_.path() + "/" + name; }
  void write(const std::string &name, const std::string &text) const { std::ofstream(path(name)) << text; }
  std::string read(const std::string &name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  Lines linesOf(const std::string &text) const {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
    return lines;
  }
  // Returns the exit status; what is printed is in out_ and err_.
  int run(const Arguments &arguments) {
    std::ostringstream out, err;
    const int status = program(arguments, out, err);
    out_ = out.str();
    err_ = err.str();
    return status;
  }
  int sweep(const Arguments &options) {
    Arguments arguments{"sweep", path("plan.json")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments);
  }

  const ::Test::TemporaryDirectory directory_;
  std::string out_, err_;
};

}  // namespace Planning
