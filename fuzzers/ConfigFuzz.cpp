// A configuration file that is accepted can be applied, to entities at rest and under a running agent; what is in force
// then does not depend on what was before, and `show config` prints a file that is the same configuration.

#include <nlohmann/json.hpp>

#include "daemon/file/ConfigApply.h"
#include "daemon/file/ConfigFile.h"
#include "daemon/file/Effective.h"
#include "fuzzers/Bytes.h"
#include "fuzzers/Invariants.h"
#include "fuzzers/Traces.h"
#include "tests/support/EntityLines.h"

using namespace Routing::Pim::Bsr;

namespace {

// What a configuration has become.
struct Entities {
  Kiv::Ptr<ConfigColl> coll = Kiv::make<ConfigColl>();
  Kiv::Ptr<Acl::Input::Config> acls = Kiv::make<Acl::Input::Config>();

  void apply(const Configuration &configuration) const { configurationApply(configuration, *coll, *acls); }
  Test::Lines lines() const {
    Test::Lines lines = Test::linesOf(*coll);
    for (const auto &[name, acl] : acls->acl()) {
      std::ostringstream rules;
      for (const auto &[sequence, rule] : acl->currCfg()->ruleBySequence()) rules << sequence << ' ' << rule << '\n';
      lines["acl " + name] = rules.str();
    }
    return lines;
  }
};

void expectSameWhenPrinted(const LoadedConfiguration &loaded, Pax::AddressFamily family) {
  const nlohmann::ordered_json printed = configurationJson(loaded.configuration);
  const LoadedConfiguration again = configurationFromText(printed.dump(), family);
  const std::string how = again.good() ? "another configuration" : "refused: " + again.findings.errors.front().message;
  if (!again.good() || configurationJson(again.configuration) != printed) {
    Fuzz::expectNothing("what was printed is " + how + "\n" + printed.dump());
  }
}

// One file after the other under an agent that has a neighbor.
void expectApplies(const std::vector<Configuration> &files, Pax::AddressFamily family) {
  Sim::Network network(family, 1);
  network.linkIs("link", {"r1", "r2"});
  Sim::Host host(network.router("r1")), other(network.router("r2"));
  other.candidateBsrIs(Pax::allGroups(family), 1);
  other.start();
  host.start();
  const Entities running{host.system().configColl, host.system().aclCli};
  for (const Configuration &file : files) {
    running.apply(file);
    Entities fresh;
    fresh.apply(file);
    if (running.lines() != fresh.lines()) Fuzz::expectNothing("applied after another, it is not the same");
    network.time().runFor(100);
    Fuzz::expectNothing(Fuzz::Invariants::broken(host, network.time().now()));
  }
}

}  // namespace

// The first byte is the family. Files are parted by a byte of value 30.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Fuzz::Bytes in(data, size);
  Fuzz::traceAtLevel(1);
  const auto family = in.u8() & 1 ? Pax::AddressFamily::ipv6 : Pax::AddressFamily::ipv4;
  std::vector<Configuration> good;
  const auto all = in.rest();
  for (auto at = all.begin(); good.size() < 3;) {
    const auto end = std::find(at, all.end(), uint8_t{30});
    const LoadedConfiguration loaded = configurationFromText(std::string(at, end), family);
    if (loaded.good()) {
      expectSameWhenPrinted(loaded, family);
      good.push_back(loaded.configuration);
    }
    if (end == all.end()) break;
    at = end + 1;
  }
  if (!good.empty()) expectApplies(good, family);
  return 0;
}
