/// All subscriptions of an agent, and the feeds that they share.
#pragma once

#include <map>
#include <tuple>

#include "daemon/control/Request.h"
#include "daemon/streams/Subscription.h"

namespace Routing::Pim::Bsr {

/// Makes subscriptions, with one feed for each noun, VRF and argument that somebody follows; an event says that the
/// feeds of its VRF have something to read. The agent's answers own it; subscriptions may outlive it.
class Feeds {
 public:
  /// What reads the rows that a request shows. Throws std::invalid_argument where it is wrong, std::out_of_range where
  /// what it names is not there.
  using Reader = std::function<RowSource(const Control::Request &request)>;

  /// Others are refused, so that requests find room beside them.
  static constexpr size_t mostSubscriptions = 32;

  /// `greeting` begins the first line of each subscription. The waker outlives the subscriptions, and so does whatever
  /// the reader reads.
  Feeds(const Orb::Waker &waker, const Kiv::Ptr<Orb::TimerWheel> &wheel, EventLog &events, Rows greeting,
        Reader reader);

  /// The stream of the nouns that the request names, with blanks between them. Throws std::invalid_argument where the
  /// request is wrong, std::runtime_error where there are too many subscriptions, and what the reader throws.
  Control::Reply subscribe(const Control::Request &request);

 private:
  using Name = std::tuple<std::string, std::string, std::string>;  // noun, VRF, argument

  /// Something of the VRF changed, or of the process where it is empty.
  void changed(const std::string &vrf);
  std::shared_ptr<Feed> feedOf(const Control::Request &request);

  const Orb::Waker &waker_;
  const Kiv::Ptr<Orb::TimerWheel> wheel_;
  EventLog &events_;
  const Rows greeting_;
  const Reader reader_;
  std::map<Name, std::weak_ptr<Feed>> feeds_;
  std::vector<std::weak_ptr<Subscription>> subscriptions_;
  const EventLog::Listening listening_;
};

}  // namespace Routing::Pim::Bsr
