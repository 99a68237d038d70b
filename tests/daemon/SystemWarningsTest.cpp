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
  Findings findings = loaded.findings;
  findSystemWarnings(loaded.configuration, findings);
  EXPECT_EQ(findings.warnings,
            (std::vector<Finding>{
                {"/pim/gone",
                 "there is neither namespace gone nor VRF device gone now; the VRF begins when there is one", "1:10"},
                {"/vrfConfig/red/rpCandidateConfig/eth9", "eth9 is not there now; it is no candidate RP before it is",
                 "4:31"},
                {"/vrfConfig/red/crpFilterAcl", "denies 10.9.0.1, this router's own candidate RP on eth7", "5:9"}}));
}

TEST_F(SystemWarningsTest, AnInterfaceThatIsNotThereIsFoundWhereverItIsNamed) {
  netns("a");
  ip("a", "link add eth0 type veth peer name eth1");
  const auto loaded =
      configurationFromText(R"({"pim": {"red": {"interfaces": ["eth0", "eth2"], "namespace": ")" + nameOf("a") + R"("}},
 "vrfConfig": {"red": {"bsrCandidateConfig": {"eth0": {"group": {"224.0.0.0/4": {}}}, "eth3": {"group": {"239.1.0.0/16": {}}}},
   "rpCandidateConfig": {"eth0": {"groupRange": {"239.1.0.0/16": {}}}}}},
 "intfConfig": {"eth2": {"bsrBorderGrp": ["239.1.0.0/16"]}, "eth0": {"bsrBorderGrp": ["239.1.0.0/16"]},
   "red/eth7": {"bsrBorderGrp": ["239.1.0.0/16"]}, "red/eth8": {}}})",
                            Pax::AddressFamily::ipv4);
  ASSERT_TRUE(loaded.good());
  Findings findings = loaded.findings;
  findSystemWarnings(loaded.configuration, findings);
  EXPECT_EQ(findings.warnings,
            (std::vector<Finding>{
                {"/pim/red/interfaces/1", "eth2 is not there now; PIM begins on it when it is in VRF red", "1:41"},
                {"/vrfConfig/red/bsrCandidateConfig/eth3", "eth3 is not there now; it is no candidate BSR before it is",
                 "2:87"},
                {"/intfConfig/eth2", "eth2 is not there now; its borders come into force when it is", "4:17"},
                {"/intfConfig/red/eth7", "eth7 is not there now; its borders come into force when it is", "5:4"}}));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
