// What a simulated modem is made of and how it behaves.
#pragma once

#include "Faults.h"
#include "Profile.h"

#include <map>
#include <string>
#include <vector>

namespace modem_sim {

/// Version that the modem names as its own and the program with --version.
extern const char* const kVersion;

/// <stat> of +CREG (3GPP TS 27.007, 7.2).
enum class NetworkState : int { None = 0, Home = 1, Searching = 2, Denied = 3, Roaming = 5 };

enum class CardState { Ready, Pin, Puk, Absent, Busy };

/// Numbers are ASCII as a person writes them, "+491710000001".
struct ModemOptions {
  const Profile* profile = FindProfile("wcdma");
  std::string number = "+491710000001";         // own number: what is sent to it comes back
  std::string serviceCentre = "+491710760000";  // address in front of received messages
  int simCapacity = 20;                         // places of memory SM
  int meCapacity = 100;                         // places of memory ME
  bool simFull = false;                         // every place of SM is taken at the start
  bool meFull = false;
  int latencyMs = 0;                          // before the verdict of a send, and again before what follows from it
  std::map<std::string, int> latencies;       // command, upper case -> milliseconds before it is carried out
  std::map<std::string, int> refusals;        // recipient -> +CMS ERROR code
  std::vector<Fault> faults;                  // from the start
  int baud = 0;                               // speed of the line, both ways; 0: at once
  std::string pin;                            // empty: the card is not locked
  std::string puk = "12345678";               // takes the block off, with a new PIN
  CardState card = CardState::Ready;          // Ready becomes Pin when there is a PIN
  NetworkState network = NetworkState::Home;  // as soon as the card is unlocked
  int signal = 20;                            // <rssi> of +CSQ
  bool direct = false;                        // +CNMI <mt> 1 is taken for 2: no new message goes into a memory
  bool interrupt = false;                     // unsolicited lines also inside replies, as careless devices do
};

}  // namespace modem_sim
