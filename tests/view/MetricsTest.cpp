#include "view/Metrics.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/support/TestVrf.h"
#include "view/Drops.h"

namespace Routing::Pim::Bsr {
namespace {

using ::Test::Bsm;
using ::Test::ipv4;
using ::Test::ipv6;
using ::Test::TestVrf;
using Rp = Bsm::Rp;

VrfFigures figuresOf(const TestVrf &vrf, int *slices = nullptr) {
  VrfFigures figures("default");
  const VrfView view = viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {});
  int count = 1;
  while (figures.readOn(view)) ++count;
  if (slices) *slices = count;
  return figures;
}

std::string textOf(const AgentFigures &agent, const std::vector<VrfFigures> &vrfs,
                   MetricsFormat format = MetricsFormat::openMetrics) {
  Metrics metrics(agent, vrfs, format);
  std::string text;
  while (metrics.writeOn(text)) {
  }
  return text;
}

// The lines that have this.
std::string linesWith(const std::string &text, const std::string &part) {
  std::istringstream lines(text);
  std::string found;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(part) != line.npos) found += line + "\n";
  }
  return found;
}

// The digest of the global zone after these messages of one BSR.
uint64_t digestAfter(const ::Test::Addresses &a, const std::vector<Bsm> &messages) {
  TestVrf vrf(a);
  vrf.intfIs(1);
  for (const Bsm &message : messages) vrf.hear(message);
  return figuresOf(vrf).zones.at(a.global()).digest.value();
}

TEST(RpSetDigest, IsThatOfTheSetHoweverItWasLearnedAndOfNoOther) {
  for (const auto &a : {ipv4, ipv6}) {
    const auto bsm = [&] { return Bsm(a.host(1), 70); };
    const Rp one{a.host(20), 150, 5}, two{a.host(3), 100, 192}, three{a.host(9), 150, 0};
    const uint64_t digest = digestAfter(a, {bsm().group(a.group(2), {one, two}).group(a.group(1), {three})});
    EXPECT_GT(digest, 0u);
    EXPECT_LT(digest, uint64_t{1} << 53);
    const Rp longer{a.host(20), 200, 5}, other{a.host(20), 150, 6}, elsewhere{a.host(21), 150, 5};
    const struct {
      const char *what;
      bool same;
      std::vector<Bsm> messages;
    } cases[] = {
        {"another order", true, {bsm().group(a.group(1), {three}).group(a.group(2), {two, one})}},
        {"one after the other, and another hold time",
         true,
         {bsm().tag(1).group(a.group(1), {three}), bsm().tag(2).group(a.group(2), {longer, two})}},
        {"another priority", false, {bsm().group(a.group(2), {other, two}).group(a.group(1), {three})}},
        {"another address", false, {bsm().group(a.group(2), {elsewhere, two}).group(a.group(1), {three})}},
        {"another mode", false, {bsm().group(a.group(2), {one, two}).group(a.group(1), {three}).bidir()}},
        {"another mask", false, {bsm().hashMaskLen(8).group(a.group(2), {one, two}).group(a.group(1), {three})}},
        {"another range", false, {bsm().group(a.group(3), {one, two}).group(a.group(1), {three})}},
        {"an RP in the other range", false, {bsm().group(a.group(2), {one}).group(a.group(1), {two, three})}},
        {"none", false, {bsm()}},
    };
    for (const auto &[what, same, messages] : cases) EXPECT_EQ(digestAfter(a, messages) == digest, same) << what;
    EXPECT_EQ(digestAfter(a, {bsm()}), 0u);
  }
  // The same on every machine and in every version, since routers of all kinds are compared.
  RpSetDigest digest;
  digest.add(ipv4.group(1), ipv4.host(1), *Kiv::make<Pim::RpCandidate>());
  EXPECT_EQ(digest.value(), 1804580503258399u);
}

