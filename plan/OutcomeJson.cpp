#include <nlohmann/json.hpp>

#include "plan/Outcome.h"
#include "platform/kiv/Value.h"

namespace Planning {

using Json = nlohmann::ordered_json;

namespace {

Json jsonOf(const Spread &spread) {
  return {{"least", roundedSeconds(spread.least)},
          {"median", roundedSeconds(spread.median)},
          {"most", roundedSeconds(spread.most)},
          {"nodes", spread.nodes},
          {"which", spread.which}};
}

Spread spreadFrom(const Json &json) {
  return {json.at("least"), json.at("median"), json.at("most"), json.at("nodes"), json.at("which")};
}

ZoneFigures zoneFrom(const Json &json) {
  ZoneFigures zone{.zone = Pax::IpGenPrefix::fromText(json.at("zone").get<std::string>()),
                   .nodes = json.at("nodes"),
                   .withoutBsr = spreadFrom(json.at("withoutBsr")),
                   .withoutRp = spreadFrom(json.at("withoutRp")),
                   .disagreed = spreadFrom(json.at("disagreed")),
                   .agreedAfter = std::nullopt};
  if (!json.at("agreedAfter").is_null()) zone.agreedAfter = json.at("agreedAfter").get<double>();
  return zone;
}

}  // namespace

Json toJson(const EpisodeFigures &episode) {
  Json zones = Json::array();
  for (const ZoneFigures &zone : episode.zones) {
    zones.push_back({{"zone", Kiv::toText(zone.zone)},
                     {"nodes", zone.nodes},
                     {"withoutBsr", jsonOf(zone.withoutBsr)},
                     {"withoutRp", jsonOf(zone.withoutRp)},
                     {"disagreed", jsonOf(zone.disagreed)},
                     {"agreedAfter", zone.agreedAfter ? Json(roundedSeconds(*zone.agreedAfter)) : Json()}});
  }
  return {{"at", roundedSeconds(episode.begin)},
          {"until", roundedSeconds(episode.end)},
          {"what", episode.what},
          {"zones", zones}};
}

Json toJson(const Outcome &outcome) {
  Json json{{"seed", outcome.seed}, {"episodes", Json::array()}, {"expect", Json::array()}, {"bsrs", Json::array()}};
  for (const EpisodeFigures &episode : outcome.episodes) json["episodes"].push_back(toJson(episode));
  for (const Verdict &verdict : outcome.verdicts) {
    json["expect"].push_back({{"holds", verdict.holds}, {"seen", verdict.seen}});
  }
  for (const BsrAtEnd &bsr : outcome.bsrs) {
    json["bsrs"].push_back(
        {{"zone", Kiv::toText(bsr.zone)}, {"bsr", bsr.address}, {"router", bsr.router}, {"nodes", bsr.nodes}});
  }
  return json;
}

Outcome outcomeFrom(const Json &json) {
  Outcome outcome;
  outcome.seed = json.at("seed");
  for (const Json &each : json.at("episodes")) {
    EpisodeFigures episode{each.at("at"), each.at("until"), each.at("what"), {}};
    for (const Json &zone : each.at("zones")) episode.zones.push_back(zoneFrom(zone));
    outcome.episodes.push_back(std::move(episode));
  }
  for (const Json &each : json.at("expect")) outcome.verdicts.push_back({each.at("holds"), each.at("seen")});
  for (const Json &each : json.at("bsrs")) {
    outcome.bsrs.push_back({Pax::IpGenPrefix::fromText(each.at("zone").get<std::string>()), each.at("bsr"),
                            each.at("router"), each.at("nodes")});
  }
  return outcome;
}

}  // namespace Planning
