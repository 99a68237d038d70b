/// The gate for Bootstrap messages between the packet channel of a VRF and its engine.
///
/// A received message passes a fixed order of tests: destination, then No-Forward or RPF, then border
/// (RFC 5059 section 3.1.3). What fails one is counted by its reason, traced and dropped, and nothing else
/// changes. What passes is remembered as the last message of its zone and handed to the engine. What the
/// engine hands over is sent, on the interface that it names.
///
/// RP sets and elections are the engine's matter: of a message only the header and the first group block
/// are looked at here.
#pragma once

#include <array>

#include "io/HeardBsrs.h"
#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/kiv/ReactorOf.h"
#include "platform/orb/Clock.h"
#include "platform/pim/MessageInfo.h"
#include "platform/pim/PimRpfTable.h"

namespace Routing::Pim::Bsr {

/// Owned by the VRF's container, which makes it after the engine. It writes the receive half of
/// PimBsmStatus, the channel's transmit half, and counters; its end writes nothing. It never changes a
/// message, and neither makes nor ends a zone.
class BootstrapMessageSm {
 public:
  /// `clock` outlives it; anything missing is fatal.
  BootstrapMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
                     const Kiv::Ptr<PimBsmStatus> &bsmStatus, const Kiv::Ptr<IO::MessageInfo> &bsmInfo,
                     const Kiv::Ptr<PimRpfTable> &rpfTable, const Orb::Clock &clock);
  ~BootstrapMessageSm();

  /// Whether a message of this BSR and fragment tag was among those accepted or sent lately, so that another one is a
  /// copy that comes back.
  bool knows(const Pax::IpGenAddr &bsr, uint16_t fragmentTag) const;
  /// The last accepted message of a zone, or null. It stays until the next one, or the end of this machine; that of a
  /// zone without BSR goes when there are more than `limits` allow zones.
  Kiv::Ptr<Packet::BootstrapMessage> lastBsm(const Pax::IpGenPrefix &zone) const;
  /// Whose messages of the zone were accepted; null if none was. It stays as long as the last message.
  const HeardBsrs *heardBsrs(const Pax::IpGenPrefix &zone) const;

 private:
  struct Zone {
    Kiv::Ptr<Packet::BootstrapMessage> lastBsm;
    HeardBsrs heard;
  };
  class KivBsrStatus : public Kiv::ReactorOf<Status, BootstrapMessageSm> {
    using ReactorOf::ReactorOf;
    void onBootstrapRouter(const Pax::IpGenPrefix &zone) override { owner_.maybeLastBsmDel(zone); }
    void onCounters() override { owner_.counters_ = owner_.bsrStatus_->counters(); }
  };
  class KivBsmInfo : public Kiv::ReactorOf<IO::ReceivedMessage, BootstrapMessageSm> {
    using ReactorOf::ReactorOf;
    void onCount() override { owner_.handleBootstrapMessage(); }
  };
  class KivBsmStatus : public Kiv::ReactorOf<PimBsmStatus, BootstrapMessageSm> {
    using ReactorOf::ReactorOf;
    void onWriteCount() override { owner_.handleTransmission(); }
  };

  const std::string &vrfName() const { return bsrStatus_->name(); }
  void handleInitialize();
  void handleBootstrapMessage();
  void handleBSM();
  void handleTransmission();

  // The tests, in their order. False for a message that fails: then it has been traced and counted.
  /// It was sent to ALL-PIM-ROUTERS.
  bool destinationPasses();
  /// It is a quick refresh: the first message of its zone, soon after the start.
  bool noForwardPasses(const Pax::IpGenPrefix &zone);
  /// It came from the RPF neighbor toward its BSR, on the interface to it.
  bool rpfPasses(const Packet::BootstrapMessage &bsm);
  /// It did not come in over a border of its zone.
  bool borderPasses(const Pax::IpGenPrefix &zone);
  void accept(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);

  /// Seconds: our own candidate's, or the default.
  uint32_t bsPeriod(const Pax::IpGenPrefix &zone) const;
  void lastBsmIs(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void lastBsmDel(const Pax::IpGenPrefix &zone) { zone_.erase(zone); }
  void lastBsmDelAll();
  /// The zone's BSR has come or gone, or its message has been handled.
  void maybeLastBsmDel(const Pax::IpGenPrefix &zone);
  void drop(uint32_t PimBsrErrorCounters::*counter, IO::Refusal reason, const Pax::IpGenAddr &neighbor = {});
  /// Remembers the message for knows().
  void note(const Packet::BootstrapMessage &bsm);

  struct Known {
    Pax::IpGenAddr bsr;
    uint16_t fragmentTag = 0;
    bool operator==(const Known &) const = default;
  };

  static constexpr uint32_t bsPeriodDefault_ = 60;  // seconds
  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<PimBsmStatus> bsmStatus_;
  const Kiv::Ptr<IO::MessageInfo> bsmInfo_;
  const Kiv::Ptr<PimRpfTable> rpfTable_;
  const Orb::Clock &clock_;
  double startupTime_ = 0;  // a quick refresh is accepted for one bootstrap period from here
  Pax::IpGenPrefix globalZone_;
  Kiv::Ptr<PimBsrCounters> counters_;        // null while the status has none
  Kiv::Table<Pax::IpGenPrefix, Zone> zone_;  // with an accepted message
  std::array<Known, 256> known_;             // the last ones that differ, in a ring
  size_t lastKnown_ = 0;
  bool initialized_ = false;

  KivBsrStatus kivBsrStatus_;
  KivBsmInfo kivBsmInfo_;
  KivBsmStatus kivBsmStatus_;
};

}  // namespace Routing::Pim::Bsr
