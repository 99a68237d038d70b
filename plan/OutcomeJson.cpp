#include <nlohmann/json.hpp>

#include "plan/Outcome.h"

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

}  // namespace

Json toJson(const EpisodeFigures &episode) {
  Json zones = Json::array();
  for (const ZoneFigures &zone : episode.zones) {
    Json &row = zones.emplace_back(toJson(zone.domain));
    row.update({{"nodes", zone.nodes},
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
    Json &row = json["bsrs"].emplace_back(toJson(bsr.domain));
    row.update({{"bsr", bsr.address}, {"router", bsr.router}, {"nodes", bsr.nodes}});
  }
  return json;
}

}  // namespace Planning
