// Families of modems: how each names itself and what it knows.
#pragma once

#include <string>
#include <vector>

namespace modem_sim {

struct Profile {
  const char* name;
  const char* model;
  const char* serial;              // IMEI, or MEID of a CDMA device
  const char* capabilities;        // +GCAP
  int accessTechnology;            // <AcT> of +CREG and +COPS (3GPP TS 27.007, 7.2); -1: not told
  const char* networkKind;         // <n> of +WS46 (3GPP TS 27.007, 5.9); null: no such command
  const char* systemMode;          // <sys_mode> of ^SYSINFO; null: no such command
  const char* start;               // line at power on; null: none
  std::vector<std::string> lacks;  // commands that it answers with ERROR
};

/// @return null: no such profile. "wcdma" is there.
const Profile* FindProfile(const std::string& name);
/// All names.
std::vector<std::string> ProfileNames();

}  // namespace modem_sim
