#include "daemon/file/ConfigFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "daemon/file/Effective.h"
#include "daemon/file/Schema.h"
#include "tests/daemon/TemporaryDirectory.h"

namespace Routing::Pim::Bsr {
namespace {

std::vector<std::string> texts(const std::vector<Finding> &findings) {
  std::vector<std::string> result;
  result.reserve(findings.size());
  for (const Finding &finding : findings) result.push_back(toText("F", {finding.place, finding.message, {}}));
  return result;
}

constexpr auto ipv4 = Pax::AddressFamily::ipv4, ipv6 = Pax::AddressFamily::ipv6;

struct Case {
  std::string text;
  std::vector<std::string> findings;
};

// A file with the VRF default and these settings for it; more members may follow them.
std::string file(const std::string &settings, const std::string &more = "") {
  return R"({"pim": {"default": {}}, "vrfConfig": {"default": {)" + settings + "}}" + more + "}";
}
std::string bsr(const std::string &interfaces) { return R"("bsrCandidateConfig": {)" + interfaces + "}"; }
std::string rp(const std::string &interfaces) { return R"("rpCandidateConfig": {)" + interfaces + "}"; }

TEST(ConfigFile, WhatIsNoJsonIsNamedWithItsPlace) {
  std::string deep;
  for (int i = 1; i < 32; ++i) deep += "/0";
  const std::string value = "a value has to be here: a number, a text in double quotes, true, false, '[' or '{'";
  const std::pair<std::string, std::string> table[] = {
      {"", "1:1: the file ends too early: " + value},
      {"{ \"pim\": {},\n  }",
       "2:3: the name of a member has to be here, in double quotes, not '}'; is the comma before it one too many?"},
      {R"({"pim" {}})", "1:8: ':' has to be here, behind the name of the member, not '{'"},
      {R"({"pim": {} "acl": {}})", "1:12: ',' or '}' has to be here, not a text"},
      {"{\"pim\": tru }", "1:9: " + value + ", not \"tru\""},
      {"[truex]", "1:2: " + value + ", not \"truex\""},
      {"[true x]", "1:7: ',' or ']' has to be here, not \"x\""},
      {"{'pim': 1}", "1:2: the name of a member has to be here, in double quotes, not \"'pim'\""},
      {"{\"pim\"\n /* {x */ 1}", "2:11: ':' has to be here, behind the name of the member, not a number"},
      {"{} // that is all\n}", "2:1: the file has to end here, not '}'"},
      {"{} \xff", "1:4: the file has to end here, not \"\\ufffd\""},
      {"[\"a\\\"\nb\"]", "1:6: a text has to end on the line on which it begins; a line break in it is written \\n"},
      {"[\"\\q\"]", "1:4: behind '\\' in a text has to be one of \" \\ / b f n r t u; '\\' itself is written \\\\"},
      {"[\"\xff\"]", "1:3: this is no UTF-8"},
      {"[\"a]", "1:2: a text begins here, and no '\"' ends it"},
      {"[1 /* 2]", "1:4: a comment begins here, and no */ ends it"},
      {"[1 / 2]", "1:4: a comment begins with // or /*; '/' has no other meaning here"},
      {"[1.]", "1:2: \"1.\" is no number as JSON has them, like 1, -1 or 1.5"},
      {"[01]", "1:2: \"01\" is no number as JSON has them, like 1, -1 or 1.5"},
      {"{\"drPriority\": 1e999}", "1:16: \"1e999\" is too large a number"},
      {std::string("{}\n \0 []", 8), "2:2: a NUL byte may not be in the file"},
      {std::string(100, '['), deep + ": is nested too deeply"},
  };
  for (const auto &[text, error] : table) {
    EXPECT_EQ(texts(configurationFromText(text, ipv4).findings.errors), std::vector{"F:" + error}) << text;
  }
}

TEST(ConfigFile, AFaultIsNamedWithItsLineAndColumn) {
  const std::string text = R"({
  // a comment: {"pim": 3},
  "pim": {"default": {"interfaces": ["eth0", /* "x", */ 7,
                                     "eth0"], "hello" : 5 }},
  "vrfConfig": {"default": {"rpCandidateConfig": {
      "eth1": {"acl": {"A": {}, "B": {}}},
      "eth0": {"groupRange": {"225.0.0.0/8": {"priority":-1}}, "acl": {"B": {}}}}}},
  "acl": {"B": [{"permit": "225.0.0.0/8"},
                {"permit": "x"}]}
})";
  std::map<std::string, std::string> places;
  for (const Finding &error : configurationFromText(text, ipv4).findings.errors) places[error.place] = error.at;
  EXPECT_EQ(places, (std::map<std::string, std::string>{
                        {"/pim/default/interfaces/1", "3:57"},
                        {"/pim/default/interfaces/2", "4:38"},
                        {"/pim/default/hello", "4:47"},
                        {"/vrfConfig/default/rpCandidateConfig/eth1/acl/A", "6:24"},
                        {"/vrfConfig/default/rpCandidateConfig/eth0/groupRange/225.0.0.0/8/priority", "7:47"},
                        {"/acl/B/1/permit", "9:18"},
                    }));
  const Finding bad{"/pim", "is bad", "3:5"}, worse{"/acl", "is worse"};
  EXPECT_EQ(oneOf({bad}, "F", "error"), "F:/pim: is bad (line 3, column 5)");
  EXPECT_EQ(oneOf({worse, bad}, "F", "error"), "F:/acl: is worse; and 1 more error, see 'pimbsrctl check'");
  EXPECT_EQ(oneOf({worse, bad, bad}, "F", "warning"), "F:/acl: is worse; and 2 more warnings, see 'pimbsrctl check'");
}

