// What is known of the modem, its card and its network.
#pragma once

#include "SMSDef.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace modem {

/// The parts of a network that a modem registers with, each for itself (3GPP TS 27.007, 7.2, 10.1.20, 10.1.22).
enum Domain { DOMAIN_CIRCUIT, DOMAIN_PACKET, DOMAIN_EVOLVED, DOMAIN_COUNT };

/// How messages are listed and read without being marked read.
enum class QuietReading {
  kNone,         // the standards have no way
  kOwnCommands,  // AT^SMGL, AT^SMGR
  kMode          // AT+CMGL=4,1 and AT+CMGR=5,1
};

/// What the modem told of itself at its start, kept up to date by what it tells later. What it did not tell is empty.
struct ModemFacts {
  std::string model;  // maker and model, for messages
  std::string revision;
  std::string imei;                     // 15 digits
  std::vector<SMS_MEM> memories;        // that messages can be read from
  std::map<SMS_MEM, DWORD> capacities;  // as far as they were in use at the start
  std::string received;                 // name of the memory that new messages go to
  std::array<int, 5> indications = {};  // of AT+CNMI, as they are in force
  QuietReading quiet = QuietReading::kNone;
  bool acknowledges = false;            // direct messages wait for AT+CNMA (3GPP TS 27.005, 3.4.4)
  SimState sim = SIM_STATE_NONE;
  DevDataDef::PinStatus pin = DevDataDef::PIN_UNKNOWN;
  std::string iccid;
  std::string imsi;
  std::array<SysSrvStatus, DOMAIN_COUNT> domains = {};
  SysSrvStatus network = SYS_SRV_STATUS_NONE;  // the best of them
  std::string operatorCode;
  DWORD signal = 99;  // 0..31 of AT+CSQ, 99: unknown
  std::string serviceCentre;
};

}  // namespace modem
