/// What a plan file says, as it is written; and the only description of it: its members, their kinds, bounds and
/// meanings, from which the reader and the JSON Schema come (daemon/file/Description.h tells how).
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "daemon/file/Description.h"
#include "plan/Plan.h"

namespace Planning {

using Routing::Pim::Bsr::Form;
using Routing::Pim::Bsr::Words;

struct InterfaceText {
  std::vector<std::string> addresses;
};

struct VrfText {
  std::map<std::string, InterfaceText> interfaces;
};

/// Where a configuration comes from: one of three, or nowhere.
struct ConfigurationText {
  std::string file;
  nlohmann::json configuration;
  std::string templateName;
  nlohmann::json values;
};

struct RouterText {
  ConfigurationText configuration;
  bool runs = true;
  double start = 0;
  std::map<std::string, InterfaceText> interfaces;
  std::map<std::string, VrfText> vrfs;
};

struct LinkText {
  std::string name;
  std::vector<std::string> between;
  std::string subnet;
  Sim::LinkParameters parameters;
};

struct EventText {
  double at = 0;
  Verb verb{};
  std::string what;
  ConfigurationText configuration;
  std::string address;
  std::optional<double> delay, jitter, loss;
  std::optional<uint32_t> mtu, cost;
};

struct ExpectText {
  std::optional<double> at, from, to;
  std::string bsr, rp;
  std::optional<double> agree, withoutBsr, withoutRp;
  std::string zone, group;
  std::vector<std::string> routers;
};

struct PlanText {
  std::string schema;
  std::string name;
  Routing::Pim::Bsr::Configuration scope;  ///< of the family; nothing else of it is used
  uint64_t seed = 1;
  std::optional<double> duration;
  std::map<std::string, nlohmann::json> templates;
  std::map<std::string, RouterText> routers;
  std::vector<LinkText> links;
  std::vector<EventText> events;
  std::vector<ExpectText> expect;
};

/// Any text that is not empty.
Form<std::string> anyText();
/// A router, a link, a template: letters, digits, '.', '_' and '-'.
Form<std::string> names();
Form<std::string> interfaceTexts();
Form<std::string> vrfTexts();
/// ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE.
Form<std::string> memberTexts();
/// ADDRESS/LENGTH; the length may be left out.
Form<std::string> addressTexts();

inline constexpr double secondsMost = 1e8;
inline constexpr double delayMost = 3600;
inline constexpr uint32_t mtuLeast = 576;
inline constexpr uint32_t mtuMost = 65535;
inline constexpr uint32_t costMost = 65535;

template <class Members>
void describe(Members &members, InterfaceText &text) {
  members.list(
      "addresses", text.addresses, addressTexts(),
      "ADDRESS/LENGTH each, in this order. Without a length it is the address alone. Without any, an interface "
      "with a link has the next address of the link, and \"lo\" one of its own.");
}

template <class Members>
void describe(Members &members, VrfText &text) {
  members.map("interfaces", text.interfaces, interfaceTexts(), "By name: those that need addresses of their own.");
}

template <class Members>
void describeConfiguration(Members &members, ConfigurationText &text) {
  members.text("file", text.file, anyText(),
               "The configuration file of its agent, as the router has it; a path is relative to this file.");
  members.json("configuration", text.configuration,
               "The configuration itself. Without \"pim\", PIM is on at every interface that has a link.");
  members.text("template", text.templateName, names(), "The template from which its configuration is made.");
  members.json("values", text.values, "By name: what stands for ${NAME} in the template.");
}

template <class Members>
void describe(Members &members, RouterText &text) {
  describeConfiguration(members, text.configuration);
  members.word("agent", text.runs, Words<bool>{{"starts", true}, {"off", false}},
               "\"off\": it only forwards, until an event starts its agent.");
  members.real("start", text.start, 0, secondsMost, "When its agent starts, in seconds.");
  members.map("interfaces", text.interfaces, interfaceTexts(),
              "By name: interfaces of the VRF \"default\" that need addresses of their own, and those without a link.");
  members.map("vrfs", text.vrfs, vrfTexts(), "By name: its other VRFs. Those that links name need not be here.");
}

template <class Members>
void describe(Members &members, LinkText &text) {
  members.text("name", text.name, names(), "How events name it; by default the routers' names with '-' between them.");
  members.list("between", text.between, memberTexts(),
               "Its ends, two or more: ROUTER, ROUTER:INTERFACE, ROUTER/VRF or ROUTER/VRF:INTERFACE. An interface that "
               "is not named is the router's next of eth0, eth1, ...");
  members.text("subnet", text.subnet, addressTexts(),
               "Whose addresses its ends have, in their order, unless they have their own; by default 10.0.0.0/24, "
               "10.0.1.0/24 and so on, or 2001:db8::/64, 2001:db8:0:1::/64 and so on.");
  members.real("delay", text.parameters.delay, 0, delayMost, "Seconds that a packet takes.");
  members.real("jitter", text.parameters.jitter, 0, delayMost, "At most so many seconds more, at random.");
  members.real("loss", text.parameters.loss, 0, 1, "The share of packets that are lost, at random.");
  members.number("mtu", text.parameters.mtu, mtuLeast, mtuMost, "Bytes of an IP packet.");
  members.number("cost", text.parameters.cost, 1, costMost, "What it costs in the shortest paths.");
}

template <class Members>
void describe(Members &members, EventText &text) {
  members.real("at", text.at, 0, secondsMost, "When, in seconds from the beginning.");
  members.either(text.verb,
                 Words<Verb>{{"cut", Verb::cut},
                             {"heal", Verb::heal},
                             {"change", Verb::change},
                             {"start", Verb::start},
                             {"stop", Verb::stop},
                             {"crash", Verb::crash},
                             {"powerOff", Verb::powerOff},
                             {"powerOn", Verb::powerOn},
                             {"reload", Verb::reload},
                             {"standby", Verb::standby},
                             {"active", Verb::active},
                             {"down", Verb::down},
                             {"up", Verb::up},
                             {"addAddress", Verb::addAddress},
                             {"removeAddress", Verb::removeAddress}},
                 text.what, anyText(),
                 "cut, heal, change: a link. start, stop, crash, powerOff, powerOn, reload, standby, active: a router. "
                 "down, up, addAddress, removeAddress: ROUTER:INTERFACE or ROUTER/VRF:INTERFACE.");
  describeConfiguration(members, text.configuration);
  members.text("address", text.address, addressTexts(), "Of addAddress and removeAddress.");
  members.option("delay", text.delay, 0., delayMost, "Of change, as are jitter, loss, mtu and cost.");
  members.option("jitter", text.jitter, 0., delayMost, "See delay.");
  members.option("loss", text.loss, 0., 1., "See delay.");
  members.option("mtu", text.mtu, mtuLeast, mtuMost, "See delay.");
  members.option("cost", text.cost, uint32_t{1}, costMost, "See delay.");
}

template <class Members>
void describe(Members &members, ExpectText &text) {
  members.option("at", text.at, 0., secondsMost, "When it must hold; with bsr and rp.");
  members.option("from", text.from, 0., secondsMost, "From when it must hold (0); with agree, withoutBsr, withoutRp.");
  members.option("to", text.to, 0., secondsMost, "Until when it must hold (the end); likewise.");
  members.text("bsr", text.bsr, anyText(), "A router or an address that is the BSR, or \"none\".");
  members.text("rp", text.rp, anyText(), "A router or an address that is the RP of \"group\", or \"none\".");
  members.option("agree", text.agree, 0., secondsMost,
                 "For no longer than so many seconds does a router hold another BSR or other RPs than those that it "
                 "hears of them from.");
  members.option("withoutBsr", text.withoutBsr, 0., secondsMost, "For no longer is a router without BSR.");
  members.option("withoutRp", text.withoutRp, 0., secondsMost, "For no longer has a router no RP.");
  members.text("zone", text.zone, addressTexts(), "Of which zone, but of rp; by default that of all groups.");
  members.text("group", text.group, addressTexts(), "Of rp.");
  members.list("routers", text.routers, memberTexts(),
               "Of which routers, ROUTER or ROUTER/VRF; without any, of all that run, in the VRF \"default\".");
}

template <class Members>
void describe(Members &members, PlanText &text) {
  members.text("$schema", text.schema, anyText(), "Where the schema is, for editors.");
  members.text("name", text.name, anyText(), "What the plan is about.");
  members.word("family", text.scope.family,
               Words<Pax::AddressFamily>{{"ipv4", Pax::AddressFamily::ipv4}, {"ipv6", Pax::AddressFamily::ipv6}},
               "The address family of all of it.");
  members.number("seed", text.seed, 0, UINT32_MAX, "Of everything that is random; the same seed gives the same run.");
  members.option("duration", text.duration, 0., secondsMost,
                 "When it ends; by default long enough after the last event or start for all to recover: twice the "
                 "longest hold time of a BSR or an RP, and 300 s at least; and not before the last expectation.");
  members.map(
      "templates", text.templates, names(),
      "By name: configurations with ${NAME} for values. Of its own, each router has ${name}, ${number} (from 1, "
      "in the order of names), ${address} (the first one of \"lo\") and ${interfaces} (those with links).");
  members.map("routers", text.routers, names(),
              "By name: the routers. Without any, the routers are those that the links name.");
  members.objects("links", text.links, "The links.");
  members.objects("events", text.events, "What happens.");
  members.objects("expect", text.expect, "What must hold.");
}

}  // namespace Planning