TEST(ConfigFile, WhatIsGivenAgainIsNamedWithThePlaceWhereItIs) {
  const auto loaded = configurationFromText(R"({"pim": {"default": {"hello": 5, "hello": 6}},
  "acl": {"A": [], "A": [{"permit": 7, "permit": 8}],
          "A": []}})",
                                            ipv4);
  std::vector<std::string> errors;
  for (const Finding &error : loaded.findings.errors) errors.push_back(toText("", error));
  EXPECT_EQ(errors, (std::vector<std::string>{
                        ":/pim/default/hello: is given twice (line 1, column 34)",
                        ":/acl/A: is given twice (line 2, column 20)", ":/acl/A: is given twice (line 3, column 11)",
                        ":/pim/default/hello: must be speak or listen, not 5 (line 1, column 22)"}));
}

TEST(ConfigFile, ANamespaceWithoutItsDevicesAndEachVrfDeviceBelongToOneVrf) {
  struct Case {
    const char *pim;
    const char *error;  ///< how it begins; null: good
  };
  const Case cases[] = {
      {R"({"default": {}, "a": {"device": "a"}, "b": {}, "c": {"namespace": "c"}})", nullptr},
      {R"({"a": {"namespace": "x"}, "b": {"namespace": "x", "device": "d"}, "d": {}})", nullptr},
      {R"({"a": {"namespace": "x"}, "b": {"namespace": "/run/netns/x"}})", "F:/pim/b: namespace /run/netns/x already"},
      {R"({"a": {"namespace": "x"}, "b": {"namespace": "x", "device": "a"}})", "F:/pim/b: VRF device a already"},
      {R"({"a": {"device": "d"}, "b": {"device": "d"}})", "F:/pim/b: VRF device d already"},
      {R"({"d": {}, "e": {"device": "d"}})", "F:/pim/e: VRF device d already"},
  };
  for (const auto &[pim, error] : cases) {
    const auto errors = texts(configurationFromText(R"({"pim": )" + std::string(pim) + "}", ipv4).findings.errors);
    ASSERT_EQ(errors.size(), error ? 1u : 0u) << pim;
    if (error) EXPECT_TRUE(errors.front().starts_with(error)) << pim << ": " << errors.front();
  }
}

