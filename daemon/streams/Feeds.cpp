#include "daemon/streams/Feeds.h"

#include <algorithm>
#include <stdexcept>

#include "daemon/control/Nouns.h"
#include "daemon/control/Streams.h"

namespace Routing::Pim::Bsr {

namespace {

// Each noun once, in the order in which they are named.
std::vector<std::string> nounsOf(const Control::Request &request) {
  std::vector<std::string> nouns;
  for (const std::string &noun : Control::wordsOf(request.noun)) {
    if (noun != Control::eventsNoun && !Control::followedOf(noun)) {
      throw std::invalid_argument("'" + noun + "' cannot be subscribed to; what can: " + Control::followedNames());
    }
    if (std::find(nouns.begin(), nouns.end(), noun) == nouns.end()) nouns.push_back(noun);
  }
  if (nouns.empty()) throw std::invalid_argument("'subscribe' needs a noun: " + Control::followedNames());
  const bool hasEvents = std::find(nouns.begin(), nouns.end(), Control::eventsNoun) != nouns.end();
  if ((request.choosesEvents() || !request.zone.empty()) && !hasEvents)
    throw std::invalid_argument("since, zone, severity and kind are for 'events'");
  if (nouns.size() > 1 && !request.argument.empty()) {
    throw std::invalid_argument("a subscription with an argument is to one noun");
  }
  for (const std::string &noun : nouns) {
    if (noun != Control::eventsNoun) checkArgument(*Control::nounOf(noun), request.argument);
  }
  return nouns;
}

}  // namespace

Feeds::Feeds(const Orb::Waker &waker, const Kiv::Ptr<Orb::TimerWheel> &wheel, EventLog &events, Rows greeting,
             Reader reader)
    : waker_(waker),
      wheel_(wheel),
      events_(events),
      greeting_(std::move(greeting)),
      reader_(std::move(reader)),
      listening_(events.listen([this](const Event &event) { changed(event.vrf.text()); })) {}

void Feeds::changed(const std::string &vrf) {
  for (const auto &[name, weak] : feeds_) {
    const std::string &of = std::get<1>(name);
    const auto feed = vrf.empty() || of.empty() || of == vrf ? weak.lock() : nullptr;
    if (feed) feed->changed();
  }
}

std::shared_ptr<Feed> Feeds::feedOf(const Control::Request &request) {
  std::erase_if(feeds_, [](const auto &entry) { return entry.second.expired(); });
  std::weak_ptr<Feed> &known = feeds_[{request.noun, request.vrf, request.argument}];
  if (const auto feed = known.lock()) return feed;
  const auto feed = std::make_shared<Feed>(waker_, wheel_, Control::followedOf(request.noun)->key,
                                           [read = reader_, request] { return read(request); });
  known = feed;
  return feed;
}

Control::Reply Feeds::subscribe(const Control::Request &request) {
  std::erase_if(subscriptions_, [](const auto &subscription) { return subscription.expired(); });
  if (subscriptions_.size() >= mostSubscriptions) {
    throw std::runtime_error("too many subscriptions: " + std::to_string(mostSubscriptions) + " are served");
  }
  Rows greeting = greeting_;
  const std::vector<std::string> nouns = nounsOf(request);
  for (const std::string &noun : nouns) greeting["subscribed"].push_back(noun);
  const auto subscription = std::make_shared<Subscription>(wheel_, Control::rowText(greeting));
  for (const std::string &noun : nouns) {
    if (noun == Control::eventsNoun) {
      subscription->follow(events_,
                           eventFilterFrom(request.since, request.vrf, request.zone, request.severity, request.kind));
      continue;
    }
    const Control::Request one{"show", noun, request.vrf, request.argument};
    Rows first;
    reader_(one)(first);  // throws what is wrong with it
    subscription->follow(noun, Control::followedOf(noun)->key, feedOf(one));
  }
  subscriptions_.push_back(subscription);
  return [subscription](const Control::Send &send) { subscription->next(send); };
}

}  // namespace Routing::Pim::Bsr