TEST(Metrics, OfAZoneTellWhoIsItsBsrAndWhatIsPublishedFromIt) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1), 70)
               .group(vrf.a.group(1), {{vrf.a.host(20), 150, 5}, {vrf.a.host(3), 100, 192}})
               .group(vrf.a.group(2), {{vrf.a.host(9), 150, 0}})
               .bidir());
  vrf.candidateIs(vrf.a.scope(5), 7, 90);
  vrf.advance(100);
  vrf.hear(Bsm(vrf.a.host(1), 70).group(vrf.a.group(1), {{vrf.a.host(20), 150, 5}}));
  vrf.advance(10);
  const VrfFigures figures = figuresOf(vrf);
  const std::string digest = std::to_string(figures.zones.at(vrf.a.global()).digest.value());
  const std::string text = textOf({}, {figures});
  EXPECT_EQ(linesWith(text, "224.0.0.0/4"),
            R"(pimbsr_bsr_info{vrf="default",zone="224.0.0.0/4",address="10.0.0.1",priority="70"} 1
pimbsr_bsr_elected{vrf="default",zone="224.0.0.0/4"} 0
pimbsr_bsr_uptime_seconds{vrf="default",zone="224.0.0.0/4"} 110.0
pimbsr_bsr_message_age_seconds{vrf="default",zone="224.0.0.0/4"} 10.0
pimbsr_rp_set_rps{vrf="default",zone="224.0.0.0/4",mode="sparsemode"} 1
pimbsr_rp_set_rps{vrf="default",zone="224.0.0.0/4",mode="bidir"} 1
pimbsr_rp_set_digest{vrf="default",zone="224.0.0.0/4"} )" +
                digest + "\n");
  EXPECT_EQ(linesWith(text, "pimbsr_bsr_elected{"), R"(pimbsr_bsr_elected{vrf="default",zone="224.0.0.0/4"} 0
pimbsr_bsr_elected{vrf="default",zone="239.5.0.0/16"} 1
)");
  EXPECT_EQ(linesWith(text, "pimbsr_vrf_running{"), "pimbsr_vrf_running{vrf=\"default\"} 1\n");
  EXPECT_EQ(linesWith(text, "pimbsr_neighbors{"), "pimbsr_neighbors{vrf=\"default\",interface=\"eth1\"} 1\n");

  vrf.stop();
  const std::string stopped = textOf({}, {figuresOf(vrf)});
  EXPECT_EQ(linesWith(stopped, "pimbsr_vrf_running{"), "pimbsr_vrf_running{vrf=\"default\"} 0\n");
  EXPECT_EQ(linesWith(stopped, "_elected{vrf=\"default\",zone=\"239.5.0.0/16\"} 1"), "");
  EXPECT_EQ(textOf({}, {VrfFigures("waits")}).find("waits\",zone"), std::string::npos);
}

TEST(Metrics, TellMessagesByDirectionTypeResultAndReason) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  Flume::MessageCounters &messages = *vrf.port->messageCounters();
  messages.packets.malformedBy[static_cast<size_t>(Packet::DecodeError::checksum)] = 3;
  messages.packets.neighborsOverLimit = 4;
  messages.ofType(Packet::MessageType::crpAdv) = {90, 5, 6};
  messages.ofType(Packet::MessageType::hello) = {7, 0, 0};
  vrf.status->counters()->rxBsmSuccessIs(8);
  PimBsrErrorCounters errors;
  errors.deniedError = 9, errors.deniedCrpAdv = 2, errors.notBsrError = 1;
  vrf.status->counters()->errCountersIs(errors);
  vrf.status->counters()->refusalInc(&PimBsrLimitCounters::openBytes);
  const std::string text = textOf({}, {figuresOf(vrf)});
  std::string counted;
  std::istringstream samples(linesWith(text, "pimbsr_messages_total{vrf=\"default\","));
  for (std::string line; std::getline(samples, line);) {
    if (!line.ends_with(" 0")) counted += line.substr(line.find(',') + 1) + "\n";
  }
  EXPECT_EQ(counted, R"(direction="received",type="bootstrap",result="accepted"} 8
direction="received",type="bootstrap",result="refused",reason="deniedError"} 7
direction="received",type="advertisement",result="refused",reason="deniedError"} 2
direction="received",type="advertisement",result="refused",reason="notBsrError"} 1
direction="received",type="hello",result="accepted"} 7
direction="received",type="hello",result="refused",reason="neighborsOverLimit"} 4
direction="received",type="any",result="refused",reason="malformed checksum"} 3
direction="sent",type="advertisement",result="sent"} 5
direction="sent",type="advertisement",result="failed"} 6
)");
  EXPECT_EQ(linesWith(text, "limit_refusals_total{vrf=\"default\",limit=\"openBytes\"}"),
            "pimbsr_limit_refusals_total{vrf=\"default\",limit=\"openBytes\"} 1\n");
  EXPECT_EQ(linesWith(text, "limit_refusals_total{vrf=\"default\",limit=\"neighbors\"}"),
            "pimbsr_limit_refusals_total{vrf=\"default\",limit=\"neighbors\"} 4\n");
}

TEST(Metrics, TellHowManyEchoesThereWereAfterTheirRowsHaveGone) {
  TestVrf vrf(ipv4);
  Drops drops;
  const auto echoes = [&] {
    VrfView view = viewOf(vrf.system, "default", vrf.sm.get(), 0, {});
    view.drops = &drops;
    VrfFigures figures("default");
    figures.readOn(view);
    return linesWith(textOf({}, {figures}), "pimbsr_echoes_total{");
  };
  for (uint32_t n = 1; n <= 2 * Drops::most; ++n) {
    drops.add({.vrf = n % 4 ? "default" : "blue", .neighbor = ipv4.host(n), .isEcho = n % 2 == 0}, n);
  }
  EXPECT_EQ(echoes(), "pimbsr_echoes_total{vrf=\"default\"} 500\n");
  drops.clear("blue");
  EXPECT_EQ(echoes(), "pimbsr_echoes_total{vrf=\"default\"} 500\n");
  drops.clear("default");
  EXPECT_EQ(echoes(), "pimbsr_echoes_total{vrf=\"default\"} 0\n");
}