TEST(ConfigFile, EveryFaultIsNamedWithItsPlace) {
  const std::string name101(101, 'v');
  const std::string name151(151, 'n');
  const std::string bad = R"({
    "pin": {},
    "pim": {
      "default": {"namespace": "x", "device": "x", "interface": [], "hello": "shout", "hello": "speak", "drPriority": 4294967296,
                  "interfaces": ["eth0", 3, "eth0", "a/b", "sixteen-byte-16x", ""]},
      "a b": {}, "blue": {"interfaces": ["eth0", "eth1"]}, "lime": {"interfaces": "eth0"}, ")" +
                          name101 + R"(": {},
      "red": {"interfaces": ["eth0"]}, "tan": {"namespace": "red"}, "violet": {"namespace": ")" +
                          name151 + R"("}},
    "vrfConfig": {
      "gone": {},
      "blue": {"crpFilterAcl": ["C"], "limits": 7,
               "bsrCandidateConfig": {"lo": {"group": {"224.0.0.0/4": {}}, "acl": {"A": {}}}},
               "rpCandidateConfig": {"lo": {"acl": {"B": {}}}}},
      "default": {"holdTime": 0, "szTimeout": 1.5, "holdtime": 3, "mixedFragments": "keep",
                  "limits": {"rps": -1, "openBytes": 65535, "keptBytes": 2000000000, "zone": 7},
        "bsrCandidateConfig": {
          "a/b": {"acl": {}}, "eth0": 3, "eth1": {"group": {}},
          "lo": {"group": {"224.0.0.0/4": {"priority": 256, "hashMaskLen": 33, "interval": 21846},
                           "239.1.0.0/8": {}, "ff0e::/16": {}, "10.0.0.0/8": {}, "239.1.1.1": {}}}},
        "rpCandidateConfig": {
          "eth1": {}, "lo": {"groupRange": {"224.0.0.0/4": {"priority": 256}}, "mode": "dense", "advInterval": 21846}}}},
    "intfConfig": {"eth3": {"bsrBorderAcl": ["D", "D"]}, "eth1": {}, "blue/eth1": {}, "lilac/eth1": {}, "red/": {},
                   "red/eth1": {"bsrBorderGrp": ["239.1.0.0/16", "239.001.0.0/16"]}},
    "acl": {"": [], "X": {}, "Y": [7, {}, {"permit": "any", "deny": "any"}, {"permit": "all"}, {"deny": "10.0.0.1/8"},
                                   {"allow": "any"}]},
    "metrics": {"listen": "eth0:9716", "port": 9716}, "logLevel": "loud"})";
  std::ostringstream errors;
  for (const Finding &error : configurationFromText(bad, ipv4).findings.errors) {
    errors << error.place << ": " << error.message << '\n';
  }
  EXPECT_EQ(errors.str(), R"(/pim/default/hello: is given twice
/pim/a b: "a b" is not a VRF name (not empty, '.' or '..', without blanks or '/')
/pim/default/namespace: the VRF default is the namespace that the program starts in, and takes no name
/pim/default/device: the VRF default is what belongs to no VRF device, and takes no device
/pim/default/interfaces/1: must be a string, not 3
/pim/default/interfaces/2: "eth0" is listed twice
/pim/default/interfaces/3: "a/b" is not an interface name (1 to 15 bytes without blanks, '/' or ':')
/pim/default/interfaces/4: "sixteen-byte-16x" is not an interface name (1 to 15 bytes without blanks, '/' or ':')
/pim/default/interfaces/5: "" is not an interface name (1 to 15 bytes without blanks, '/' or ':')
/pim/default/hello: must be speak or listen, not "shout"
/pim/default/drPriority: must be an integer from 0 to 4294967295, not 4294967296
/pim/default/interface: unknown name; known here: namespace, device, interfaces, hello, drPriority
/pim/lime/interfaces: must be a list, not "eth0"
/pim/violet/namespace: NamespaceName::bytes > 150 not allowed
/pim/)" + name101 + R"(: VrfName::bytes > VrfName::maxLength not allowed
/vrfConfig/blue/limits: must be an object, not 7
/vrfConfig/default/holdTime: must be an integer from 1 to 65535, not 0
/vrfConfig/default/szTimeout: must be an integer from 1 to 655350, not 1.5
/vrfConfig/default/mixedFragments: must be drop or stop, not "keep"
/vrfConfig/default/limits/rps: must be an integer from 0 to 1000000, not -1
/vrfConfig/default/limits/keptBytes: must be an integer from 65536 to 1073741824, not 2000000000
/vrfConfig/default/limits/openBytes: must be an integer from 65536 to 1073741824, not 65535
/vrfConfig/default/limits/zone: unknown name; known here: rps, zones, ranges, collectedRps, rangesPerRp, keptBytes, openBytes, neighbors
/vrfConfig/default/bsrCandidateConfig/a/b: "a/b" is not an interface name (1 to 15 bytes without blanks, '/' or ':')
/vrfConfig/default/bsrCandidateConfig/eth0: must be an object, not 3
/vrfConfig/default/bsrCandidateConfig/eth1: is a candidate BSR without a zone (group or acl)
/vrfConfig/default/bsrCandidateConfig/lo/group/10.0.0.0/8: "10.0.0.0/8" is not a range of multicast groups (224.0.0.0/4)
/vrfConfig/default/bsrCandidateConfig/lo/group/224.0.0.0/4/priority: must be an integer from 0 to 255, not 256
/vrfConfig/default/bsrCandidateConfig/lo/group/224.0.0.0/4/hashMaskLen: must be an integer from 0 to 32, not 33
/vrfConfig/default/bsrCandidateConfig/lo/group/224.0.0.0/4/interval: must be an integer from 1 to 21845, not 21846
/vrfConfig/default/bsrCandidateConfig/lo/group/239.1.0.0/8: "239.1.0.0/8" has host bits set; the prefix is 239.0.0.0/8
/vrfConfig/default/bsrCandidateConfig/lo/group/239.1.1.1: "239.1.1.1" is not an IPv4 prefix
/vrfConfig/default/bsrCandidateConfig/lo/group/ff0e::/16: "ff0e::/16" is not an IPv4 prefix
/vrfConfig/default/rpCandidateConfig/eth1: is a candidate RP without a range (groupRange or acl)
/vrfConfig/default/rpCandidateConfig/lo/groupRange/224.0.0.0/4/priority: must be an integer from 0 to 255, not 256
/vrfConfig/default/rpCandidateConfig/lo/mode: must be sparsemode or bidir, not "dense"
/vrfConfig/default/rpCandidateConfig/lo/advInterval: must be an integer from 1 to 21845, not 21846
/vrfConfig/default/holdtime: unknown name; known here: holdTime, szTimeout, mixedFragments, limits, bsrCandidateConfig, rpCandidateConfig, crpFilterAcl
/vrfConfig/gone: VRF gone is not in pim
/intfConfig/eth1: is given twice, also as /intfConfig/blue/eth1
/intfConfig/eth3/bsrBorderAcl/1: "D" is listed twice
/intfConfig/lilac/eth1: VRF lilac is not in pim
/intfConfig/red/: "" is not an interface name (1 to 15 bytes without blanks, '/' or ':')
/intfConfig/red/eth1/bsrBorderGrp/1: "239.001.0.0/16" is not an IPv4 prefix
/acl/: an ACL needs a name
/acl/X: must be a list, not an object
/acl/Y/0: must be an object, not 7
/acl/Y/1: must have either permit or deny
/acl/Y/2: must have either permit or deny
/acl/Y/3/permit: "all" is not an IPv4 prefix
/acl/Y/4/deny: "10.0.0.1/8" has host bits set; the prefix is 10.0.0.0/8
/acl/Y/5: must have either permit or deny
/acl/Y/5/allow: unknown name; known here: permit, deny
/logLevel: must be one of emergency, alert, critical, error, warning, notice, info or debug, not "loud"
/metrics/listen: "eth0:9716" is not ADDRESS:PORT (as 127.0.0.1:9716 or [::1]:9716) or PORT
/metrics/port: unknown name; known here: listen
/pin: unknown name; known here: pim, vrfConfig, intfConfig, acl, logLevel, metrics
/pim/tan: namespace red already belongs to VRF red; give one of them a 'device' in that namespace
/vrfConfig/blue/bsrCandidateConfig/lo/acl/A: ACL A is not defined
/vrfConfig/blue/rpCandidateConfig/lo/acl/B: ACL B is not defined
/vrfConfig/blue/crpFilterAcl/0: ACL C is not defined
/intfConfig/eth3/bsrBorderAcl/0: ACL D is not defined
)");
  EXPECT_EQ(texts(configurationFromText(R"({"pim": {"blue": {"interfaces": ["eth0"]}, "red": {"interfaces": ["eth0"]}},
                                             "intfConfig": {"eth0": {}, "eth2": {}}})",
                                        ipv4)
                      .findings.errors),
            (std::vector<std::string>{
                "F:/intfConfig/eth0: \"eth0\" is not listed in exactly one VRF of pim; write VRF/eth0",
                "F:/intfConfig/eth2: \"eth2\" is not listed in exactly one VRF of pim; write VRF/eth2"}));
}

