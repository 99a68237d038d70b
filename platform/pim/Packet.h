/// The PIM messages that the agent reads and writes, as records. Their wire form is Codec's matter.
///
/// A record is filled, handed over, and not changed afterwards (the forward flag of a kept
/// Bootstrap message aside, which a refresh of its RP set sets).
#pragma once

#include <iosfwd>
#include <optional>
#include <vector>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Packet {

enum class MessageType : uint8_t { hello = 0, bootstrap = 4, crpAdv = 8 };

/// What all messages carry: the addresses of their packet.
class Message : public Kiv::Counted {
 public:
  explicit Message(MessageType type) : type_(type) {}
  MessageType type() const { return type_; }
  KIV_FIELD(Pax::IpGenAddr, source, {})
  KIV_FIELD(Pax::IpGenAddr, destination, {})

 private:
  const MessageType type_;
};

struct BootstrapRpData {
  Pax::IpGenAddr address;
  CrpHoldTime holdTime = 0;
  uint8_t priority = 0;
  bool operator==(const BootstrapRpData &) const = default;
};

/// A group block (RFC 5059 section 4.1).
class BootstrapGroupData : public Kiv::Counted {
 public:
  explicit BootstrapGroupData(const Pax::IpGenPrefix &prefix) : prefix_(prefix) {}
  KIV_FIELD(Pax::IpGenPrefix, prefix, {})
  KIV_FIELD(bool, adminScope, false)      ///< Z bit
  KIV_FIELD(bool, bidir, false)           ///< B bit
  KIV_FIELD(uint8_t, rpCount, 0)          ///< RPs of the group in all fragments
  KIV_FIELD(uint8_t, fragmentRpCount, 0)  ///< RPs in this fragment
  /// Whether other fragments have the rest of the group.
  bool isPiece() const { return fragmentRpCount() != 0 && fragmentRpCount() != rpCount(); }

  using RpList = std::vector<BootstrapRpData>;
  const RpList &rpList() const { return rpList_; }
  void rpListIs(RpList rpList) { rpList_ = std::move(rpList); }
  void rpEnq(const BootstrapRpData &rp) { rpList_.push_back(rp); }
  void rpListClear() { rpList_.clear(); }

 private:
  friend class Codec;  // fills it anew when nobody else holds it
  RpList rpList_;
};
Kiv::Ptr<BootstrapGroupData> BootstrapGroupDataIs(const Pax::IpGenPrefix &prefix);

/// The group blocks of a message, in wire order.
class BootstrapOptionalData : public Kiv::Counted {
 public:
  using GroupData = std::vector<Kiv::Ptr<BootstrapGroupData>>;
  const GroupData &groupData() const { return groupData_; }
  void groupDataEnq(const Kiv::Ptr<BootstrapGroupData> &group) { groupData_.push_back(group); }
  GroupData groupDataTake() { return std::exchange(groupData_, {}); }

 private:
  friend class Codec;  // fills it anew when nobody else holds it
  /// The block at `index`, the end included, for filling: the present or a spare one if nobody
  /// else holds it.
  BootstrapGroupData &refill(size_t index);
  /// Ends a filling: the blocks from `count` on become spare.
  void refilled(size_t count);

  GroupData groupData_;
  GroupData spare_;
};

/// A Bootstrap message, or one fragment of it.
class BootstrapMessage : public Message {
 public:
  BootstrapMessage() : Message(MessageType::bootstrap), optionalData_(Kiv::make<BootstrapOptionalData>()) {}
  KIV_FIELD(uint16_t, fragmentTag, 0)
  KIV_FIELD(uint8_t, hashMaskLen, 0)
  KIV_FIELD(uint8_t, priority, 0)
  KIV_FIELD(Pax::IpGenAddr, bsrAddress, {})
  KIV_FIELD(bool, forward, true)  ///< the No-Forward bit is clear
  const Kiv::Ptr<BootstrapOptionalData> &optionalData() const { return optionalData_; }
  const BootstrapOptionalData::GroupData &groupData() const { return optionalData_->groupData(); }

 private:
  friend class Codec;
  Kiv::Ptr<BootstrapOptionalData> optionalData_;
};
Kiv::Ptr<BootstrapMessage> BootstrapMessageIs();
/// A new message with the tag, flags and BSR of `bsm`, and no group block.
Kiv::Ptr<BootstrapMessage> bootstrapHeaderOf(const BootstrapMessage &bsm);
/// A readable form for traces.
std::ostream &operator<<(std::ostream &out, const BootstrapMessage &bsm);

/// One advertised range with its flags.
struct CrpGroup {
  Pax::IpGenPrefix prefix;
  bool adminScope = false;
  bool bidir = false;
  bool operator==(const CrpGroup &) const = default;
};

/// The ranges of an advertisement, in order; none stands for all multicast groups.
class CrpGroupInfo : public Kiv::Counted {
 public:
  std::vector<CrpGroup> group;
};

class CrpGroupData : public Kiv::Counted {
 public:
  KIV_FIELD(Kiv::Ptr<CrpGroupInfo>, groupInfo, Kiv::make<CrpGroupInfo>())
};

/// A Candidate-RP-Advertisement (RFC 5059 section 4.2).
class CrpAdvMessage : public Message {
 public:
  CrpAdvMessage() : Message(MessageType::crpAdv), groupData_(Kiv::make<CrpGroupData>()) {}
  KIV_FIELD(uint8_t, prefixCount, 0)
  KIV_FIELD(RpPriority, priority, 0)
  KIV_FIELD(CrpHoldTime, holdTime, 0)
  KIV_FIELD(Pax::IpGenAddr, rpAddress, {})
  const Kiv::Ptr<CrpGroupData> &groupData() const { return groupData_; }

 private:
  Kiv::Ptr<CrpGroupData> groupData_;
};

/// A Hello (RFC 7761 section 4.9.2); options that are absent have no value.
class HelloMessage : public Message {
 public:
  static constexpr uint16_t holdTimeDefault = 105;
  static constexpr uint16_t holdTimeForEver = 0xffff;

  HelloMessage() : Message(MessageType::hello) {}
  KIV_FIELD(uint16_t, holdTime, holdTimeDefault)
  KIV_FIELD(std::optional<uint32_t>, drPriority, std::nullopt)
  KIV_FIELD(std::optional<uint32_t>, generationId, std::nullopt)
  std::vector<Pax::IpGenAddr> addressList;
};

}  // namespace Routing::Pim::Packet
