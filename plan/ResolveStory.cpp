#include <algorithm>
#include <numeric>
#include <sstream>

#include "daemon/file/JsonText.h"
#include "plan/Cases.h"
#include "plan/Resolver.h"

namespace Planning {

using Pax::IpGenAddr;
using Routing::Pim::Bsr::pathTo;

// What the story has come to, at the time of an event.
struct Resolver::StoryState {
  std::vector<bool> cut;                                 // by link
  std::vector<Sim::LinkParameters> parameters;           // by link
  std::vector<std::optional<double>> runsFrom;           // by router: its agent, unset while it does not run
  std::vector<bool> off;                                 // by router: without power
  std::vector<bool> standby;                             // by router
  std::set<std::string> down;                            // interfaces
  std::map<std::string, std::set<IpGenAddr>> addresses;  // by interface, of those that events have changed

  bool runs(size_t router, double at) const { return runsFrom[router] && *runsFrom[router] <= at; }
};

void Resolver::resolveStory() {
  StoryState state;
  storyKnown_ = !refused_.has("/events");
  state.cut.resize(plan_.links.size());
  for (const Link &link : plan_.links) state.parameters.push_back(link.parameters);
  for (const Router &router : plan_.routers) state.runsFrom.push_back(router.start);
  state.off.resize(plan_.routers.size());
  state.standby.resize(plan_.routers.size());
  std::vector<size_t> order(text_.events.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return text_.events[a].at < text_.events[b].at; });
  for (const size_t i : order) resolveEvent(text_.events[i], pathTo("/events", std::to_string(i)), state);
  resolveDuration();
}

void Resolver::resolveEvent(const EventText &text, const std::string &path, StoryState &state) {
  if (refused_.has(path)) return;
  Action action{.at = text.at, .verb = text.verb};
  refuseOthers(text, path);
  if (text.verb <= Verb::change) {
    resolveOfLink(text, path, state, action);
  } else if (text.verb < Verb::down) {
    resolveOfRouter(text, path, state, action);
  } else {
    resolveOfInterface(text, path, state, action);
  }
  plan_.story.push_back(std::move(action));
}

// What the events before it are known to have led to.
void Resolver::contradicts(const std::string &path, const std::string &message) {
  if (storyKnown_) error(path, message + " at that time");
}

// Members that are of other events.
void Resolver::refuseOthers(const EventText &text, const std::string &path) {
  const bool changes = text.delay || text.jitter || text.loss || text.mtu || text.cost;
  const ConfigurationText &configuration = text.configuration;
  const bool configures =
      !configuration.file.empty() || !configuration.configuration.is_null() || !configuration.templateName.empty();
  const bool addresses = text.verb == Verb::addAddress || text.verb == Verb::removeAddress;
  if (changes != (text.verb == Verb::change)) {
    error(path, changes ? "delay, jitter, loss, mtu and cost are of change"
                        : "changes nothing: give delay, jitter, loss, mtu or cost");
  }
  if (configures != (text.verb == Verb::reload)) {
    error(path, configures ? "file, configuration and template are of reload"
                           : "needs the configuration that is loaded: file, configuration or template");
  }
  if (addresses == text.address.empty()) error(path, addresses ? "needs an address" : "has no use for an address");
}

void Resolver::resolveOfLink(const EventText &text, const std::string &path, StoryState &state, Action &action) {
  const auto link = linkByName_.find(text.what);
  if (link == linkByName_.end()) return error(path, "there is no link " + text.what);
  action.link = link->second;
  Sim::LinkParameters &parameters = state.parameters[action.link];
  const std::string lead = "Link " + text.what;
  if (text.verb == Verb::change) {
    std::ostringstream told;
    const auto take = [&](const char *name, const auto &given, auto &field) {
      if (!given) return;
      field = *given;
      told << (told.str().empty() ? " has " : ", ") << name << ' ' << *given;
    };
    take("delay", text.delay, parameters.delay);
    take("jitter", text.jitter, parameters.jitter);
    take("loss", text.loss, parameters.loss);
    take("MTU", text.mtu, parameters.mtu);
    take("cost", text.cost, parameters.cost);
    action.parameters = parameters;
    action.text = lead + told.str();
    return;
  }
  const bool cut = text.verb == Verb::cut;
  if (state.cut[action.link] == cut) contradicts(path, lead + (cut ? " is cut already" : " is not cut"));
  state.cut[action.link] = cut;
  action.text = lead + (cut ? " is cut" : " is healed");
}

void Resolver::resolveOfRouter(const EventText &text, const std::string &path, StoryState &state, Action &action) {
  const auto router = routerFrom(text.what, path);
  if (!router) return;
  action.router = *router;
  const std::string &name = text.what;
  const bool runs = state.runs(*router, text.at);
  const auto want = [&](bool good, const char *fault) {
    if (!good) contradicts(path, name + " " + fault);
  };
  switch (text.verb) {
    case Verb::start:
      want(!runs, "runs already");
      want(!state.off[*router], "has no power");
      action.text = "The agent of " + name + " starts";
      break;
    case Verb::stop:
    case Verb::crash:
      want(runs, "does not run");
      action.text = "The agent of " + name + (text.verb == Verb::stop ? " stops" : " crashes");
      break;
    case Verb::powerOff:
    case Verb::powerOn:
      want(state.off[*router] == (text.verb == Verb::powerOn),
           text.verb == Verb::powerOn ? "has power" : "has no power");
      state.off[*router] = text.verb == Verb::powerOff;
      action.text = name + (text.verb == Verb::powerOff ? " loses power" : " has power again");
      break;
    case Verb::reload:
      action.configuration = configurationFrom(text.configuration, *router, path);
      action.text =
          name + " loads " + (text.configuration.file.empty() ? "another configuration" : text.configuration.file);
      break;
    default:
      want(state.standby[*router] == (text.verb == Verb::active),
           text.verb == Verb::active ? "is active" : "stands by");
      state.standby[*router] = text.verb == Verb::standby;
      action.text = name + (text.verb == Verb::standby ? " stands by" : " is active");
  }
  if (text.verb == Verb::start || text.verb == Verb::powerOn) state.runsFrom[*router] = text.at;
  if (text.verb == Verb::stop || text.verb == Verb::crash || text.verb == Verb::powerOff) {
    state.runsFrom[*router] = std::nullopt;
  }
}