TEST(ConfigFile, AZoneIsOfferedByOneInterface) {
  const std::string at = "F:/vrfConfig/default/bsrCandidateConfig/";
  const auto byAcls =
      configurationFromText(file(bsr(R"("a": {"group": {"224.0.0.0/4": {}}, "acl": {"A": {}}},
                  "b": {"group": {"224.0.0.0/4": {}}, "acl": {"A": {}, "B": {}}})"),
                                 R"(, "acl": {"A": [{"permit": "239.1.0.0/16"}], "B": [{"permit": "239.1.0.0/17"},
                        {"permit": "239.1.128.0/17"}]})"),
                            ipv4);
  EXPECT_EQ(texts(byAcls.findings.errors),
            (std::vector{at + "b/group/224.0.0.0/4: zone 224.0.0.0/4 is already offered by a",
                         at + "b/acl/A: the zones of ACL A are already offered by a",
                         at + "b/acl/B: zone 239.1.0.0/16, which ACL B permits, is already offered by a"}));
  const auto spelledTwice = configurationFromText(
      file(bsr(R"("lo": {"group": {"FF0E::/16": {"hashMaskLen": 128}, "ff0e:0::/16": {}, "224.0.0.0/4": {}}},
                  "eth0": {"group": {"ff0e::/16": {}}})")),
      ipv6);
  EXPECT_EQ(texts(spelledTwice.findings.errors),
            (std::vector{at + "lo/group/224.0.0.0/4: \"224.0.0.0/4\" is not an IPv6 prefix",
                         at + "lo/group/FF0E::/16/hashMaskLen: must be an integer from 0 to 127, not 128",
                         at + "lo/group/ff0e:0::/16: is given twice, also as "
                              "/vrfConfig/default/bsrCandidateConfig/lo/group/FF0E::/16",
                         at + "lo/group/FF0E::/16: zone ff0e::/16 is already offered by eth0"}));
}

