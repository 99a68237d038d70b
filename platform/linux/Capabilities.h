/// What the process may do beyond the rights of a normal user (capabilities(7)).
#pragma once

namespace Linux {

/// Gives up, for this thread and those that it makes later, every capability but those that the agent needs:
/// CAP_NET_RAW and CAP_NET_ADMIN for its sockets, CAP_NET_BIND_SERVICE for a low port of the metrics, CAP_DAC_OVERRIDE
/// where root runs it on another user's files, and CAP_SYS_ADMIN, which is in force only while another network
/// namespace is entered. Nothing that is run later has more. What the kernel refuses is traced: then the process goes
/// on with what it has.
void keepNeededCapabilities();

/// CAP_SYS_ADMIN is in force for this thread as long as this object lives, if the process has it at all.
class SystemAdministration {
 public:
  SystemAdministration();
  ~SystemAdministration();
  SystemAdministration(const SystemAdministration &) = delete;
  SystemAdministration &operator=(const SystemAdministration &) = delete;

 private:
  const bool raised_;
};

}  // namespace Linux
