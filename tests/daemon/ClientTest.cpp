#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ctl/Help.h"
#include "ctl/Options.h"
#include "ctl/Reference.h"
#include "daemon/Options.h"
#include "daemon/control/Table.h"
#include "tests/daemon/TemporaryDirectory.h"

namespace {

using Control::Rows;

TEST(CommandLine, TheClientTakesVerbNounAndOptionsInAnyOrder) {
  const auto options = Control::optionsFrom({"watch", "--json", "rp-set", "-6", "--vrf=blue"});
  EXPECT_EQ(options.action, Control::Options::Action::watch);
  EXPECT_EQ(Control::toLine(options.request), R"({"verb":"show","noun":"rp-set","vrf":"blue"})");
  EXPECT_EQ(options.socket, "/run/pimbsr/PimBsr6.sock");
  EXPECT_TRUE(options.json);
  EXPECT_EQ(Control::optionsFrom({"trace", "*=9"}).request.argument, "*=9");
  EXPECT_EQ(Control::optionsFrom({"clear", "counters"}).request.argument, "counters");
  EXPECT_EQ(Control::toLine(Control::optionsFrom({"show", "events", "--since=7", "--zone=239.0.0.0/8",
                                                  "--severity=error", "--kind=bsrLost"})
                                .request),
            R"({"verb":"show","noun":"events","since":"7","zone":"239.0.0.0/8","severity":"error","kind":"bsrLost"})");
  EXPECT_EQ(Control::optionsFrom({"show", "rp", "225.1.1.1"}).request.argument, "225.1.1.1");
  EXPECT_EQ(Control::optionsFrom({"stage", "boot", "NetworkAgent"}).request.argument, "boot NetworkAgent");
  EXPECT_EQ(Control::optionsFrom({"show", "state"}).noun->layout, Control::Noun::Layout::table);
  EXPECT_EQ(Control::optionsFrom({"show", "state", "a/b"}).noun->layout, Control::Noun::Layout::file);
  EXPECT_EQ(Control::optionsFrom({"show", "state", "a/b"}).request.argument, "a/b");
  EXPECT_EQ(Control::optionsFrom({"reload"}).socket, "/run/pimbsr/PimBsr.sock");

  EXPECT_EQ(Control::toLine(Control::optionsFrom({"explain", "rp", "10.0.0.1"}).request),
            R"({"verb":"explain","noun":"rp","argument":"10.0.0.1"})");

  const auto monitor = Control::optionsFrom({"monitor", "bsr", "rp-set", "--vrf", "blue"});
  EXPECT_EQ(monitor.action, Control::Options::Action::monitor);
  EXPECT_EQ(Control::toLine(monitor.request), R"({"verb":"monitor","noun":"bsr rp-set","vrf":"blue"})");
  EXPECT_EQ(Control::optionsFrom({"monitor"}).request.noun, "events");
  const Control::Request several = Control::optionsFrom({"monitor", "rp-set", "bsr", "events"}).request;
  EXPECT_EQ(several.noun + several.argument, "rp-set bsr events");
  EXPECT_EQ(Control::optionsFrom({"monitor", "rp-set", "225.0.0.0/8"}).request.argument, "225.0.0.0/8");
  EXPECT_EQ(Control::optionsFrom({"monitor", "rp", "225.1.1.1"}).request.argument, "225.1.1.1");
  EXPECT_EQ(Control::optionsFrom({"monitor", "rp-set", "--exec", "cat x", "--time-limit=5"}).timeLimit, 5u);

  const std::vector<std::vector<std::string>> bad{
      {"explain", "acl"},
      {"explain", "rp"},
      {"monitor", "counters"},
      {"monitor", "rp"},
      {"monitor", "bsr", "rp", "225.1.1.1"},
      {"monitor", "events", "--exec", "cat"},
      {"monitor", "bsr", "rp-set", "--exec", "cat"},
      {"monitor", "rp-set", "--exec", ""},
      {"monitor", "rp-set", "--exec", "cat", "--time-limit", "0"},
      {"show", "rp-set", "--exec", "cat"},
      {},
      {"show"},
      {"show", "weather"},
      {"dance", "bsr"},
      {"show", "bsr", "more"},
      {"show", "rp"},
      {"reload", "now"},
      {"clear"},
      {"stage", "boot"},
      {"show", "bsr", "-4", "-6"},
      {"show", "bsr", "--js"},
      {"show", "bsr", "--socket"},
  };
  for (const auto &arguments : bad) EXPECT_THROW(Control::optionsFrom(arguments), Control::UsageError);
}

TEST(CommandLine, TheAgentHasTheDefaultsOfItsFamilyAndRefusesTheRest) {
  namespace Bsr = Routing::Pim::Bsr;
  const auto ipv6 = Pax::AddressFamily::ipv6;
  const auto options = Bsr::optionsFrom(ipv6, {"--trace", "A=1", "--check", "--trace=*=9", "--log-level=info"});
  EXPECT_EQ(options.action, Bsr::Options::Action::check);
  EXPECT_EQ(options.logLevel, Bsr::Severity::info);
  EXPECT_EQ(options.config, "/etc/pimbsr/PimBsr6.json");
  EXPECT_EQ(options.state, "/run/pimbsr/PimBsr6.state");
  EXPECT_EQ(options.socket, "/run/pimbsr/PimBsr6.sock");
  EXPECT_EQ(options.trace, (std::vector<std::pair<std::string, int>>{{"A", 1}, {"*", 9}}));
  const std::pair<std::vector<std::string>, const char *> bad[] = {
      {{"file"}, "there is an argument too many: only options are taken"},
      {{"--conf", "x"}, "there is no option '--conf'"},
      {{"--config"}, "'--config' needs a value"},
      {{"--standby=1"}, "'--standby' takes no value"},
      {{"--trace", "A"}, "'A' is not MODULE=LEVEL with a level from 0 to 9"},
      {{"--trace", "A=10"}, "'A=10' is not MODULE=LEVEL with a level from 0 to 9"},
      {{"--trace", "=1"}, "'=1' is not MODULE=LEVEL with a level from 0 to 9"},
      {{"--log-level", "loud"}, "there is no severity 'loud'; they are: emergency, "},
  };
  for (const auto &[arguments, why] : bad) {
    try {
      Bsr::optionsFrom(ipv6, arguments);
      ADD_FAILURE() << why;
    } catch (const Bsr::UsageError &error) {
      EXPECT_EQ(std::string(error.what()).substr(0, std::string(why).size()), why);
    }
  }
}

TEST(Table, WideCellsAreFoldedAndDurationsReadAsPeopleSayThem) {
  const Rows rows = Rows::parse(R"([
    {"name": "a", "number": 7, "left": 3720.5, "list": ["10.0.0.0/8", "11.0.0.0/8"], "of": [{"zone": "z", "groups": []}]},
    {"name": "b", "number": 42, "left": null,
     "list": ["10.0.0.0/8", "11.0.0.0/8", "12.0.0.0/8", "13.0.0.0/8", "14.0.0.0/8"],
     "of": [{"zone": "239.1.0.0/16", "groups": ["239.1.1.0/24", "239.1.2.0/24"], "next": 0.25}, {"zone": "y"}]},
    {"name": "c", "number": 1, "left": 59.9, "list": ["permit any", "deny any"], "of": []}
  ])");
  EXPECT_EQ(Control::toTable(rows, nullptr), R"(name  number   left  list                               of
a          7  1h02m  10.0.0.0/8,11.0.0.0/8              z
b         42  -      10.0.0.0/8,11.0.0.0/8,12.0.0.0/8,  239.1.0.0/16 groups=239.1.1.0/24,
                     13.0.0.0/8,14.0.0.0/8                239.1.2.0/24 next=250ms
                                                        y
c          1    59s  permit any                         -
                     deny any
)");