TEST(ConfigFile, WhatIsDoubtfulIsAWarning) {
  const std::string at = "F:/vrfConfig/default/";
  const std::string serves = rp(R"("lo": {"groupRange": {"239.1.0.0/16": {}}})");
  const std::string zone = bsr(R"("lo": {"group": {"239.1.0.0/16": {}}})") + "," + serves;
  const std::string acls = bsr(R"("lo": {"acl": {"A": {}}})") + "," + serves;
  std::string many = R"("225.1.0.0/16": {})";  // 255 ranges
  for (int n = 2; n < 256; ++n) many += ", \"225." + std::to_string(n) + ".0.0/16\": {}";
  const Case table[] = {
      {file(zone), {}},
      {file(R"("holdTime": 129, )" + zone), {at + "holdTime: 129 is less than 2 x interval + 10 = 130"}},
      {file(R"("holdTime": 129, "szTimeout": 1289)"),
       {at + "szTimeout: 1289 is less than 10 x holdTime; 1290 is used"}},
      {file(bsr(R"("lo": {"group": {"224.0.0.0/4": {}, "225.0.0.0/8": {}}})") + "," + serves),
       {at + "bsrCandidateConfig/lo/group/225.0.0.0/8: zone 225.0.0.0/8 is outside 239.0.0.0/8, the range for "
             "administrative scopes",
        at + "bsrCandidateConfig/lo/group/225.0.0.0/8: no candidate RP of this router serves a range inside zone "
             "225.0.0.0/8"}},
      {file(zone, R"(, "intfConfig": {"e": {"bsrBorderGrp": ["239.2.0.0/16", "239.0.0.0/8"]},
                                      "f": {"bsrBorderGrp": ["239.1.0.0/16", "224.0.0.0/4"]}})"),
       {"F:/intfConfig/e/bsrBorderGrp/1: border 239.0.0.0/8 does not block zone 239.1.0.0/16, only the zone of its own "
        "range"}},
      {file(acls, R"(, "acl": {"A": [{"permit": "239.1.0.0/17"}, {"permit": "239.1.128.0/17"}]})"),
       {"F:/acl/A/0: 239.1.0.0/17 is merged with what else the ACL permits into 239.1.0.0/16",
        "F:/acl/A/1: 239.1.128.0/17 is merged with what else the ACL permits into 239.1.0.0/16"}},
      {file(rp(R"("lo": {"acl": {"A": {}}, "groupRange": {)" + many + R"(}}, "e": {"groupRange": {)" + many +
               R"(}, "acl": {"A": {"priority": 7}}})"),
            R"(, "acl": {"A": [{"permit": "239.1.0.0/16"}]})"),
       {at + "rpCandidateConfig/lo: 256 ranges have priority 192; the BSR of a zone is told of the first 255 of those "
             "in the zone"}},
      {file(acls, R"(, "acl": {"A": [{"permit": "10.0.0.0/8"}]})"),
       {at + "bsrCandidateConfig/lo/acl/A: ACL A permits no range of groups"}},
      {file(acls, R"(, "acl": {"A": [{"permit": "224.0.0.0/4"}, {"permit": "240.0.0.0/4"}]})"), {}},
      {file(acls, R"(, "acl": {"A": [{"permit": "239.1.0.0/16"}, {"permit": "any"}]})"),
       {"F:/acl/A/0: 239.1.0.0/16 is merged with what else the ACL permits into 224.0.0.0/4"}},
  };
  for (const Case &doubtful : table) {
    const auto loaded = configurationFromText(doubtful.text, ipv4);
    EXPECT_TRUE(loaded.good()) << doubtful.text;
    EXPECT_EQ(texts(loaded.findings.warnings), doubtful.findings) << doubtful.text;
  }
}

