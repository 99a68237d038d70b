#include "platform/linux/NetlinkMonitor.h"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/linux/VrfLinks.h"
#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("Netlink");

// Room for a burst of events; if it overflows, everything is asked for again.
constexpr int receiveBuffer = 1 << 20;
// The kernel makes the pieces of a dump up to 32 KiB where the reader has room for them.
constexpr size_t readBuffer = 32768;
constexpr int readsPerTurn = 16;
constexpr double retryInterval = 10;

bool isV4(Pax::AddressFamily family) { return family == Pax::AddressFamily::ipv4; }

}  // namespace

NetlinkMonitor::NetlinkMonitor(EventLoop &loop, const std::shared_ptr<const Namespace> &where,
                               Pax::AddressFamily family)
    : loop_(loop),
      where_(where),
      family_(family),
      socket_(*where, SOCK_NONBLOCK),
      retry_(Kiv::make<Orb::TimerWheel>(loop, loop), *this),
      buffer_(readBuffer),
      watch_(std::in_place, loop, socket_.descriptor(), [this] { read(); }) {
  if (setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer) != 0) {
    setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  socket_.groupIs(RTNLGRP_LINK);
  socket_.groupIs(isV4(family_) ? RTNLGRP_IPV4_IFADDR : RTNLGRP_IPV6_IFADDR);
  dumpAgain();
}

const LinkMessage *NetlinkMonitor::link(const std::string &name) const {
  const auto found =
      std::find_if(link_.begin(), link_.end(), [&](const auto &entry) { return entry.second.message.name == name; });
  return found == link_.end() ? nullptr : &found->second.message;
}

uint32_t NetlinkMonitor::vrfDevice(const std::string &name) const {
  const auto found = device_.find(name);
  return found == device_.end() ? 0 : found->second;
}

std::string NetlinkMonitor::vrfDeviceOf(const LinkMessage &link) const {
  const auto device = link_.find(link.vrfDevice);
  return device == link_.end() ? "" : device->second.message.name;
}

NetlinkMonitor::Listening NetlinkMonitor::listen(Changed changed) {
  const auto listening = std::make_shared<const Changed>(std::move(changed));
  listening_.push_back(listening);
  return listening;
}

template <class Tell>
void NetlinkMonitor::tellVrfs(uint32_t device, const Tell &tell) const {
  const auto [begin, end] = vrfs_.equal_range(device);
  for (auto vrf = begin; vrf != end; ++vrf) tell(*vrf->second);
}

void NetlinkMonitor::vrfIs(uint32_t device, VrfLinks &vrf) {
  vrfs_.emplace(device, &vrf);
  for (const auto &[index, link] : link_) {
    if (link.message.vrfDevice == device) vrf.linkIs(link.message, link.address);
  }
}

void NetlinkMonitor::vrfDel(const VrfLinks &vrf) {
  std::erase_if(vrfs_, [&](const auto &entry) { return entry.second == &vrf; });
}

void NetlinkMonitor::read() {
  const auto held = shared_from_this();  // a listener may let go of it
  readAll();
  if (std::exchange(changed_, false)) tellChanged();
}

void NetlinkMonitor::readAll() {
  for (int i = 0; i < readsPerTurn; ++i) {
    const ssize_t size = socket_.receive(buffer_);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size < 0) {
      TRACELET(trace, 1, where_->text() << ": events were lost, asking for all again: " << std::strerror(errno));
      return dumpAgain();
    }
    NetlinkSocket::forEach({buffer_.data(), static_cast<size_t>(size)},
                           [this](const nlmsghdr &message) { messageIs(message); });
  }
}

void NetlinkMonitor::tellChanged() {
  std::erase_if(listening_, [](const auto &listening) { return listening.expired(); });
  for (const auto &listening : std::vector(listening_)) {
    if (const auto changed = listening.lock()) (*changed)();
  }
}

void NetlinkMonitor::messageIs(const nlmsghdr &message) {
  const bool ofDump = message.nlmsg_seq == sequence_ && dump_ != Dump::none && message.nlmsg_pid == socket_.port();
  if (ofDump && message.nlmsg_flags & NLM_F_DUMP_INTR) dumpAgain_ = true;
  switch (message.nlmsg_type) {
    case RTM_NEWLINK:
      if (const auto link = LinkMessage::parse(message)) linkIs(*link);
      break;
    case RTM_DELLINK:
      if (const auto link = LinkMessage::parse(message)) linkDel(link->index);
      break;
    case RTM_NEWADDR:
      if (const auto address = AddressMessage::parse(message)) addressIs(*address);
      break;
    case RTM_DELADDR:
      if (const auto address = AddressMessage::parse(message)) addressDel(*address);
      break;
    case NLMSG_DONE:
      if (ofDump) dumpDone();
      break;
    case NLMSG_ERROR:
      if (ofDump) dumpFailed("the kernel refuses a dump");
      break;
    default: break;
  }
}