  // Of long lists the first elements.
  Rows words = Rows::array(), ranges = Rows::array();
  for (int i = 0; i < 255; ++i) {
    words.push_back("225." + std::to_string(i) + ".0.0/16");
    ranges.push_back({{"prefix", words.back()}, {"priority", i}});
  }
  const std::string candidate =
      Control::toTable({{{"rp", "10.0.0.1"}, {"groups", ranges}, {"zones", {{{"zone", "z"}, {"groups", words}}}}}},
                       Control::nounOf("candidate-rp"), {.legend = false});
  EXPECT_EQ(std::count(candidate.begin(), candidate.end(), '\n'), 21);
  for (const char *part : {"225.19.0.0/16 priority=19", "... 235 more, see --json", "225.7.0.0/16,...+247"}) {
    EXPECT_NE(candidate.find(part), candidate.npos) << part << " in:\n" << candidate;
  }
  EXPECT_EQ(candidate.find("225.20.0.0/16"), candidate.npos);
  EXPECT_EQ(Control::toTable({{{"left", 61.0}}}, nullptr, {.legend = false}), "1m01s\n");
  const Control::Noun &acl = *Control::nounOf("acl");
  const Rows row = Rows::parse(R"([{"acl": "A", "rules": ["permit any"], "groups": ["224.0.0.0/4"]}])");
  EXPECT_EQ(Control::toTable(row, &acl).find("224.0.0.0/4"), std::string::npos);
  EXPECT_NE(Control::toTable(row, &acl, {.prefixes = true}).find("224.0.0.0/4"), std::string::npos);
  const Rows large{{{"acl", "A"}, {"rules", Rows(21, "permit any")}, {"groups", words}}};
  const std::string whole = Control::toTable(large, &acl, {.prefixes = true});
  EXPECT_NE(whole.find("225.254.0.0/16"), whole.npos);
  EXPECT_EQ(whole.find("more"), whole.npos);
}

