#include "view/Groups.h"
#include "view/Json.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

Rows candidatesOf(const std::vector<RpHashSm::Candidate> &candidates) {
  Rows json = Rows::array();
  for (const auto &candidate : candidates) {
    json.push_back(
        {{"rp", toJson(candidate.rp)}, {"priority", toJson(candidate.priority)}, {"hash", toJson(candidate.hash)}});
  }
  return json;
}

}  // namespace

void showRp(const VrfView &view, const std::string &group, Rows &rows) {
  const Pax::IpGenAddr address = groupFrom(group, view.af);
  for (const RpHashSm *rpHashSm : {view.rpHashSm, view.bidirRpHashSm}) {
    const auto answer = rpHashSm ? rpHashSm->rpOf(address) : std::nullopt;
    if (!answer) continue;
    const Pax::IpGenPrefix zone = publisherOf(view, answer->prefix);
    const auto bsr = view.status->bootstrapRouter(zone);
    Rows row{{"vrf", toJson(view.vrf)}, {"group", toJson(address)}, {"zone", toJson(zone)}};
    row["bsr"] = bsr ? toJson(bsr->ipAddr()) : nullptr;
    row["prefix"] = toJson(answer->prefix);
    row["rp"] = toJson(answer->best().rp);
    row["local"] = localAddresses(view).contains(answer->best().rp);
    row["mode"] = toJson(rpHashSm->mode());
    row["priority"] = toJson(answer->best().priority);
    row["hash"] = toJson(answer->best().hash);
    row["candidates"] = candidatesOf(answer->candidates);
    rows.push_back(std::move(row));
  }
}

}  // namespace Routing::Pim::Bsr
