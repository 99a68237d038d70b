#include "plan/ExpectedBsrs.h"

#include <set>

#include "plan/PlanFile.h"
#include "platform/kiv/Value.h"

namespace Planning {

using Json = Draft::Json;
using Kiv::toText;

namespace {

// Who was BSR where, of those BSRs that are saved routers.
Draft::Section expectedOf(const std::vector<SavedRouter> &routers, Pax::AddressFamily family) {
  std::set<Pax::IpGenAddr> known;
  for (const SavedRouter &router : routers) {
    for (const auto &[vrf, saved] : router.vrfs) {
      for (const auto &[name, interface] : saved.interfaces) {
        for (const SavedAddress &own : interface.own) known.insert(own.address);
        known.insert(interface.address);
      }
    }
  }
  std::map<std::string, std::map<std::pair<Pax::IpGenPrefix, Pax::IpGenAddr>, Json>> whose;  // by VRF
  for (const SavedRouter &router : routers) {
    for (const auto &[vrf, saved] : router.vrfs) {
      for (const SavedBsr &bsr : saved.bsrs) {
        if (!known.contains(bsr.address)) continue;
        Json &nodes = whose[vrf][{bsr.zone, bsr.address}];
        nodes.push_back(nodeName(router.name, vrf));
      }
    }
  }
  Draft::Section section{"expect", {"", "The BSRs that the routers had when their answers were saved."}, {}};
  for (const auto &[vrf, bsrs] : whose) {
    for (const auto &[what, nodes] : bsrs) {
      Json expected = {{"at", 300}, {"bsr", toText(what.second)}};
      if (what.first != Pax::allGroups(family)) expected["zone"] = toText(what.first);
      expected["routers"] = nodes;
      section.entries.push_back({"", expected});
    }
  }
  return section;
}

// The places of those in "expect" that the plan is refused for.
std::set<size_t> impossibleOf(const Draft &draft) {
  const std::string lead = "/expect/";
  std::set<size_t> places;
  for (const auto &error : planFromText(toText(draft), "").findings.errors) {
    if (error.place.starts_with(lead)) places.insert(std::stoul(error.place.substr(lead.size())));
  }
  return places;
}

}  // namespace

std::vector<std::string> expectBsrs(Draft &draft, const std::vector<SavedRouter> &routers, Pax::AddressFamily family) {
  std::vector<std::string> notes;
  Draft::Section all = expectedOf(routers, family), kept{all.name, all.comments, {}};
  if (all.entries.empty()) return notes;
  draft.sections.push_back(all);
  const std::set<size_t> impossible = impossibleOf(draft);
  draft.sections.pop_back();
  for (size_t i = 0; i < all.entries.size(); ++i) {
    Draft::Entry &entry = all.entries[i];
    if (!impossible.contains(i)) {
      kept.entries.push_back(std::move(entry));
      continue;
    }
    const std::string zone = entry.value.value("zone", toText(Pax::allGroups(family)));
    const Json &nodes = entry.value["routers"];
    notes.push_back("The BSR of " + zone + " was " + entry.value["bsr"].get<std::string>() + " at " +
                    nodes[0].get<std::string>() + (nodes.size() > 1 ? " and others" : "") +
                    ", and nothing saved makes that a candidate within reach: it is not expected");
  }
  if (!kept.entries.empty()) draft.sections.push_back(std::move(kept));
  return notes;
}

}  // namespace Planning