TEST(ConfigFile, AFileThatCannotBeReadIsAnError) {
  EXPECT_EQ(texts(configurationFromFile("/nonexistent/x.json", ipv4).findings.errors),
            std::vector<std::string>{"F: cannot be read: No such file or directory"});
  EXPECT_EQ(texts(configurationFromFile("/", ipv4).findings.errors),
            std::vector<std::string>{"F: cannot be read: it is not a regular file"});
  const ::Test::TemporaryDirectory directory;
  const std::string at = directory.path() + "/";
  std::ofstream(at + "long") << std::string((16 << 20) - 3, ' ') << "{} ";
  EXPECT_TRUE(configurationFromFile(at + "long", ipv4).good());
  std::ofstream(at + "long", std::ios::app) << " ";
  std::filesystem::create_symlink("long", at + "link");
  ::mkfifo((at + "queue").c_str(), 0600);
  const std::pair<std::string, std::string> table[] = {
      {"long", "it is longer than 16 MiB"}, {"link", "it is a symbolic link"}, {"queue", "it is not a regular file"}};
  for (const auto &[name, reason] : table) {
    EXPECT_EQ(texts(configurationFromFile(at + name, ipv4).findings.errors),
              std::vector<std::string>{"F: cannot be read: " + reason});
  }
}

