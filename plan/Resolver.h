/// From what a plan file says to the plan: names become places in lists, and what is not given is filled in.
#pragma once

#include <map>
#include <set>

#include "daemon/file/Findings.h"
#include "plan/NaturalOrder.h"
#include "plan/Plan.h"
#include "plan/PlanText.h"
#include "plan/RefusedParts.h"

namespace Planning {

using Routing::Pim::Bsr::Findings;

/// ROUTER/VRF:INTERFACE, taken apart.
struct MemberName {
  std::string router;
  std::string vrf = "default";
  std::string interface {};  ///< may be empty
};
MemberName memberNameFrom(const std::string &text);

/// Finds what is wrong with the plan while it fills it. What has a fault is left out, and nothing is said of what
/// speaks of it, so that one fault makes one error.
class Resolver {
 public:
  /// `folder` is where the files are that the plan names; `findings` has what the reader refused. All of them outlive
  /// it.
  Resolver(const PlanText &text, std::string folder, Plan &plan, Findings &findings)
      : text_(text), folder_(std::move(folder)), plan_(plan), findings_(findings), refused_(findings) {}

  void resolve();

 private:
  // plan/ResolveNetwork.cpp: routers, links and addresses.
  /// Whether all that follows can be looked at: what routers and links there are is known, if not all addresses.
  bool resolveNetwork();
  void resolveRouters();
  void routersFromNames();
  Vrf &vrfOf(Router &router, const std::string &name);
  Interface &interfaceOf(Vrf &vrf, const std::string &name);
  void resolveInterfaces(Router &router, const std::string &vrf, const std::map<std::string, InterfaceText> &texts,
                         const std::string &path);
  static std::string pathOfLink(size_t link);
  void resolveLink(size_t place);
  std::optional<Member> memberFrom(const std::string &text, const std::string &path, size_t link);
  std::string nameOfLink(const LinkText &text, const std::string &path);
  void giveAddresses();
  void giveAddresses(size_t place);
  Pax::IpGenPrefix freeSubnet();
  void giveLoopback(size_t router, Vrf &vrf);
  void warnOfLoners();

  // plan/ResolveAddresses.cpp: those that are given, and what is wrong with them.
  std::optional<Sim::IntfAddress> addressFrom(const std::string &text, const std::string &path);
  void refuseFirstAndLast(const Sim::IntfAddress &address, const std::string &path);
  void findSharedAddresses();
  std::string placeOf(const Sim::IntfAddress &address, const Interface &interface, const std::string &router) const;
  void warnOfOtherSubnets(const Link &link);

  // plan/ResolveConfiguration.cpp
  void resolveConfigurations();
  /// Null, with an error, when it is no good.
  ConfigurationPtr configurationFrom(const ConfigurationText &text, size_t router, const std::string &path);
  nlohmann::json filledTemplate(const ConfigurationText &text, size_t router, const std::string &path);
  nlohmann::json withPim(nlohmann::json configuration, size_t router) const;
  using Told = std::function<void(const std::string &place, const std::string &message)>;
  void findStrangers(const Routing::Pim::Bsr::Configuration &configuration, size_t router, const Told &told) const;

  // plan/ResolveStory.cpp
  void resolveStory();
  struct StoryState;
  void resolveEvent(const EventText &text, const std::string &path, StoryState &state);
  void resolveOfLink(const EventText &text, const std::string &path, StoryState &state, Action &action);
  void resolveOfRouter(const EventText &text, const std::string &path, StoryState &state, Action &action);
  void resolveOfInterface(const EventText &text, const std::string &path, StoryState &state, Action &action);
  void resolveOfAddress(const EventText &text, const std::string &path, StoryState &state, Action &action);
  void contradicts(const std::string &path, const std::string &message);
  void warnOfOtherOwners(const std::string &path, const StoryState &state, const Action &action);
  std::string nameOf(const Node &node, const Interface &interface) const;
  void refuseOthers(const EventText &text, const std::string &path);
  void resolveDuration();

  // plan/ResolveExpectations.cpp
  void resolveExpectations();
  void resolveExpectation(const ExpectText &text, const std::string &path);
  void resolveTimes(const ExpectText &text, const std::string &path, Expectation &expectation);
  void resolveWho(const std::string &text, const std::string &path, Expectation &expectation);
  void resolveNodes(const std::vector<std::string> &texts, const std::string &path, Expectation &expectation);
  Pax::IpGenPrefix prefixFrom(const std::string &text, const std::string &path);

  // plan/ResolveCandidates.cpp: what can never hold.
  void resolveCandidate(const std::string &text, const std::string &path, Expectation &expectation);
  void refuseSilent(const std::string &path, const Expectation &expectation);

  std::optional<size_t> routerFrom(const std::string &name, const std::string &path);
  void error(const std::string &path, const std::string &message) { findings_.error(path, message); }

  const PlanText &text_;
  const std::string folder_;
  Plan &plan_;
  Findings &findings_;
  const RefusedParts refused_;
  std::map<std::string, size_t, NaturalOrder> routerByName_;
  std::map<std::string, size_t> linkByName_;
  size_t addressFaults_ = 0;      // errors of single addresses
  bool addressesKnown_ = false;   // those at the beginning have no faults
  bool storyKnown_ = false;       // its events could all be read
  bool candidatesKnown_ = false;  // neither have configurations and the story
  uint32_t nextSubnet_ = 0;
  uint32_t nextLoopback_ = 0;
  std::set<Pax::IpGenPrefix> takenSubnets_;
  std::set<std::pair<size_t, Pax::IpGenAddr>> givenOfSubnet_;  // by link, those of the subnet that it has in the file
};

}  // namespace Planning
