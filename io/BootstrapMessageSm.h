/// The gate for Bootstrap messages between the packet channel of a VRF and its engine.
///
/// A received message passes a fixed order of tests; whatever fails one is counted by its reason,
/// traced and dropped with nothing else changed. An accepted message is remembered per scope zone
/// and handed to the engine. What the engine hands over is sent. RP sets are the engine's matter.
#pragma once

#include "model/InternalStatus.h"
#include "model/Status.h"
#include "platform/orb/Clock.h"
#include "platform/pim/MessageInfo.h"
#include "platform/pim/PimRpfTable.h"

namespace Routing::Pim::Bsr {

class BootstrapMessageSm {
 public:
  BootstrapMessageSm(const Kiv::Ptr<IO::PamManager> &pimPamManager, const Kiv::Ptr<Status> &bsrStatus,
                     const Kiv::Ptr<PimBsmStatus> &bsmStatus, const Kiv::Ptr<IO::MessageInfo> &bsmInfo,
                     const Kiv::Ptr<PimRpfTable> &rpfTable, const Orb::Clock &clock);
  ~BootstrapMessageSm() { lastBsmDelAll(); }
  BootstrapMessageSm(const BootstrapMessageSm &) = delete;
  BootstrapMessageSm &operator=(const BootstrapMessageSm &) = delete;

  /// The last accepted message of a zone, or null. Entries go only with the machine.
  Kiv::Ptr<Packet::BootstrapMessage> lastBsm(const Pax::IpGenPrefix &zone) const;
  void lastBsmIs(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);
  void lastBsmDel(const Pax::IpGenPrefix &zone) { lastBsm_.erase(zone); }
  void lastBsmDelAll();

 private:
  class KivBsrStatus : public Status::Notifiee {
   public:
    explicit KivBsrStatus(BootstrapMessageSm &sm) : sm_(sm) {}
    void onCounters() override { sm_.counters_ = sm_.bsrStatus_->counters(); }

   private:
    BootstrapMessageSm &sm_;
  };
  class KivBsmInfo : public IO::ReceivedMessage::Notifiee {
   public:
    explicit KivBsmInfo(BootstrapMessageSm &sm) : sm_(sm) {}
    void onCount() override { sm_.handleBootstrapMessage(); }

   private:
    BootstrapMessageSm &sm_;
  };
  class KivBsmStatus : public PimBsmStatus::Notifiee {
   public:
    explicit KivBsmStatus(BootstrapMessageSm &sm) : sm_(sm) {}
    void onWriteCount() override { sm_.handleTransmission(); }

   private:
    BootstrapMessageSm &sm_;
  };

  const Kiv::Ptr<IO::PamManager> &pimPamManager() const { return pimPamManager_; }
  const Kiv::Ptr<Status> &bsrStatus() const { return bsrStatus_; }
  const Kiv::Ptr<PimBsmStatus> &bsmStatus() const { return bsmStatus_; }
  const Kiv::Ptr<IO::MessageInfo> &bsmInfo() const { return bsmInfo_; }
  const Kiv::Ptr<PimRpfTable> &rpfTable() const { return rpfTable_; }
  const std::string &vrfName() const { return bsrStatus_->name(); }

  void handleInitialize();
  void handleBootstrapMessage();
  void handleBSM();
  void handleTransmission();

  // The tests of handleBSM, in its order. False when the message was dropped.
  bool destinationPasses();
  bool noForwardPasses(const Pax::IpGenPrefix &zone);
  bool rpfPasses(const Packet::BootstrapMessage &bsm);
  bool borderPasses(const Pax::IpGenPrefix &zone);
  void accept(const Pax::IpGenPrefix &zone, const Kiv::Ptr<Packet::BootstrapMessage> &bsm);

  Pax::IpGenPrefix zoneOf(const Packet::BootstrapMessage &bsm) const;
  uint32_t bsPeriod(const Pax::IpGenPrefix &zone) const;
  void count(void (PimBsrCounters::*first)(uint32_t), void (PimBsrCounters::*second)(uint32_t));
  void countDrop(uint32_t PimBsrErrorCounters::*reason);

  const Kiv::Ptr<IO::PamManager> pimPamManager_;
  const Kiv::Ptr<Status> bsrStatus_;
  const Kiv::Ptr<PimBsmStatus> bsmStatus_;
  const Kiv::Ptr<IO::MessageInfo> bsmInfo_;
  const Kiv::Ptr<PimRpfTable> rpfTable_;
  const Orb::Clock &clock_;
  double startupTime_ = 0;  // a quick refresh is expected for one bootstrap period from here
  static constexpr uint32_t bsPeriodDefault_ = 60;
  Pax::IpGenPrefix globalZone_;
  Kiv::Ptr<PimBsrCounters> counters_;
  Kiv::Table<Pax::IpGenPrefix, Kiv::Ptr<Packet::BootstrapMessage>> lastBsm_;
  bool initialized_ = false;

  KivBsrStatus kivBsrStatus_;
  KivBsmInfo kivBsmInfo_;
  KivBsmStatus kivBsmStatus_;
};

}  // namespace Routing::Pim::Bsr
