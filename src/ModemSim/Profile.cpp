// The table of families.
#include "Profile.h"

#include <algorithm>

namespace modem_sim {
namespace {

// Serial numbers of test equipment: type allocation code 00499901; manufacturer code A1000009.
const std::vector<Profile>& Profiles() {
  static const std::vector<Profile> kProfiles = {
      {"gsm",
       "Simulated GSM Modem",
       "004999010640018",
       "+GCAP: +CGSM",
       -1,
       "12",
       nullptr,
       nullptr,
       {"+CEREG", "^SYSINFO", "^CURC"}},
      {"wcdma", "Simulated Modem", "004999010640000", "+GCAP: +CGSM", 2, "22", "5", "^SYSSTART", {"+CEREG"}},
      {"lte", "Simulated LTE Modem", "004999010640026", "+GCAP: +CGSM,+CLTE2", 7, "28", "17", "RDY", {}},
      {"cdma",
       "Simulated CDMA Modem",
       "A1000009000001",
       "+GCAP: +CIS707-A,CIS-856,+MS,+ES,+DS,+FCLASS",
       -1,
       nullptr,
       "2",
       nullptr,
       {"+CGREG", "+CEREG", "+CGATT", "+COPS", "+WS46", "+CGSN", "+CGSMS", "^CURC"}},
  };
  return kProfiles;
}

}  // namespace

const Profile* FindProfile(const std::string& name) {
  const auto found =
      std::find_if(Profiles().begin(), Profiles().end(), [&](const Profile& profile) { return name == profile.name; });
  return found == Profiles().end() ? nullptr : &*found;
}

std::vector<std::string> ProfileNames() {
  std::vector<std::string> names;
  for (const Profile& profile : Profiles()) names.push_back(profile.name);
  return names;
}

}  // namespace modem_sim
