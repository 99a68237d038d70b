#include "daemon/ConfigFile.h"

#include <gtest/gtest.h>

#include "daemon/ConfigApply.h"

namespace Routing::Pim::Bsr {
namespace {

std::vector<std::string> texts(const std::vector<Finding> &findings) {
  std::vector<std::string> result;
  for (const Finding &finding : findings) result.push_back(toText("F", finding));
  return result;
}

struct Bad {
  std::string text;
  std::vector<std::string> errors;
};

TEST(ConfigFile, EveryFaultIsNamedWithItsPlace) {
  const std::string name101(101, 'v');
  const std::string name151(151, 'n');
  const Bad table[] = {
      {"", {"F:1:1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal"}},
      {"{ \"pim\": {},\n  }",
       {"F:2:3: syntax error while parsing object key - unexpected '}'; expected string literal"}},
      {"[]", {"F: a list is no object"}},
      {R"({"pim": []})", {"F:/pim: a list is no object"}},
      {R"({"pin": {}})", {"F:/pin: unknown name; known here: pim, vrfConfig"}},
      {R"({"pim": {"default": 7}})", {"F:/pim/default: 7 is no object"}},
      {R"({"pim": {"default": {"interface": []}}})",
       {"F:/pim/default/interface: unknown name; known here: namespace, interfaces, hello, drPriority"}},
      {R"({"pim": {"default": {"namespace": "x"}}})",
       {"F:/pim/default/namespace: the VRF default is the namespace that the program starts in and names none"}},
      {R"({"pim": {"default": {"hello": "shout", "drPriority": 4294967296, "interfaces": "eth0"}}})",
       {"F:/pim/default/interfaces: \"eth0\" is no list", "F:/pim/default/hello: \"shout\" is none of speak, listen",
        "F:/pim/default/drPriority: 4294967296 is no whole number from 0 to 4294967295"}},
      {R"({"pim": {"default": {"interfaces": ["eth0", 3, "eth0", "a/b", "sixteen-bytes-16", ""]}}})",
       {"F:/pim/default/interfaces/1: 3 is no text", "F:/pim/default/interfaces/2: \"eth0\" is listed twice",
        "F:/pim/default/interfaces/3: \"a/b\" is no interface name (1 to 15 bytes, without blanks, '/' and ':')",
        "F:/pim/default/interfaces/4: \"sixteen-bytes-16\" is no interface name (1 to 15 bytes, without blanks, '/' "
        "and ':')",
        "F:/pim/default/interfaces/5: \"\" is no interface name (1 to 15 bytes, without blanks, '/' and ':')"}},
      {R"({"pim": {")" + name101 + R"(": {}}})",
       {"F:/pim/" + name101 + ": VrfName::bytes > VrfName::maxLength not allowed"}},
      {R"({"pim": {"red": {"namespace": ")" + name151 + R"("}}})",
       {"F:/pim/red/namespace: NamespaceName::bytes > 150 not allowed"}},
      {R"({"pim": {"red": {}, "tan": {"namespace": "red"}}})",
       {"F:/pim/tan: namespace red is that of VRF red already"}},
      {R"({"pim": {"a b": {}}})", {"F:/pim/a b: is no VRF name (not empty, without blanks and '/')"}},
      {R"({"pim": {"default": {"hello": "speak", "hello": "listen"}, "default": {}}})",
       {"F:/pim/default/hello: is given twice", "F:/pim/default: is given twice"}},
      {R"({"vrfConfig": {"red": {}}})", {"F:/vrfConfig/red: there is no VRF red in pim"}},
      {R"({"pim": {"default": {}},
           "vrfConfig": {"default": {"holdTime": 0, "szTimeout": 1.5, "holdtime": 3}}})",
       {"F:/vrfConfig/default/holdTime: 0 is no whole number from 1 to 65535",
        "F:/vrfConfig/default/szTimeout: 1.5 is no whole number from 1 to 655350",
        "F:/vrfConfig/default/holdtime: unknown name; known here: holdTime, szTimeout"}},
      {R"({"pim": {"default": {}}, "vrfConfig": {"default": {"holdTime": -1}}})",
       {"F:/vrfConfig/default/holdTime: -1 is no whole number from 1 to 65535"}},
      {R"({"pim": {"default": {"drPriority": 1e999}}})", {"F:1:40: number overflow parsing '1e999'"}},
      {std::string(100, '['),
       {"F:" +
        [] {
          std::string path;
          for (int i = 1; i < 32; ++i) path += "/0";
          return path;
        }() +
        ": is nested too deeply"}},
  };
  for (const Bad &bad : table)
    EXPECT_EQ(texts(configurationFromText(bad.text).findings.errors), bad.errors) << bad.text;
}

