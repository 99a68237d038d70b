// Whatever stands on a line of the control socket, the reply is one line that a client understands.

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "daemon/Answers.h"
#include "daemon/control/Nouns.h"
#include "daemon/control/Request.h"
#include "fuzzers/Bytes.h"
#include "fuzzers/Traces.h"
#include "platform/sim/Network.h"
#include "view/Show.h"

using namespace Routing::Pim::Bsr;

namespace {

bool isStream(std::string_view reply) { return reply.starts_with(R"({"protocol":)"); }

// An agent that is BSR of two zones and has an RP, and what answers for it. No VRF has a host, since that would be a
// network namespace: what is shown of VRFs is asked for beside it.
class Box {
 public:
  explicit Box(Pax::AddressFamily family) : network_(family, 1), system_(store_, family) {
    network_.linkIs("link", {"r1", "r2"});
    Sim::Router &router = network_.router("r1");
    system_.vrfIs(vrf_);
    router.pimStart();
    network_.router("r2").pimStart();
    system_.pimIs(vrf_, {router.allIntfStatusDir(), router.pimStatus(), router.routes(), router.port()});
    const auto zone = system_.configColl->vrfConfigIs(vrf_)->bsrCandidateConfigIs(lo_)->groupIs(Pax::allGroups(family));
    zone->hashMaskLenIs(30);
    zone->priorityIs(64);
    const auto rp = system_.configColl->vrfConfigIs(vrf_)->rpCandidateConfigIs(lo_);
    rp->groupRangeOptionsIs(Pax::allGroups(family))->priorityIs(1);
    rp->groupRangeIs(Pax::allGroups(family));
    agent_ = makeAgent(family, {store_, network_.time(), network_.time(), router.random()});
    agent_->doInit();
    network_.time().runFor(100);
  }
  ~Box() {
    Tracelet::Registry::instance().levelIs("*", Tracelet::Registry::defaultLevel);
    agent_ = nullptr;
    system_.pimDel(vrf_);
  }

  // All pieces of it; of a stream, which does not end, the first.
  std::string reply(std::string_view line) const {
    Answers answers({loop_, wheel_, store_, system_, hosts_, *agent_, loading_, configuration_, effective_, log_,
                     events_, lines_, drops_, saves_, troubles_, reader_,
                     [this](const auto &done) { done(loading_.error); }});
    const Control::Reply reply = answers.reply(line);
    std::string whole;
    for (std::optional<std::string> piece; !piece || !piece->empty();) {
      piece = std::nullopt;
      reply([&](std::string next) { piece = std::move(next); });
      while (!piece) loop_.turn();
      whole += *piece;
      if (isStream(whole)) break;
    }
    return whole;
  }
  Rows rows(const Control::Request &request) const {
    return rowsOf(request.noun, {viewOf(system_, vrf_, agent_->containerSm(vrf_), network_.time().now(), {lo_})},
                  request.argument);
  }
  void pass() const { network_.time().runFor(10); }

 private:
  const L3::VrfName vrf_{L3::defaultVrf};
  const Pax::IntfId lo_{L3::defaultVrf, "lo"};
  mutable Sim::Network network_;
  Statehub::Store store_;
  mutable SystemState system_;
  const VrfHosts hosts_;
  mutable Linux::EventLoop loop_;  // for what answers later
  const Kiv::Ptr<Orb::TimerWheel> wheel_ = Kiv::make<Orb::TimerWheel>(loop_, loop_);
  mutable Linux::NetlinkMonitors monitors_{loop_, network_.af()};
  mutable ConfigReader reader_{loop_, "/nonexistent", network_.af(), monitors_};
  const Troubles troubles_;
  const Loading loading_{"/nonexistent", "", "reloads are not for here"};
  const Configuration configuration_;
  const std::string effective_ = "{}";
  const Tracelet::RingSink log_{100};
  mutable EventLog events_{[] { return 0.0; }};
  const EventLines lines_{events_};
  mutable Drops drops_;
  const Saves saves_;
  std::unique_ptr<Agent> agent_;
};

// Requests as the client writes them are read as meant, and every noun can be asked about every argument.
void expectAnswer(const Box &box, std::string_view line) {
  try {
    const Control::Request request = Control::requestFromLine(line);
    const Control::Request again = Control::requestFromLine(Control::toLine(request));
    if (again.verb != request.verb || again.argument != request.argument) Fuzz::expectNothing("read otherwise");
    if (Control::nounOf(request.noun)) box.rows(request);
  } catch (const std::invalid_argument &) {
  }
  const std::string reply = box.reply(line);
  if (isStream(reply)) return;
  if (reply.find('\n') != reply.npos) Fuzz::expectNothing("more than a line: " + reply);
  try {
    Control::rowsFromLine(reply);
  } catch (const std::runtime_error &error) {
    if (error.what() == std::string_view("cannot understand the agent's reply")) Fuzz::expectNothing(reply);
  }
}

}  // namespace

// The first byte is the family, then there are lines.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Fuzz::Bytes in(data, size);
  Fuzz::traceAtLevel(1);
  const Box box(in.u8() & 1 ? Pax::AddressFamily::ipv6 : Pax::AddressFamily::ipv4);
  const auto all = in.rest();
  for (auto at = all.begin(); at < all.end();) {
    const auto end = std::find(at, all.end(), '\n');
    expectAnswer(box, std::string(at, end));
    box.pass();
    if (end == all.end()) break;
    at = end + 1;
  }
  return 0;
}
