#include "platform/linux/Capabilities.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/tracelet/Tracelet.h"

namespace Linux {

namespace {

Tracelet::Module trace("Capabilities");

constexpr uint64_t bit(int capability) { return uint64_t{1} << capability; }

constexpr uint64_t inForce = bit(CAP_NET_RAW) | bit(CAP_NET_ADMIN) | bit(CAP_NET_BIND_SERVICE) | bit(CAP_DAC_OVERRIDE);
constexpr uint64_t systemAdministration = bit(CAP_SYS_ADMIN);

// Those of the calling thread. The C library has no functions for this.
struct Sets {
  uint64_t effective = 0;
  uint64_t permitted = 0;

  static std::optional<Sets> now() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, data) != 0) return std::nullopt;
    return Sets{data[0].effective | uint64_t{data[1].effective} << 32,
                data[0].permitted | uint64_t{data[1].permitted} << 32};
  }
  // Nothing is inheritable, so that nothing is ambient either.
  bool apply() const {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{
        {static_cast<uint32_t>(effective), static_cast<uint32_t>(permitted), 0},
        {static_cast<uint32_t>(effective >> 32), static_cast<uint32_t>(permitted >> 32), 0}};
    return syscall(SYS_capset, &header, data) == 0;
  }
};

}  // namespace

void keepNeededCapabilities() {
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
    TRACELET(trace, 1, "New privileges cannot be forgone: " << std::strerror(errno));
  }
  const auto had = Sets::now();
  const Sets kept = had ? Sets{had->effective & inForce, had->permitted & (inForce | systemAdministration)} : Sets();
  if (!had || !kept.apply()) TRACELET(trace, 1, "Capabilities cannot be given up: " << std::strerror(errno));
}

SystemAdministration::SystemAdministration()
    : raised_([] {
        auto sets = Sets::now();
        if (!sets || sets->effective & systemAdministration || !(sets->permitted & systemAdministration)) return false;
        sets->effective |= systemAdministration;
        return sets->apply();
      }()) {}

SystemAdministration::~SystemAdministration() {
  if (!raised_) return;
  auto sets = Sets::now();
  if (sets) sets->effective &= ~systemAdministration;
  if (!sets || !sets->apply()) TRACELET(trace, 1, "CAP_SYS_ADMIN stays in force: " << std::strerror(errno));
}

}  // namespace Linux