TEST(Table, StatementsAboutTheSameAreIndented) {
  const Rows rows = Rows::parse(R"([
    {"vrf": "v", "zone": "z", "about": "bsr", "text": "Zone z."}, {"vrf": "v", "zone": "z", "about": "rpf", "text": "From there."},
    {"vrf": "w", "zone": "z", "about": "bsr", "text": "Zone z."}])");
  const Control::Noun *topic = Control::optionsFrom({"explain", "bsr"}).noun;
  EXPECT_EQ(Control::toTable(rows, topic), "Zone z.\n  From there.\nZone z.\n");
}

TEST(Reference, TheDocumentationIsCurrent) {
  std::ifstream file(SOURCE_DIR "/docs/pimbsrctl.md");
  std::ostringstream kept;
  kept << file.rdbuf();
  EXPECT_TRUE(kept.str() == Control::reference()) << "print docs/pimbsrctl.md anew with 'pimbsrctl print reference'";
}

// What bash offers for the last of the words, with an agent that answers each kind with NAME-of-KIND.
std::string completed(const std::string &words) {
  const Test::TemporaryDirectory directory;
  const std::string path = directory.path();
  std::ofstream(path + "/pimbsrctl") << "#!/bin/sh\necho \"$* one\" | tr ' ' '-'\n";
  std::ofstream(path + "/completion") << Control::bashCompletion();
  std::ofstream(path + "/ask") << "source " << path << "/completion\nCOMP_WORDS=(pimbsrctl " << words
                               << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_pimbsrctl\necho \"${COMPREPLY[@]}\"\n";
  const std::string command = "chmod +x " + path + "/pimbsrctl; PATH=" + path + ":$PATH bash --norc " + path + "/ask";
  FILE *pipe = ::popen(command.c_str(), "r");
  std::string out;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) out += static_cast<char>(c);
  ::pclose(pipe);
  return out;
}

TEST(Completion, VerbsNounsAndOptionsComeFromTheTableAndTheRestFromTheAgent) {
  const std::pair<const char *, const char *> cases[] = {
      {"e", "explain"},
      {"show ag", "agent"},
      {"explain ''", "bsr rp group"},
      {"explain bsr ''", "print-zones-one"},
      {"-6 --vrf blue explain rp ''", "-6-print-rps-one"},
      {"--socket /x show interfaces ''", "--socket-/x-print-interfaces-one"},
      {"show --vrf ''", "print-vrfs-one"},
      {"redundancy s", "standby"},
      {"show --no", "--no-legend"},
      {"show bsr ''", ""},
      {"show events --severity e", "emergency error"},
      {"show events --severity error --kind ''", "print-kinds-one"},
      {"monitor r", "rp-set rp"},
      {"monitor bsr ev", "events"},
      {"-6 monitor interfaces ''",
       "events agent vrf bsr candidate-bsr candidate-rp rp-set rp border acl filter "
       "interfaces neighbors -6-print-interfaces-one"},
      {"--help r", "reload redundancy rp-set rp"},
      {"--help explain ''", "bsr rp group"},
      {"--help explain bsr ''", ""},

  };
  for (const auto &[words, offered] : cases) EXPECT_EQ(completed(words), std::string(offered) + "\n") << words;
}