TEST(ConfigFile, AFileThatCannotBeReadIsAnError) {
  EXPECT_EQ(texts(configurationFromFile("/nonexistent/x.json").findings.errors),
            std::vector<std::string>{"F: cannot be read: No such file or directory"});
  EXPECT_EQ(texts(configurationFromFile("/").findings.errors),
            std::vector<std::string>{"F: cannot be read: Is a directory"});
}

TEST(ConfigFile, AGoodFileIsReadWithItsDefaults) {
  const auto loaded = configurationFromText(R"(
    // two VRFs with the same interface names
    { "pim": { "default": { "interfaces": ["eth0", "eth1"] },
               "blue": { "interfaces": ["eth0"], "hello": "listen", "drPriority": 5 },
               "red": { "namespace": "ns-red" } },
      "vrfConfig": { "blue": { "holdTime": 60 }, "red": { "holdTime": 90, "szTimeout": 100 } } })");
  EXPECT_EQ(texts(loaded.findings.errors), std::vector<std::string>());
  EXPECT_EQ(texts(loaded.findings.warnings),
            std::vector<std::string>{"F:/vrfConfig/red/szTimeout: 100 is under 10 x holdTime and counts as 900"});
  Configuration wanted;
  wanted.pim["default"] = {"", {{"default", "eth0"}, {"default", "eth1"}}, true, 0};
  wanted.pim["blue"] = {"blue", {{"blue", "eth0"}}, false, 5};
  wanted.pim["red"] = {"ns-red", {}, true, 0};
  wanted.vrfConfig["default"] = {130, 1300, {}, {}, {}};
  wanted.vrfConfig["blue"] = {60, 600, {}, {}, {}};
  wanted.vrfConfig["red"] = {90, 100, {}, {}, {}};
  EXPECT_EQ(loaded.configuration, wanted);
}

/// Writes down what it hears of one VRF's configuration.
class Listener : public Config::Notifiee {
 public:
  explicit Listener(const Kiv::Ptr<Config> &config) { notifierIs(config); }
  std::vector<std::string> heard;
  void onHoldTime() override { heard.push_back("holdTime " + std::to_string(notifier()->holdTime())); }
  void onSzTimeout() override { heard.push_back("szTimeout " + std::to_string(notifier()->szTimeout())); }
};

TEST(ConfigApply, AReloadWritesOnlyWhatDiffers) {
  const auto coll = Kiv::make<ConfigColl>();
  const auto acls = Kiv::make<Acl::Input::Config>();
  const auto apply = [&](const char *text) { configurationApply(configurationFromText(text).configuration, *coll, *acls); };
  apply(R"({"pim": {"default": {}, "red": {}}})");
  const auto config = coll->vrfConfig("default");
  ASSERT_TRUE(config);
  Listener listener(config);

  apply(R"({"pim": {"default": {"interfaces": ["eth0"]}, "red": {}}})");
  EXPECT_TRUE(listener.heard.empty());
  apply(R"({"pim": {"default": {}, "tan": {}}, "vrfConfig": {"default": {"holdTime": 60}}})");
  EXPECT_EQ(listener.heard, (std::vector<std::string>{"holdTime 60", "szTimeout 600"}));
  EXPECT_EQ(coll->vrfConfig("default"), config);
  EXPECT_FALSE(coll->vrfConfig("red"));
  EXPECT_TRUE(coll->vrfConfig("tan"));
}

}  // namespace
}  // namespace Routing::Pim::Bsr
