#include "lab/Feed.h"

#include <iostream>

namespace Lab {

class Feed::Sender {
 public:
  Sender(Feed &feed, Transmission transmission)
      : feed_(feed), transmission_(std::move(transmission)), timer_(feed.vrf_.timerWheel(), *this) {}

  void startIs(double time) { sendAt(time + transmission_.offset); }

 private:
  void sendAt(double time) {
    planned_ = time;
    timer_.timeMinIs(time);
  }
  void send() {
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
  Orb::TimerFor<&Sender::send> timer_;
};

Feed::Feed(const Linux::VrfPlatform &vrf, const Pax::IntfId &intfId, std::vector<Transmission> transmissions,
           const Parameters &parameters)
    : vrf_(vrf),
      intfId_(intfId),
      parameters_(parameters),
      running_(transmissions.size()),
      start_(vrf.timerWheel(), *this) {
  for (Transmission &transmission : transmissions) {
    senders_.push_back(std::make_unique<Sender>(*this, std::move(transmission)));
  }
  start_.timeMinIs(vrf.timerWheel()->now() + 0.1);
}

Feed::~Feed() = default;

void Feed::startIfReady() {
  const double now = vrf_.timerWheel()->now();
  const auto pimIntf = vrf_.pimStatus()->pimIntf(intfId_);
  if (!pimIntf || (parameters_.waitForNeighbor && pimIntf->neighbor().empty())) {
    return start_.timeMinIs(now + 0.1);  // looks again a few times a second
  }
  for (const auto &sender : senders_) sender->startIs(now);
}

void Feed::finished() {
  if (--running_ == 0) parameters_.done();
}

}  // namespace Lab