TEST(CommandLine, OptionsAreCheckedAgainstWhatTheyAreFor) {
  const auto follow = Control::optionsFrom({"show", "log", "--follow", "--interval", "0.5"});
  EXPECT_EQ(follow.action, Control::Options::Action::follow);
  EXPECT_EQ(follow.interval, 0.5);
  const auto terse = Control::optionsFrom({"show", "acl", "-j", "--no-legend", "--prefixes"});
  EXPECT_TRUE(terse.json && !terse.table.legend && terse.table.prefixes);
  EXPECT_EQ(Control::optionsFrom({"print", "zones"}).request.noun, "bsr");
  const std::pair<std::vector<std::string>, const char *> bad[] = {
      {{"--help", "weather"},
       "there is no noun 'weather'; the nouns are: summary, agent, vrf, bsr, candidate-bsr, candidate-rp, rp-set, "
       "rp, "},
      {{"show", "weather"}, "there is no noun 'weather' for 'show'; the nouns are: summary, "},
      {{"explain", "acl"}, "there is no noun 'acl' for 'explain'; the nouns are: bsr, rp, group"},
      {{"dance"}, "there is no verb 'dance'; the verbs are: show, "},
      {{"show", "bsr", "--follow"}, "--follow is for 'show log'"},
      {{"show", "bsr", "--interval", "1"}, "--interval is for 'watch'"},
      {{"watch", "bsr", "--interval", "0"}, "--interval must be 0.1 to 86400 seconds, not '0'"},
      {{"watch", "bsr", "--interval", "1s"}, "--interval must be 0.1 to 86400 seconds, not '1s'"},
      {{"show", "bsr", "--loud"}, "there is no option '--loud'"},
      {{"show", "bsr", "-x"}, "there is no option '-x'"},
      {{"show", "bsr", "--vrf"}, "'--vrf' needs a value"},
      {{"show", "bsr", "--vrf="}, "'--vrf' needs a value"},
      {{"show", "bsr", "--json=1"}, "'--json' takes no value"},
      {{"show", "bsr", "--vrf", "a", "--vrf", "b"}, "'--vrf' is given twice"},
      {{"show", "agent", "--vrf", "a"}, "'show agent' takes no --vrf"},
      {{"show", "agent", "--since", "0"}, "--since, --severity and --kind are for 'show events'"},
      {{"monitor", "bsr", "rp-set", "--kind", "bsrLost"}, "--since, --severity and --kind are for 'monitor events'"},
      {{"show", "bsr", "--prefixes"}, "--prefixes is for 'show acl'"},
      {{"reload", "--zone", "239.0.0.0/8"}, "--zone, --since, --severity and --kind are for what is shown"},
      {{"print", "weather"}, "'print' needs one of: bash, zsh, manual, reference"},
  };
  for (const auto &[arguments, why] : bad) {
    try {
      Control::optionsFrom(arguments);
      ADD_FAILURE() << why;
    } catch (const Control::UsageError &error) {
      EXPECT_EQ(std::string(error.what()).substr(0, std::string(why).size()), why);
    }
  }
}

TEST(Help, SaysWhatAVerbDoesAndWhatANounIsGivenAndShows) {
  const auto help = [](std::vector<std::string> operands) {
    operands.insert(operands.begin(), "--help");
    return Control::optionsFrom(operands).help;
  };
  const std::pair<std::vector<std::string>, std::vector<const char *>> cases[] = {
      {{}, {"Verbs:\n  show NOUN", "Nouns:\n  summary", "Options:\n  -4, --ipv4"}},
      {{"bsr"}, {"show bsr: ", "hashMaskLen", "\nexplain bsr [ZONE]: "}},
      {{"show", "bsr"}, {"show bsr: "}},
      {{"explain", "bsr"}, {"explain bsr [ZONE]: ", "text"}},
      {{"group"}, {"explain group GROUP: "}},
      {{"explain"},
       {"explain bsr|rp|group: say why", "answers who decides", "\n  group GROUP ", "--help explain NOUN"}},
      {{"watch"}, {"watch NOUN: ", "\n  candidate-rp "}},
      {{"monitor"}, {"monitor [NOUN|events]...: ", "Nouns: events, agent, "}},
      {{"monitor", "rp-set"}, {"show rp-set [PREFIX|RP]: "}},
      {{"stage"}, {"stage boot|shutdown STAGE: "}},
  };
  for (const auto &[operands, parts] : cases) {
    const std::string text = help(operands);
    size_t at = 0;
    for (const char *part : parts) {
      const size_t found = text.find(part, at);
      EXPECT_NE(found, text.npos) << part << " in:\n" << text;
      at = found == text.npos ? at : found;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
  }
  EXPECT_EQ(help({"show", "bsr"}).find("explain"), std::string::npos);
  std::istringstream words(Control::severities);
  for (std::string word; words >> word;) EXPECT_NO_THROW(Routing::Pim::Bsr::severityFrom(word));
  EXPECT_EQ(Control::helpLine("long|names|of|more|columns", "so"),
            "  long|names|of|more|columns\n" + std::string(25, ' ') + "so\n");
}

}  // namespace
