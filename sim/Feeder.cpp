#include "sim/Feeder.h"

#include "platform/sim/Network.h"

namespace Sim {

void Feeder::start() {
  constexpr double helloAnswer = 10;
  router_.powerIs(true);
  router_.pimStart();
  round_.timeMinIs(router_.wheel()->now() + helloAnswer);
}

void Feeder::die() {
  round_.timeMinIs(Orb::never);
  router_.pimStop(false);
  router_.powerIs(false);
}

void Feeder::zoneIs(const Pax::IpGenPrefix &zone, const Fragments &fragments) {
  zone_[zone] = fragments;
  if (router_.pimRuns()) send(fragments);
}

void Feeder::send() {
  for (const auto &[zone, fragments] : zone_) send(fragments);
}

void Feeder::send(const Fragments &fragments) {
  const auto tag = static_cast<uint16_t>(router_.random().next());
  for (const auto &fragment : fragments) {
    fragment->fragmentTagIs(tag);
    for (const auto &[intfId, pimIntf] : router_.pimStatus()->pimIntf()) {
      if (!pimIntf->neighbor().empty()) router_.port()->send(intfId, *fragment);
    }
  }
}

void Feeder::handleRound() {
  round_.timeMinIs(router_.wheel()->now() + period_);
  send();
}

}  // namespace Sim