// What both formats ask for: each family once, with its samples behind it, each sample once.
TEST(Metrics, EveryFamilyIsWellFormedAndDocumented) {
  AgentFigures agent{"PimBsr", true, false, {}, 3, {5, 1, 0.5}, {{EventKind::bsrElected, 2}}};
  for (const double turn : {0.00005, 0.0001, 0.25, 1.5}) agent.turns.add(turn);
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  vrf.hear(Bsm(vrf.a.host(1), 70).group(vrf.a.group(1), {{vrf.a.host(20), 150, 5}}));
  VrfFigures odd = figuresOf(vrf);
  odd.vrf = "a\"b\\c\nd\xff";
  std::stringstream page;
  page << std::ifstream(SOURCE_DIR "/docs/metrics.md").rdbuf();
  const char *suffixes[] = {"", "_total", "_info", ""};
  for (const auto format : {MetricsFormat::openMetrics, MetricsFormat::prometheus}) {
    const std::string text = textOf(agent, {figuresOf(vrf), odd}, format);
    const bool isOpen = format == MetricsFormat::openMetrics;
    EXPECT_EQ(text.ends_with("\n# EOF\n"), isOpen);
    EXPECT_NE(text.find(R"(pimbsr_vrf_running{vrf="a\"b\\c\nd)"
                        "\xef\xbf\xbd\"} 1\n"),
              text.npos);
    EXPECT_NE(text.find("pimbsr_events_total{kind=\"bsrElected\"} 2\n"), text.npos);
    EXPECT_NE(text.find("pimbsr_events_total{kind=\"bsrLost\"} 0\n"), text.npos);
    EXPECT_EQ(linesWith(text, "pimbsr_loop_turn_seconds_"), R"(pimbsr_loop_turn_seconds_bucket{le="0.0001"} 2
pimbsr_loop_turn_seconds_bucket{le="0.001"} 2
pimbsr_loop_turn_seconds_bucket{le="0.01"} 2
pimbsr_loop_turn_seconds_bucket{le="0.1"} 2
pimbsr_loop_turn_seconds_bucket{le="1.0"} 3
pimbsr_loop_turn_seconds_bucket{le="+Inf"} 4
pimbsr_loop_turn_seconds_count 4
pimbsr_loop_turn_seconds_sum 1.75015
)");
    EXPECT_NE(text.find("pimbsr_state_save_duration_seconds 0.5\n"), text.npos);
    size_t families = 0;
    std::set<std::string> seen;
    std::string name;  // of the family's samples
    bool isHistogram = false;
    std::istringstream lines(text.substr(0, text.find("# EOF")));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_TRUE(seen.insert(line.substr(0, line.rfind(' '))).second) << line;
      if (line.starts_with("# TYPE ")) {
        const MetricFamily family = Metrics::families().at(families++);
        isHistogram = family.type == MetricFamily::Type::histogram;
        name = family.name + std::string(suffixes[static_cast<size_t>(family.type)]);
        EXPECT_EQ(line.find("# TYPE " + (isOpen ? family.name : name) + " "), 0u) << line;
        EXPECT_TRUE(std::string(family.name).ends_with(family.unit));
        EXPECT_NE(page.str().find("| `" + name + "` |"), std::string::npos) << name << " is not in docs/metrics.md";
      } else if (line[0] != '#') {
        std::string sample = line.substr(0, line.find_first_of("{ "));
        for (const char *suffix : {"_bucket", "_count", "_sum"}) {
          if (isHistogram && sample.ends_with(suffix)) sample.resize(sample.size() - std::strlen(suffix));
        }
        EXPECT_EQ(sample, name) << line;
      }
    }
    EXPECT_EQ(families, Metrics::families().size());
  }
}

TEST(Metrics, ALargeRpSetIsReadInSlicesWhileItChanges) {
  TestVrf vrf(ipv4);
  vrf.intfIs(1);
  constexpr uint32_t ranges = 400, each = 40;
  for (uint32_t n = 0; n < ranges; ++n) {
    std::vector<Rp> rps;
    for (uint32_t i = 0; i < each; ++i) rps.push_back({vrf.a.host(1000 + n * each + i), 150, 5});
    vrf.hear(Bsm(vrf.a.host(1), 70)
                 .tag(static_cast<uint16_t>(n))
                 .group(Pax::IpGenPrefix(Pax::IpGenAddr::v4(0xe1000000 + (n << 8)), 24), rps));
  }
  int slices = 0;
  const VrfFigures whole = figuresOf(vrf, &slices);
  EXPECT_EQ(whole.zones.at(vrf.a.global()).rps.at(Mode::sparse), ranges * each);
  EXPECT_GE(slices, 16);

  VrfFigures figures("default");
  const auto view = [&] { return viewOf(vrf.system, "default", vrf.sm.get(), vrf.time.now(), {}); };
  EXPECT_TRUE(figures.readOn(view()));
  vrf.advance(151);  // all have gone
  EXPECT_FALSE(figures.readOn(view()));
  EXPECT_LT(figures.zones.at(vrf.a.global()).rps.at(Mode::sparse), 1100u);
}

}  // namespace
}  // namespace Routing::Pim::Bsr
