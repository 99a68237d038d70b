// A PIM neighbor that attacks the routers on its link.
#include <boost/program_options.hpp>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <optional>
#include <thread>

#include "lab/Attacks.h"
#include "lab/ToolMain.h"

namespace {

using namespace Lab;
using Clock = std::chrono::steady_clock;
namespace options = boost::program_options;

struct Arguments {
  HostileNeighbor::Parameters neighbor;
  const Attack *attack = nullptr;
  double seconds = 0;
  uint64_t rate = 0;
  uint64_t rounds = 0;
};

void usage(const options::options_description &known) {
  std::cout << known << "\nAttacks:\n";
  for (const Attack &attack : attacks()) {
    std::cout << "  " << std::left << std::setw(16) << attack.name << ' ' << attack.help << '\n';
  }
}

// Throws options::error; no value when only help was asked for.
std::optional<Arguments> parse(int count, char **words) {
  Arguments arguments;
  std::string attack, address, bsr, target;
  options::options_description known(
      "Attacks the routers on a link, in the namespace in which it is started, and prints how many messages it has\n"
      "sent in how many seconds. For labs only: never in a network that somebody uses.\n\nOptions",
      100);
  auto add = known.add_options();
  add("help", "print this help");
  add("attack", options::value(&attack)->required(), "which one, see below");
  add("interface", options::value(&arguments.neighbor.interface)->required(), "the interface to send on");
  add("address", options::value(&address)->required(), "source address there; for IPv6 link-local");
  add("bsr", options::value(&bsr)->required(), "the address to claim as BSR, which must lead here");
  add("target", options::value(&target)->required(), "the BSR to send unicast messages to");
  add("seconds", options::value(&arguments.seconds)->default_value(10), "how long");
  add("rate", options::value(&arguments.rate)->default_value(2000), "messages a second; 0: as many as possible");
  add("rounds", options::value(&arguments.rounds)->default_value(0),
      "end after so many rounds; 0: when the time is over");

  options::variables_map given;
  options::store(options::parse_command_line(count, words, known), given);
  if (given.contains("help")) {
    usage(known);
    return {};
  }
  options::notify(given);
  arguments.attack = attackOf(attack);
  if (!arguments.attack) throw options::error("there is no attack '" + attack + "'");
  arguments.neighbor.address = Pax::IpGenAddr::fromText(address);
  arguments.neighbor.bsr = Pax::IpGenAddr::fromText(bsr);
  arguments.neighbor.target = Pax::IpGenAddr::fromText(target);
  return arguments;
}

void run(const Arguments &arguments) {
  constexpr double helloInterval = 30;
  constexpr std::chrono::milliseconds moment{1};
  HostileNeighbor neighbor(arguments.neighbor);
  const auto start = Clock::now();
  const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
  neighbor.sayHello();
  std::this_thread::sleep_for(100 * moment);  // a neighbor is known before it is believed
  double nextHello = helloInterval;
  uint64_t round = 0;
  for (; passed() < arguments.seconds && (arguments.rounds == 0 || round < arguments.rounds); ++round) {
    if (passed() > nextHello) {
      neighbor.sayHello();
      nextHello += helloInterval;
    }
    arguments.attack->round(neighbor, round);
    while (arguments.rate != 0 &&
           static_cast<double>(neighbor.sent() + neighbor.failed()) > static_cast<double>(arguments.rate) * passed() &&
           passed() < arguments.seconds) {
      std::this_thread::sleep_for(moment);
    }
  }
  std::cout << neighbor.sent() << ' ' << std::fixed << std::setprecision(1) << passed() << '\n';
  if (neighbor.failed() > 0) std::cerr << "attacker: " << neighbor.failed() << " messages could not be sent\n";
}

}  // namespace

int main(int count, char **words) { return Lab::toolMain("attacker", count, words, parse, run); }
