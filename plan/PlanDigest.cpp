#include "plan/PlanDigest.h"

#include <map>

#include "daemon/file/Effective.h"
#include "platform/kiv/Value.h"

namespace Planning {

namespace {

// FNV-1a of texts, each with its end.
class Digest {
 public:
  void add(const std::string &text) {
    for (const char byte : text) mix(static_cast<uint8_t>(byte));
    mix(0);
  }
  void add(const char *text) { add(std::string(text)); }
  void add(double number) {
    char text[32];
    snprintf(text, sizeof text, "%.17g", number);
    add(text);
  }
  void add(size_t number) { add(std::to_string(number)); }
  void add(const Sim::LinkParameters &parameters) {
    for (const double each : {parameters.delay, parameters.jitter, parameters.loss}) add(each);
    add(size_t{parameters.mtu});
    add(size_t{parameters.cost});
  }
  void add(const Sim::IntfAddress &address) {
    add(Kiv::toText(address.address));
    add(Kiv::toText(address.subnet));
  }
  void add(const ConfigurationPtr &configuration) {
    std::string &text = texts_[configuration.get()];
    if (configuration && text.empty()) text = Routing::Pim::Bsr::effectiveText(*configuration);
    add(text);
  }
  std::string text() const {
    char text[17];
    snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value_));
    return text;
  }

 private:
  void mix(uint8_t byte) { value_ = (value_ ^ byte) * 0x100000001b3; }
  uint64_t value_ = 0xcbf29ce484222325;
  std::map<const void *, std::string> texts_;
};

void add(Digest &digest, const Router &router) {
  digest.add(router.name);
  digest.add(router.start.value_or(-1));
  digest.add(router.configuration);
  for (const Vrf &vrf : router.vrfs) {
    digest.add(vrf.name);
    for (const Interface &interface : vrf.interfaces) {
      digest.add(interface.name);
      digest.add(interface.link ? *interface.link + 1 : 0);
      for (const Sim::IntfAddress &address : interface.addresses) digest.add(address);
    }
  }
}

void add(Digest &digest, const Link &link) {
  digest.add(link.name);
  digest.add(link.parameters);
  for (const Member &member : link.members) {
    for (const size_t place : {member.router, member.vrf, member.interface}) digest.add(place);
  }
}

void add(Digest &digest, const Action &action) {
  digest.add(action.at);
  digest.add(action.text);
  for (const size_t place :
       {static_cast<size_t>(action.verb), action.link, action.router, action.vrf, action.interface}) {
    digest.add(place);
  }
  digest.add(action.address);
  digest.add(action.configuration);
  digest.add(action.parameters);
}

void add(Digest &digest, const Expectation &expectation) {
  digest.add(expectation.text);
  digest.add(static_cast<size_t>(expectation.kind));
  for (const double each : {expectation.at, expectation.from, expectation.to, expectation.seconds}) digest.add(each);
  digest.add(Kiv::toText(expectation.zone));
  digest.add(Kiv::toText(expectation.group));
  digest.add(Kiv::toText(expectation.address.value_or(Pax::IpGenAddr())));
  for (const Node &node : expectation.nodes) {
    digest.add(node.router);
    digest.add(node.vrf);
  }
}

}  // namespace

std::string digestOf(const Plan &plan) {
  Digest digest;
  digest.add(PIMBSR_VERSION);
  digest.add(Kiv::toText(plan.family));
  digest.add(size_t{plan.seed});
  digest.add(plan.duration);
  for (const Router &router : plan.routers) add(digest, router);
  for (const Link &link : plan.links) add(digest, link);
  for (const Action &action : plan.story) add(digest, action);
  for (const Expectation &expectation : plan.expectations) add(digest, expectation);
  return digest.text();
}

}  // namespace Planning
