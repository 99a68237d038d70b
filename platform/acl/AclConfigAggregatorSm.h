/// Makes one ACL configuration of several: the ACLs that operators entered, and those that other inputs bring.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/acl/Acl.h"
#include "platform/kiv/Dir.h"

namespace Acl {

/// Merges the inputs of a directory and what operators entered (`cli`) into `aclConfig`, which nobody else may
/// write. If several have an ACL of one name, the operators' counts, or else that of the input that was there
/// first. Rules come over as a whole: `currCfg` is shared, not copied. When it goes, `aclConfig` stays as it is.
class AclConfigAggregatorSm {
 public:
  AclConfigAggregatorSm(const Kiv::Ptr<const Kiv::Dir<Input::Config>> &input, const Kiv::Ptr<const Input::Config> &cli,
                        const Kiv::Ptr<Input::Config> &aclConfig);
  ~AclConfigAggregatorSm();

 private:
  class KivInput;
  class KivDir;
  class KivAcl;

  /// An input came or went.
  void handleInput(const std::string &name);
  /// An ACL came to one of the inputs or left it.
  void handleAcl(const std::string &acl);
  /// The ACL of this name that counts, or null.
  Kiv::Ptr<const AclConfig> inForce(const std::string &acl) const;

  const Kiv::Ptr<const Kiv::Dir<Input::Config>> input_;
  const Kiv::Ptr<const Input::Config> cli_;
  const Kiv::Ptr<Input::Config> aclConfig_;
  std::map<std::string, std::unique_ptr<KivAcl>> acl_;
  std::map<std::string, std::unique_ptr<KivInput>> kivInput_;
  std::unique_ptr<KivInput> kivCli_;
  std::unique_ptr<KivDir> kivDir_;
};

}  // namespace Acl