// A dump that is running ends first: the kernel runs one at a time on a socket.
void NetlinkMonitor::dumpAgain() {
  if (dump_ != Dump::none) {
    dumpAgain_ = true;
    return;
  }
  dumpAgain_ = false;
  for (auto &[index, link] : link_) {
    link.seen = false;
    for (AddressEntry &entry : link.address) entry.seen = false;
  }
  dumpIs(Dump::links);
}

void NetlinkMonitor::dumpIs(Dump dump) {
  dump_ = dump;
  alignas(nlmsghdr) std::array<uint8_t, 64> bytes{};
  nlmsghdr &request = *mnl_nlmsg_put_header(bytes.data());
  request.nlmsg_type = dump == Dump::links ? RTM_GETLINK : RTM_GETADDR;
  request.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.nlmsg_seq = ++sequence_;
  if (dump == Dump::links) {
    mnl_nlmsg_put_extra_header(&request, sizeof(ifinfomsg));
  } else {
    auto *header = static_cast<ifaddrmsg *>(mnl_nlmsg_put_extra_header(&request, sizeof(ifaddrmsg)));
    header->ifa_family = isV4(family_) ? AF_INET : AF_INET6;
  }
  if (!socket_.send(request)) dumpFailed("a dump cannot be asked for");
}

void NetlinkMonitor::dumpFailed(const char *what) {
  TRACELET(trace, 1, where_->text() << ": " << what << "; it will be asked for again");
  dump_ = Dump::none;
  retry_.timeMinIs(loop_.now() + retryInterval);
}

void NetlinkMonitor::dumpDone() {
  if (dump_ == Dump::links && !dumpAgain_) return dumpIs(Dump::addresses);
  dump_ = Dump::none;
  if (dumpAgain_) return dumpAgain();
  removeUnseen();
  if (std::exchange(complete_, true)) return;
  TRACELET(trace, 4, where_->text() << ": all of " << link_.size() << " links known");
  changed_ = true;
}

void NetlinkMonitor::removeUnseen() {
  std::vector<uint32_t> gone;
  std::vector<AddressMessage> goneAddress;
  for (const auto &[index, link] : link_) {
    if (!link.seen) gone.push_back(index);
    for (const AddressEntry &entry : link.address) {
      if (!entry.seen) goneAddress.push_back(entry.message);
    }
  }
  for (const AddressMessage &address : goneAddress) addressDel(address);
  for (const uint32_t index : gone) linkDel(index);
}

void NetlinkMonitor::linkIs(const LinkMessage &message) {
  Link &link = link_[message.index];
  const LinkMessage before = std::exchange(link.message, message);
  link.seen = true;
  if (before.isVrfDevice && !(message.isVrfDevice && before.name == message.name)) deviceDel(before);
  if (message.isVrfDevice) changed_ |= std::exchange(device_[message.name], message.index) != message.index;
  if (before.index != 0 && before.vrfDevice != message.vrfDevice) {
    tellVrfs(before.vrfDevice, [&](VrfLinks &vrf) { vrf.linkDel(message.index); });
  }
  tellVrfs(message.vrfDevice, [&](VrfLinks &vrf) { vrf.linkIs(message, link.address); });
}

void NetlinkMonitor::linkDel(uint32_t index) {
  const auto found = link_.find(index);
  if (found == link_.end()) return;
  const LinkMessage before = found->second.message;
  link_.erase(found);
  if (before.isVrfDevice) deviceDel(before);
  tellVrfs(before.vrfDevice, [&](VrfLinks &vrf) { vrf.linkDel(index); });
}

// Another one may have its name by now.
void NetlinkMonitor::deviceDel(const LinkMessage &device) {
  const auto found = device_.find(device.name);
  if (found == device_.end() || found->second != device.index) return;
  device_.erase(found);
  changed_ = true;
}

void NetlinkMonitor::addressIs(const AddressMessage &message) {
  const auto found = link_.find(message.index);
  if (found == link_.end() || message.address.af() != family_) return;
  Link &link = found->second;
  const auto entry = std::find_if(link.address.begin(), link.address.end(),
                                  [&](const AddressEntry &present) { return present.message.isSameEntry(message); });
  if (entry == link.address.end()) {
    link.address.push_back({message, true});
  } else {
    *entry = {message, true};
  }
  tellVrfs(link.message.vrfDevice, [&](VrfLinks &vrf) { vrf.addressIs(message.index, message.address, link.address); });
}

void NetlinkMonitor::addressDel(const AddressMessage &message) {
  const auto found = link_.find(message.index);
  if (found == link_.end()) return;
  Link &link = found->second;
  std::erase_if(link.address, [&](const AddressEntry &present) { return present.message.isSameEntry(message); });
  tellVrfs(link.message.vrfDevice, [&](VrfLinks &vrf) { vrf.addressIs(message.index, message.address, link.address); });
}

}  // namespace Linux
