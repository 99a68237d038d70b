// A PIM neighbor that floods Bootstrap messages: written by hand or replayed from a capture.
#include <net/if.h>

#include <boost/asio/signal_set.hpp>
#include <boost/program_options.hpp>
#include <iomanip>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>

#include "lab/Capture.h"
#include "lab/Feed.h"
#include "lab/MessageFile.h"
#include "lab/ToolMain.h"
#include "platform/linux/NetlinkMonitors.h"

namespace {

using namespace Lab;
namespace options = boost::program_options;

struct Arguments {
  std::string interface;
  std::string messages;
  std::string replay;
  Pax::AddressFamily family = Pax::AddressFamily::ipv4;
  unsigned count = 0;
  double interval = 0;  // zero: not given
  bool waitForNeighbor = true;
  bool checksumAsCaptured = false;
};

const char *const description =
    "Speaks PIM Hello on an interface and sends Bootstrap messages out of it, in the namespace in which it is\n"
    "started, until it is stopped or has sent each of them --count times. For labs only: it disturbs a real "
    "network.\n\n"
    "--replay sends the PIM payloads of the Bootstrap messages of a capture, at the intervals at which they were "
    "captured,\n"
    "from this host's address. In IPv4 not a byte of them changes. In IPv6 the checksum covers the source\n"
    "address, so it is adjusted by the difference of the addresses: a right one stays right, a wrong one wrong.\n\n"
    "lab/MessageFile.h describes the form of a --messages file; lab/messages-ipv4.json is one.\n\n"
    "Options";

// Throws options::error; no value when only help was asked for.
std::optional<Arguments> parse(int count, char **words) {
  Arguments arguments;
  std::string family;
  options::options_description known(description, 100);
  auto add = known.add_options();
  add("help", "print this help");
  add("interface", options::value(&arguments.interface)->required(), "the interface to send on");
  add("family", options::value(&family)->required(), "4 or 6");
  add("messages", options::value(&arguments.messages), "messages written as JSON");
  add("replay", options::value(&arguments.replay), "messages in a capture file");
  add("count", options::value(&arguments.count),
      "how often to send each message before leaving (0, the default: for ever)");
  add("interval", options::value(&arguments.interval),
      "seconds between two sendings of a message (default: as in the file; for a capture, its length + 60)");
  add("no-wait", "do not wait for the first PIM neighbor");
  add("checksum-as-captured", "send IPv6 checksums unchanged as well");

  options::variables_map given;
  options::store(options::parse_command_line(count, words, known), given);
  if (given.contains("help")) {
    std::cout << known;
    return {};
  }
  options::notify(given);
  if (family != "4" && family != "6") throw options::error("--family must be 4 or 6");
  if (given.contains("messages") == given.contains("replay"))
    throw options::error("either --messages or --replay must be given");
  if (given.contains("interval") && arguments.interval <= 0) throw options::error("--interval must be above 0");
  arguments.family = family == "4" ? Pax::AddressFamily::ipv4 : Pax::AddressFamily::ipv6;
  arguments.waitForNeighbor = !given.contains("no-wait");
  arguments.checksumAsCaptured = given.contains("checksum-as-captured");
  return arguments;
}

std::vector<Transmission> writtenMessages(const Arguments &arguments, const Pax::IntfId &intfId,
                                          const Linux::VrfPlatform &vrf, Orb::Random &random) {
  std::vector<Transmission> transmissions;
  for (const FileMessage &written : readMessageFile(arguments.messages, arguments.family)) {
    std::ostringstream text;
    text << *written.message;
    transmissions.push_back(
        {text.str(), 0, arguments.interval > 0 ? arguments.interval : written.interval, [=, &vrf, &random] {
           if (!written.ownTag) written.message->fragmentTagIs(static_cast<uint16_t>(random.next()));
           return vrf.port()->send(intfId, *written.message);
         }});
  }
  return transmissions;
}

// Sends on a socket of its own, since the packet port sends records and not bytes.
std::vector<Transmission> capturedMessages(const Arguments &arguments, const Pax::IntfId &intfId,
                                           const Linux::VrfPlatform &vrf) {
  const auto captured = readCapture(arguments.replay, arguments.family);
  const auto socket = std::make_shared<Linux::RawSocket>(Linux::Namespace(""), arguments.family);
  const double round = arguments.interval > 0 ? arguments.interval : captured.back().offset + 60;
  const bool readdressed = !arguments.checksumAsCaptured;

  std::vector<Transmission> transmissions;
  for (const CapturedMessage &message : captured) {
    std::ostringstream text;
    text << "Bootstrap message of " << message.source << ", captured at " << std::fixed << std::setprecision(3)
         << message.offset << " s, " << message.payload.size() << " bytes";
    transmissions.push_back({text.str(), message.offset, round, [=, &vrf] {
                               const auto pimIntf = vrf.pimStatus()->pimIntf(intfId);
                               if (!pimIntf) return false;
                               vrf.hello()->helloFirst(intfId);
                               CapturedMessage sent = message;
                               const auto all = Pax::allPimRouters(arguments.family);
                               if (readdressed) readdress(sent, pimIntf->address(), all);
                               const uint32_t ifIndex = if_nametoindex(arguments.interface.c_str());
                               return ifIndex != 0 && !socket->send({ifIndex, pimIntf->address(), all, sent.payload});
                             }});
  }
  return transmissions;
}

// Turns the loop until all links are known.
std::shared_ptr<Linux::NetlinkMonitor> monitorOf(Linux::EventLoop &loop, Pax::AddressFamily family) {
  auto monitor = Linux::NetlinkMonitors(loop, family).monitor("");
  while (!monitor->complete()) loop.turn();
  return monitor;
}

void feed(const Arguments &arguments) {
  Linux::EventLoop loop;
  Orb::Random random(std::random_device{}());
  Linux::VrfPlatform::Parameters parameters;
  parameters.monitor = monitorOf(loop, arguments.family);
  Linux::VrfPlatform vrf(loop, random, parameters);
  const Pax::IntfId intfId("default", arguments.interface);
  vrf.hello()->intfIs(intfId);

  auto transmissions = arguments.messages.empty() ? capturedMessages(arguments, intfId, vrf)
                                                  : writtenMessages(arguments, intfId, vrf, random);
  const Feed feed(vrf, intfId, std::move(transmissions),
                  {arguments.count, arguments.waitForNeighbor, [&loop] { loop.stop(); }});
  boost::asio::signal_set signals(loop.context(), SIGINT, SIGTERM);
  signals.async_wait([&loop](const boost::system::error_code &error, int) {
    if (!error) loop.stop();
  });
  loop.run();
  vrf.hello()->shutDown();
}

}  // namespace

int main(int count, char **words) { return Lab::toolMain("feeder", count, words, parse, feed); }