void expectSameWhenShownAndLoaded(const Configuration &configuration) {
  const auto again = configurationFromText(configurationJson(configuration).dump(), configuration.family);
  EXPECT_EQ(texts(again.findings.errors), std::vector<std::string>());
  EXPECT_EQ(again.configuration, configuration) << configurationJson(configuration);
}

TEST(ConfigFile, AGoodFileIsReadWithItsDefaults) {
  const auto loaded = configurationFromText(R"(
    // interfaces of the same name, and one that has its border by its bare name
    { "pim": { "default": { "interfaces": ["eth0"] },
               "blue": { "interfaces": ["eth0", "eth7"], "hello": "listen", "drPriority": 5 },
               "red": { "namespace": "ns-red", "device": "vrf-red" } },
      "vrfConfig": { "blue": { "bsrCandidateConfig": { "lo": { "group": { "ff0e::/16": { "interval": 20 } },
                                                               "acl": { "A": { "priority": 0 } } } },
                               "rpCandidateConfig": { "lo": { "groupRange": { "FF3E:0::/32": {} }, "mode": "bidir" } } },
                     "red": { "holdTime": 90, "crpFilterAcl": ["A"], "mixedFragments": "stop",
                              "limits": { "zones": 0, "openBytes": 65536, "neighbors": 9 } } },
      "intfConfig": { "eth7": { "bsrBorderAcl": ["A"] }, "eth0": {}, "default/eth7": {}, "red/eth7": {} },
      "acl": { "A": [ { "deny": "any" }, { "permit": "2001:DB8::/32" } ] }, "logLevel": "info",
      "metrics": { "listen": "[0:0::1]:9716" } })",
                                            ipv6);
  EXPECT_EQ(texts(loaded.findings.errors), std::vector<std::string>());
  EXPECT_EQ(configurationJson(loaded.configuration), nlohmann::ordered_json::parse(R"(
    { "pim": { "blue": { "interfaces": ["eth0", "eth7"], "hello": "listen", "drPriority": 5 },
               "default": { "interfaces": ["eth0"], "hello": "speak", "drPriority": 0 },
               "red": { "namespace": "ns-red", "device": "vrf-red", "interfaces": [], "hello": "speak", "drPriority": 0 } },
      "vrfConfig": {
        "blue": { "holdTime": 130, "szTimeout": 1300, "mixedFragments": "drop",
                  "limits": { "rps": 20000, "zones": 1000, "ranges": 4096, "collectedRps": 10000,
                              "rangesPerRp": 1000, "keptBytes": 1048576, "openBytes": 4194304, "neighbors": 256 },
                  "bsrCandidateConfig": {
                    "lo": { "group": { "ff0e::/16": { "priority": 64, "hashMaskLen": 126, "interval": 20 } },
                            "acl": { "A": { "priority": 0, "hashMaskLen": 126, "interval": 60 } } } },
                  "rpCandidateConfig": {
                    "lo": { "groupRange": { "ff3e::/32": { "priority": 192 } }, "acl": {},
                            "mode": "bidir", "advInterval": 60 } },
                  "crpFilterAcl": [] },
        "default": { "holdTime": 130, "szTimeout": 1300, "mixedFragments": "drop",
                  "limits": { "rps": 20000, "zones": 1000, "ranges": 4096, "collectedRps": 10000,
                              "rangesPerRp": 1000, "keptBytes": 1048576, "openBytes": 4194304, "neighbors": 256 },
                  "bsrCandidateConfig": {}, "rpCandidateConfig": {},
                     "crpFilterAcl": [] },
        "red": { "holdTime": 90, "szTimeout": 900, "mixedFragments": "stop",
                  "limits": { "rps": 20000, "zones": 0, "ranges": 4096, "collectedRps": 10000,
                              "rangesPerRp": 1000, "keptBytes": 1048576, "openBytes": 65536, "neighbors": 9 },
                  "bsrCandidateConfig": {}, "rpCandidateConfig": {},
                 "crpFilterAcl": ["A"] } },
      "intfConfig": { "blue/eth7": { "bsrBorderGrp": [], "bsrBorderAcl": ["A"] },
                      "eth0": { "bsrBorderGrp": [], "bsrBorderAcl": [] },
                      "default/eth7": { "bsrBorderGrp": [], "bsrBorderAcl": [] },
                      "red/eth7": { "bsrBorderGrp": [], "bsrBorderAcl": [] } },
      "acl": { "A": [ { "deny": "any" }, { "permit": "2001:db8::/32" } ] }, "logLevel": "info",
      "metrics": { "listen": "[::1]:9716" } })"));
  expectSameWhenShownAndLoaded(loaded.configuration);
}