void Resolver::resolveOfInterface(const EventText &text, const std::string &path, StoryState &state, Action &action) {
  const MemberName name = memberNameFrom(text.what);
  const auto router = routerFrom(name.router, path);
  if (!router) return;
  action.router = *router;
  const auto &vrfs = plan_.routers[*router].vrfs;
  const auto vrf = std::find_if(vrfs.begin(), vrfs.end(), [&](const Vrf &each) { return each.name == name.vrf; });
  if (vrf == vrfs.end()) return error(path, name.router + " has no VRF " + name.vrf);
  const auto interface = std::find_if(vrf->interfaces.begin(), vrf->interfaces.end(),
                                      [&](const Interface &each) { return each.name == name.interface; });
  if (interface == vrf->interfaces.end()) {
    return error(path, name.interface.empty() ? text.what + " names no interface"
                                              : name.router + " has no interface " + name.interface);
  }
  action.vrf = static_cast<size_t>(vrf - vrfs.begin());
  action.interface = static_cast<size_t>(interface - vrf->interfaces.begin());
  const bool goes = text.verb == Verb::down || text.verb == Verb::removeAddress;
  if (text.verb == Verb::down || text.verb == Verb::up) {
    if (state.down.contains(text.what) == goes) contradicts(path, text.what + (goes ? " is down" : " is up"));
    goes ? void(state.down.insert(text.what)) : void(state.down.erase(text.what));
    action.text = text.what + (goes ? " goes down" : " comes up");
    return;
  }
  resolveOfAddress(text, path, state, action);
}

// The interface is known.
void Resolver::resolveOfAddress(const EventText &text, const std::string &path, StoryState &state, Action &action) {
  if (text.address.empty()) return;  // which is told
  const auto address = addressFrom(text.address, path + "/address");
  if (!address) return;
  action.address = *address;
  const bool goes = text.verb == Verb::removeAddress;
  const Interface &interface = plan_.routers[action.router].vrfs[action.vrf].interfaces[action.interface];
  const auto [known, isNew] = state.addresses.try_emplace(nameOf({action.router, action.vrf}, interface));
  if (isNew) {
    for (const Sim::IntfAddress &each : interface.addresses) known->second.insert(each.address);
  }
  const bool isThere = known->second.contains(action.address.address);
  if (isThere != goes && addressesKnown_)
    contradicts(path, text.what + (goes ? " does not have " : " has ") + text.address);
  if (!goes) {
    refuseFirstAndLast(action.address, path + "/address");
    warnOfOtherOwners(path + "/address", state, action);
  }
  goes ? void(known->second.erase(action.address.address)) : void(known->second.insert(action.address.address));
  action.text = text.what + (goes ? " loses " : " gets ") + text.address;
}

void Resolver::warnOfOtherOwners(const std::string &path, const StoryState &state, const Action &action) {
  const IpGenAddr &address = action.address.address;
  if (address.isLinkLocal()) return;
  for (const Node &node : plan_.nodes()) {
    const Vrf &vrf = plan_.routers[node.router].vrfs[node.vrf];
    if (node.router == action.router || vrf.name != plan_.routers[action.router].vrfs[action.vrf].name) continue;
    for (const Interface &interface : vrf.interfaces) {
      const std::string name = nameOf(node, interface);
      const auto changed = state.addresses.find(name);
      const bool hasIt = changed != state.addresses.end()
                             ? changed->second.contains(address)
                             : std::any_of(interface.addresses.begin(), interface.addresses.end(),
                                           [&](const Sim::IntfAddress &each) { return each.address == address; });
      if (hasIt) findings_.warning(path, Kiv::toText(address) + " is an address of " + name + " at that time, too");
    }
  }
}

std::string Resolver::nameOf(const Node &node, const Interface &interface) const {
  return plan_.nameOf(node).append(":").append(interface.name);
}

// When it is not given there is time for what the last event, or start, leads to.
void Resolver::resolveDuration() {
  const double after = timeToRecover(plan_);
  double last = 0, asked = 0;
  for (const EventText &event : text_.events) last = std::max(last, event.at);
  for (const ExpectText &expect : text_.expect) {
    for (const auto &time : {expect.at, expect.from, expect.to}) asked = std::max(asked, time.value_or(0));
  }
  const auto latest = std::max_element(plan_.routers.begin(), plan_.routers.end(),
                                       [](const Router &a, const Router &b) { return a.start < b.start; });
  const double start = latest == plan_.routers.end() ? 0 : latest->start.value_or(0);
  plan_.duration = text_.duration.value_or(std::max(std::max(last, start) + after, asked));
  if (last > plan_.duration) error("/duration", "is over before the last event");
  if (start > plan_.duration) error("/duration", "is over before the agent of " + latest->name + " starts");
}

}  // namespace Planning
