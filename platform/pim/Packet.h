/// The PIM messages that the agent reads and writes, as records. Their wire form is the business of Codec.
///
/// A record is filled, handed over, and not changed afterwards: several holders share it. The one exception is the
/// forward flag of the kept Bootstrap message of a zone, which a refresh of its RP set sets.
#pragma once

#include <iosfwd>
#include <optional>
#include <vector>

#include "platform/kiv/Attributes.h"
#include "platform/pax/IpGenPrefix.h"
#include "platform/pim/Types.h"

namespace Routing::Pim::Packet {

/// The PIM message types that are read here (RFC 7761 section 4.9).
enum class MessageType : uint8_t { hello = 0, bootstrap = 4, crpAdv = 8 };

/// What all messages have: a type, and the source and destination of the packet that brought them.
class Message : public Kiv::Counted {
 public:
  explicit Message(MessageType type) : type_(type) {}
  MessageType type() const { return type_; }
  KIV_FIELD(Pax::IpGenAddr, source, {})
  KIV_FIELD(Pax::IpGenAddr, destination, {})

 private:
  const MessageType type_;
};

/// An RP of a group block. A hold time of 0 withdraws it. The lowest priority value is preferred.
struct BootstrapRpData {
  Pax::IpGenAddr address;
  CrpHoldTime holdTime = 0;  ///< seconds
  uint8_t priority = 0;
  bool operator==(const BootstrapRpData &) const = default;
};

/// A group block (RFC 5059 section 4.1): a group prefix and its RPs. The counts are set apart from the list, since
/// a fragment may carry only some of the RPs.
class BootstrapGroupData : public Kiv::Counted {
 public:
  explicit BootstrapGroupData(const Pax::IpGenPrefix &prefix) : prefix_(prefix) {}
  KIV_FIELD(Pax::IpGenPrefix, prefix, {})
  KIV_FIELD(bool, adminScope, false)      ///< Z bit
  KIV_FIELD(bool, bidir, false)           ///< B bit
  KIV_FIELD(uint8_t, rpCount, 0)          ///< RPs of the group in all fragments
  KIV_FIELD(uint8_t, fragmentRpCount, 0)  ///< RPs in this fragment
  /// Whether other fragments have the rest of the group's RPs. A fragment RP count of 0 is a block without RPs,
  /// not a piece.
  bool isPiece() const { return fragmentRpCount() != 0 && fragmentRpCount() != rpCount(); }

  using RpList = std::vector<BootstrapRpData>;
  const RpList &rpList() const { return rpList_; }
  void rpListIs(RpList rpList) { rpList_ = std::move(rpList); }
  void rpEnq(const BootstrapRpData &rp) { rpList_.push_back(rp); }

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

 private:
  friend class Codec;  // fills it anew when nobody else holds it
  /// A block to be filled at `index`, which may be the end: the present block or a spare one if nobody else holds
  /// it, otherwise a new one.
  BootstrapGroupData &refill(size_t index);
  /// Filling has ended with `count` blocks; those behind become spare.
  void refilled(size_t count);

  GroupData groupData_;
  GroupData spare_;
};

/// A Bootstrap message, or one semantic fragment of it (RFC 5059 section 3.5): fragments of one message share tag
/// and header. Its hash mask length and priority are the raw bytes, unchecked.
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
/// A new message with the tag, flags and BSR of `bsm` and no group blocks, for another fragment of it.
Kiv::Ptr<BootstrapMessage> bootstrapHeaderOf(const BootstrapMessage &bsm);
/// All of it in one line, for traces.
std::ostream &operator<<(std::ostream &out, const BootstrapMessage &bsm);

/// An advertised group range with its flags (Z and B bit).
struct CrpGroup {
  Pax::IpGenPrefix prefix;
  bool adminScope = false;
  bool bidir = false;
  bool operator==(const CrpGroup &) const = default;
};

/// The group ranges of an advertisement, in wire order. An empty list stands for all multicast groups.
class CrpGroupInfo : public Kiv::Counted {
 public:
  std::vector<CrpGroup> group;
};

/// The reference of an advertisement to its ranges.
class CrpGroupData : public Kiv::Counted {
 public:
  KIV_FIELD(Kiv::Ptr<CrpGroupInfo>, groupInfo, Kiv::make<CrpGroupInfo>())
};

/// A Candidate-RP-Advertisement (RFC 5059 section 4.2). The priority is a byte on the wire: unset goes out as 255.
/// A hold time of 0, in seconds, withdraws the ranges.
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

/// A Hello (RFC 7761 section 4.9.2). An option that is absent has no value; without the Holdtime option the
/// default applies. Holdtimes are in seconds; 0 says goodbye.
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