TEST(ConfigFile, MetricsAreOnLoopbackUnlessAnAddressIsGiven) {
  const std::pair<const char *, const char *> cases[] = {
      {R"("9716")", "127.0.0.1:9716"},
      {R"("0.0.0.0:80")", "0.0.0.0:80"},
      {R"("[fd00::1]:65535")", "[fd00::1]:65535"},
      {R"("[::ffff:10.0.0.1]:1")", "[::ffff:10.0.0.1]:1"},
      {R"("")", ""},
      {R"(":9716")", ""},
      {R"("127.0.0.1")", ""},
      {R"("127.0.0.1:")", ""},
      {R"("127.0.0.1:0")", ""},
      {R"("127.0.0.1:65536")", ""},
      {R"("127.0.0.1:+80")", ""},
      {R"("[127.0.0.1]:80")", ""},
      {R"("::1:9716")", ""},
      {R"("localhost:9716")", ""},
      {"9716", ""},
  };
  for (const auto &[given, listen] : cases) {
    const auto loaded = configurationFromText(std::string(R"({"metrics": {"listen": )") + given + "}}", ipv4);
    EXPECT_EQ(loaded.good(), *listen != 0) << given;
    if (loaded.good()) EXPECT_EQ(configurationJson(loaded.configuration)["metrics"]["listen"], listen) << given;
  }
  EXPECT_TRUE(configurationFromText("{}", ipv4).configuration.metrics.listen.empty());
}

TEST(ConfigFile, EveryExampleIsLoadedWithoutAWarning) {
  size_t examples = 0;
  for (const auto &entry : std::filesystem::directory_iterator(SOURCE_DIR "/examples")) {
    if (entry.path().extension() != ".json") continue;
    const std::string name = entry.path().string();
    const auto loaded = configurationFromFile(name, name.find("ipv6") == name.npos ? ipv4 : ipv6);
    EXPECT_EQ(texts(loaded.findings.errors), std::vector<std::string>()) << name;
    EXPECT_EQ(texts(loaded.findings.warnings), std::vector<std::string>()) << name;
    expectSameWhenShownAndLoaded(loaded.configuration);
    ++examples;
  }
  EXPECT_GE(examples, 8u);
}

TEST(ConfigFile, TheSchemasInTheDocumentationAreCurrent) {
  for (const auto &[family, name] : {std::pair(ipv4, "config-schema.json"), std::pair(ipv6, "config-schema6.json")}) {
    std::stringstream kept;
    kept << std::ifstream(SOURCE_DIR "/docs/" + std::string(name)).rdbuf();
    EXPECT_TRUE(kept.str() == schemaText(family)) << "print docs/" << name << " anew with --schema";
  }
}

}  // namespace
}  // namespace Routing::Pim::Bsr
