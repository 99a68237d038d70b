#include "lab/Feed.h"

#include <iostream>

namespace Lab {

/// Looks a few times a second whether the feed can begin.
class Feed::Start : public Orb::Timer {
 public:
  explicit Start(Feed &feed) : Timer(feed.vrf_.timerWheel()), feed_(feed) { later(); }

 private:
  void later() { timeMinIs(feed_.vrf_.timerWheel()->now() + 0.1); }
  void onTime() override {
    const auto pimIntf = feed_.vrf_.pimStatus()->pimIntf(feed_.intfId_);
    if (pimIntf && (!feed_.parameters_.waitForNeighbor || !pimIntf->neighbor().empty())) {
      feed_.start();
    } else {
      later();
    }
  }

  Feed &feed_;
};

class Feed::Sender : public Orb::Timer {
 public:
  Sender(Feed &feed, Transmission transmission)
      : Timer(feed.vrf_.timerWheel()), feed_(feed), transmission_(std::move(transmission)) {}

  void startIs(double time) { sendAt(time + transmission_.offset); }

 private:
  void sendAt(double time) {
    planned_ = time;
    timeMinIs(time);
  }
  void onTime() override {
    std::cout << (transmission_.send() ? "sent " : "could not send ") << transmission_.text << std::endl;
    if (++sent_ == feed_.parameters_.count) {
      feed_.finished();
    } else {
      sendAt(planned_ + transmission_.interval);
    }
  }

  Feed &feed_;
  const Transmission transmission_;
  double planned_ = 0;
  unsigned sent_ = 0;
};

Feed::Feed(const Linux::VrfPlatform &vrf, const Pax::IntfId &intfId, std::vector<Transmission> transmissions,
           const Parameters &parameters)
    : vrf_(vrf), intfId_(intfId), parameters_(parameters), running_(transmissions.size()) {
  for (Transmission &transmission : transmissions) {
    senders_.push_back(std::make_unique<Sender>(*this, std::move(transmission)));
  }
  start_ = std::make_unique<Start>(*this);
}

Feed::~Feed() = default;

void Feed::start() {
  const double now = vrf_.timerWheel()->now();
  for (const auto &sender : senders_) sender->startIs(now);
}

void Feed::finished() {
  if (--running_ == 0) parameters_.done();
}

}  // namespace Lab
