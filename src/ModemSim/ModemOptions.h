// What a simulated modem is made of and how it behaves.
#pragma once

#include <map>
#include <string>

namespace modem_sim {

/// Version that the modem names as its own and the program with --version.
extern const char* const kVersion;

/// <stat> of +CREG (3GPP TS 27.007, 7.2).
enum class NetworkState : int { None = 0, Home = 1, Searching = 2, Denied = 3, Roaming = 5 };

/// Numbers are ASCII as a person writes them, "+491710000001".
struct ModemOptions {
  std::string number = "+491710000001";         // own number: what is sent to it comes back
  std::string serviceCentre = "+491710760000";  // address in front of received messages
  int simCapacity = 20;                         // places of memory SM
  int meCapacity = 100;                         // places of memory ME
  int latencyMs = 0;                            // before the verdict of a send, and again before what follows from it
  std::map<std::string, int> refusals;          // recipient -> +CMS ERROR code
  int refuseNth = 0;                            // this send of the modem's life is refused; 0: none
  std::string pin;                              // empty: the card is not locked
  NetworkState network = NetworkState::Home;    // as soon as the card is unlocked
  bool interrupt = false;                       // unsolicited lines also inside replies, as careless devices do
};

}  // namespace modem_sim
