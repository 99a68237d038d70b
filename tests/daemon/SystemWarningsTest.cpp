#include "daemon/file/SystemWarnings.h"

#include "daemon/file/ConfigFile.h"
#include "tests/linux/Netns.h"

namespace Routing::Pim::Bsr {
namespace {

class SystemWarningsTest : public ::Test::NetnsTest {};

TEST_F(SystemWarningsTest, AFilterThatDeniesOurOwnCandidateRpIsFoundByTheAddressInTheNamespace) {
  netns("a");
  ip("a",
     "link add eth7 type veth peer name eth8\nlink set eth7 up\nlink set eth8 up\n"
     "addr add 10.9.0.1/24 dev eth7\naddr add 10.8.0.1/24 dev eth8");
  const auto loaded = configurationFromText(R"({"pim": {"gone": {}, "red": {"namespace": ")" + nameOf("a") + R"("}},
      "vrfConfig": {"red": {
        "rpCandidateConfig": {"eth7": {"groupRange": {"225.0.0.0/8": {}}}, "eth8": {"groupRange": {"226.0.0.0/8": {}}},
                              "eth9": {"groupRange": {"227.0.0.0/8": {}}}},
        "crpFilterAcl": ["TRUSTED"]}},
      "acl": {"TRUSTED": [{"deny": "10.9.0.0/16"}, {"permit": "10.0.0.0/8"}]}})",
                                            Pax::AddressFamily::ipv4);
  ASSERT_TRUE(loaded.good());
  Findings findings;
  findSystemWarnings(loaded.configuration, findings);
  EXPECT_EQ(findings.warnings, (std::vector<Finding>{{"/vrfConfig/red/crpFilterAcl",
                                                      "denies 10.9.0.1, this router's own candidate RP on eth7"}}));
}

TEST(SystemWarnings, APimInterfaceThatIsMissingOrOfAVrfDeviceIsFound) {
  const auto loaded = configurationFromText(R"({"pim": {"default": {"interfaces": ["eth0", "eth1", "eth2"]}}})",
                                            Pax::AddressFamily::ipv4);
  const auto interfaces = Kiv::make<Ip::AllIntfStatusDir>();
  for (const char *there : {"eth0", "eth1"}) interfaces->intfStatusIs({L3::defaultVrf, there});
  const SystemView view{interfaces, [](const auto &intfId) { return intfId.name() == "eth1"; }};
  Findings findings;
  findSystemWarnings(loaded.configuration, "default", view, findings);
  EXPECT_EQ(
      findings.warnings,
      (std::vector<Finding>{{"/pim/default/interfaces/1",
                             "eth1 belongs to a VRF device, whose routes are ignored: a VRF is a network "
                             "namespace here"},
                            {"/pim/default/interfaces/2", "eth2 is not there now; PIM begins on it when it is"}}));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
