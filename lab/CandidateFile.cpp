#include "lab/CandidateFile.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "daemon/JsonText.h"
#include "daemon/ObjectReader.h"

namespace Lab {

using namespace Routing::Pim;
using Bsr::ObjectReader;
using nlohmann::json;

namespace {

constexpr uint64_t intervalMost = 21845;

class Reader {
 public:
  Reader(Pax::AddressFamily family, Bsr::Findings &findings) : family_(family), findings_(findings) {}

  /// The text as its type; an error where it is none, or is of the other family.
  template <class Type>
  Type checked(const std::string &text, const std::string &path) {
    try {
      const Type value = Type::fromText(text);
      if (value.af() == family_) return value;
      findings_.error(path, text + " is of the wrong family");
    } catch (const Kiv::RangeError &error) {
      findings_.error(path, error.what());
    }
    return {};
  }

  CandidateFile::BsrCandidacy bsr(const std::string &zone, const json &value, const std::string &path) {
    ObjectReader members(value, path, findings_);
    CandidateFile::BsrCandidacy bsr;
    bsr.zone = zone == "global" ? Pax::allGroups(family_) : checked<Pax::IpGenPrefix>(zone, path);
    bsr.address = checked<Pax::IpGenAddr>(members.text("address").value_or(""), members.path("address"));
    bsr.interface = members.text("interface").value_or("lo");
    const unsigned bits = Pax::addressBits(family_);
    bsr.priority = static_cast<uint16_t>(members.number("priority", 0, 255).value_or(64));
    bsr.hashMaskLen = static_cast<uint32_t>(members.number("hashMaskLen", 0, bits).value_or(bits - 2));
    if (bsr.hashMaskLen == Bsr::hashMaskLenUnset) findings_.error(members.path("hashMaskLen"), "128 means not set");
    bsr.interval = interval(members);
    members.noOthers();
    return bsr;
  }

  CandidateFile::RpCandidacy rp(const std::string &address, const json &value, const std::string &path) {
    ObjectReader members(value, path, findings_);
    CandidateFile::RpCandidacy rp;
    rp.address = checked<Pax::IpGenAddr>(address, path);
    rp.interface = members.text("interface").value_or("lo");
    rp.mode = Mode::fromText(members.word("mode", {"sparsemode", "bidir"}).value_or("sparsemode"));
    rp.interval = CrpAdvInterval(interval(members));
    members.each("ranges", [&](const std::string &prefix, const json &priority, const std::string &at) {
      const bool good = priority.is_number_unsigned() && priority.get<uint64_t>() <= 255;
      if (!good) findings_.error(at, "is no priority from 0 to 255");
      rp.ranges.push_back({checked<Pax::IpGenPrefix>(prefix, at), good ? priority.get<RpPriority>() : RpPriority{0}});
    });
    if (rp.ranges.empty()) findings_.error(path, "has no ranges");
    members.noOthers();
    return rp;
  }

 private:
  static uint32_t interval(ObjectReader &members) {
    return static_cast<uint32_t>(members.number("interval", 1, intervalMost).value_or(60));
  }

  const Pax::AddressFamily family_;
  Bsr::Findings &findings_;
};

std::string contentOf(const std::string &file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw std::runtime_error(file + ": cannot be read");
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

CandidateFile::CandidateFile(const std::string &file, Pax::AddressFamily family) : family_(family) {
  Bsr::Findings findings;
  const json root = Bsr::parseJson(contentOf(file), findings);
  Reader reader(family, findings);
  ObjectReader members(root, "", findings);
  members.each("bsr", [&](const std::string &zone, const json &value, const std::string &path) {
    bsrs_.push_back(reader.bsr(zone, value, path));
  });
  members.each("rp", [&](const std::string &address, const json &value, const std::string &path) {
    rps_.push_back(reader.rp(address, value, path));
  });
  members.noOthers();
  std::string errors;
  for (const Bsr::Finding &error : findings.errors) {
    if (!errors.empty()) errors += '\n';
    errors += toText(file, error);
  }
  if (!errors.empty()) throw std::runtime_error(errors);
}

void CandidateFile::writeTo(Bsr::Status &status) const {
  const bool ipv4 = family_ == Pax::AddressFamily::ipv4;
  status.crpPermitIs(Pax::IpGenPrefix(ipv4 ? Pax::IpGenAddr::v4(0) : Pax::IpGenAddr::v6(0, 0), 0), true);
  for (const BsrCandidacy &bsr : bsrs_) {
    const auto candidate = status.cbsrIs(bsr.zone);
    candidate->intfIdIs({status.name(), bsr.interface});
    candidate->addressIs(bsr.address);
    candidate->priorityIs(bsr.priority);
    candidate->hashMaskLenIs(bsr.hashMaskLen);
    candidate->bsPeriodIs(bsr.interval);
  }
  for (const RpCandidacy &rp : rps_) {
    const auto candidate = status.crpIs(rp.address);
    candidate->intfIdIs({status.name(), rp.interface});
    candidate->modeIs(rp.mode);
    candidate->intervalIs(rp.interval);
    for (const Range &range : rp.ranges) {
      candidate->prefixSetIs(range.prefix);
      candidate->prefixOptionsIs(range.prefix)->priorityIs(range.priority);
    }
  }
}

}  // namespace Lab
