#include "platform/linux/NetlinkMonitor.h"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("Netlink");

// Room for a burst of events; if it overflows, everything is asked for again.
constexpr int receiveBuffer = 1 << 20;
// The kernel makes the pieces of a dump up to 32 KiB where the reader has room for them.
constexpr size_t readBuffer = 32768;
constexpr int readsPerTurn = 16;

bool isV4(Pax::AddressFamily family) { return family == Pax::AddressFamily::ipv4; }

}  // namespace

NetlinkMonitor::NetlinkMonitor(EventLoop &loop, const Namespace &where,
                               const Kiv::Ptr<Ip::AllIntfStatusDir> &interfaces, const Kiv::Ptr<LinkTable> &links,
                               Parameters parameters)
    : parameters_(std::move(parameters)),
      interfaces_(interfaces),
      links_(links),
      socket_(where, SOCK_NONBLOCK),
      buffer_(readBuffer),
      watch_(std::in_place, loop, socket_.descriptor(), [this] { read(); }) {
  if (setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUFFORCE, &receiveBuffer, sizeof receiveBuffer) != 0) {
    setsockopt(socket_.descriptor(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  socket_.groupIs(RTNLGRP_LINK);
  socket_.groupIs(isV4(parameters_.family) ? RTNLGRP_IPV4_IFADDR : RTNLGRP_IPV6_IFADDR);
  dumpAgain();
}

bool NetlinkMonitor::inVrfDevice(const Pax::IntfId &intfId) const {
  const auto found = link_.find(links_->index(intfId));
  return found != link_.end() && found->second.inVrfDevice;
}

void NetlinkMonitor::retractAll() {
  watch_.reset();
  while (!link_.empty()) linkDel(link_.begin()->first);
}

void NetlinkMonitor::read() {
  const std::weak_ptr<bool> alive = alive_;
  for (int i = 0; i < readsPerTurn; ++i) {
    const ssize_t size = socket_.receive(buffer_);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size < 0) {
      TRACELET(trace, 1, parameters_.vrf << ": events were lost, asking for all again: " << std::strerror(errno));
      return dumpAgain();
    }
    NetlinkSocket::forEach({buffer_.data(), static_cast<size_t>(size)}, [&](const nlmsghdr &message) {
      if (!alive.expired()) messageIs(message);
    });
    if (alive.expired() || !watch_) return;
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
      TRACELET(trace, 1, parameters_.vrf << ": the kernel refuses a dump");
      if (ofDump) dump_ = Dump::none;
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
    header->ifa_family = isV4(parameters_.family) ? AF_INET : AF_INET6;
  }
  if (!socket_.send(request)) {
    TRACELET(trace, 1, parameters_.vrf << ": cannot ask for a dump: " << std::strerror(errno));
  }
}

void NetlinkMonitor::dumpDone() {
  if (dump_ == Dump::links && !dumpAgain_) return dumpIs(Dump::addresses);
  dump_ = Dump::none;
  if (dumpAgain_) return dumpAgain();
  removeUnseen();
  if (std::exchange(complete_, true)) return;
  TRACELET(trace, 4, parameters_.vrf << ": all of " << link_.size() << " interfaces known");
  if (const auto complete = parameters_.complete) complete();
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
  Link &link = linkNamed(message.index, Pax::IntfId(parameters_.vrf, message.name));
  link.seen = true;
  link.inVrfDevice = message.inVrfDevice;
  const Kiv::Ptr<Ip::IntfStatus> status = link.status;
  status->mtuIs(message.mtu);
  // PIM first: what a candidate sends when its address goes must not go out of an interface that is down.
  status->upIs(message.up);
  status->adminUpIs(message.adminUp);
  Ip::chooseAddresses(*status, parameters_.family);
}

void NetlinkMonitor::linkDel(uint32_t index) {
  const auto found = link_.find(index);
  if (found == link_.end()) return;
  retract(found->second);
  link_.erase(index);
  links_->linkDel(index);
}

NetlinkMonitor::Link &NetlinkMonitor::linkNamed(uint32_t index, const Pax::IntfId &intfId) {
  // The interface that had the name is gone or renamed; its own message will say which.
  if (const uint32_t other = links_->index(intfId); other != 0 && other != index) linkDel(other);

  std::vector<AddressEntry> address;
  if (const auto found = link_.find(index); found != link_.end()) {
    if (found->second.intfId == intfId) return found->second;
    TRACELET(trace, 4, found->second.intfId << " is now " << intfId);
    address = found->second.address;  // the kernel does not report them again
    linkDel(index);
  }
  TRACELET(trace, 5, intfId << " has index " << index);
  links_->linkIs(index, intfId);
  Link &link = link_[index];
  link.intfId = intfId;
  link.status = interfaces_->intfStatusIs(intfId);
  link.address = std::move(address);
  for (const AddressEntry &entry : std::vector(link.address)) publish(link, entry.message.address);
  return link;
}

void NetlinkMonitor::retract(Link &link) {
  const Kiv::Ptr<Ip::IntfStatus> status = link.status;
  status->addressDelAll();
  Ip::chooseAddresses(*status, parameters_.family);
  status->upIs(false);
  status->adminUpIs(false);
  TRACELET(trace, 5, link.intfId << " is gone");
  interfaces_->intfStatusDel(link.intfId);
}

void NetlinkMonitor::addressIs(const AddressMessage &message) {
  const auto found = link_.find(message.index);
  if (found == link_.end() || message.address.af() != parameters_.family) return;
  Link &link = found->second;
  const auto entry = std::find_if(link.address.begin(), link.address.end(),
                                  [&](const AddressEntry &present) { return present.message.isSameEntry(message); });
  if (entry == link.address.end()) {
    link.address.push_back({message, true});
  } else {
    *entry = {message, true};
  }
  publish(link, message.address);
}

void NetlinkMonitor::addressDel(const AddressMessage &message) {
  const auto found = link_.find(message.index);
  if (found == link_.end()) return;
  Link &link = found->second;
  std::erase_if(link.address, [&](const AddressEntry &present) { return present.message.isSameEntry(message); });
  publish(link, message.address);
}

// The kernel may hold an address twice, with two prefix lengths.
void NetlinkMonitor::publish(Link &link, const Pax::IpGenAddr &address) const {
  const Kiv::Ptr<Ip::IntfStatus> status = link.status;
  const auto entry = std::find_if(link.address.begin(), link.address.end(),
                                  [&](const AddressEntry &present) { return present.message.address == address; });
  if (entry == link.address.end()) {
    TRACELET(trace, 5, link.intfId << " loses " << address);
    status->addressDel(address);
  } else {
    TRACELET(trace, 5, link.intfId << " has " << address);
    status->addressIs(address, entry->message.info);
  }
  Ip::chooseAddresses(*status, parameters_.family);
}

}  // namespace Linux
