// The command line of pimbsr-sim, before its verbs.
#include "plan/Program.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>

namespace Planning {
namespace {

TEST(Program, EndsWithOneWhereItsOutputCannotBeWritten) {
  const std::pair<Arguments, int> cases[] = {
      {{"--help"}, done},         {{"--version"}, done},  {{"schema"}, done}, {{"check", "--help"}, done},
      {{"check", "-x"}, refused}, {{"no verb"}, refused}, {{}, refused},
  };
  for (const auto &[arguments, status] : cases) {
    std::ostringstream out, err, unheard;
    EXPECT_EQ(program(arguments, out, err), status) << err.str();
    EXPECT_EQ(status == done, !out.str().empty());
    std::ostream closed(nullptr);
    EXPECT_EQ(program(arguments, closed, unheard), status == done ? failed : refused);
    EXPECT_EQ(status == done ? "pimbsr-sim: the output cannot be written\n" : err.str(), unheard.str());
  }
}

}  // namespace
}  // namespace Planning
