// Between transfer PDUs and the message structures of the services.
#pragma once

#include "MmsPush.h"
#include "SMSDef.h"
#include "SmsPdu.h"

#include <string>
#include <vector>

namespace modem {

/// How received messages are read.
struct ReadRules {
  bool bNetworkTime = false;      // times stay those of the service centre's zone
  CWapPushes* pPushes = nullptr;  // remembers divided pushes; may be null
};

/// Reads a received or stored message as the modem gives it: hexadecimal, the service centre in front. A message that
/// cannot be decoded becomes an ordinary one with its octets as text, so that nothing is lost. A push to the MMS user
/// agent becomes a notification, each part of it one of its own: the first with head and data, the others with data.
/// @param enStat  state in the device memory; outgoing states expect an SMS-SUBMIT.
SMReadRecord ReadPdu(const std::string& hex, SMS_STAT enStat, const ReadRules& rules = {});

/// Reads a broadcast page, or all pages of a message of UMTS (3GPP TS 23.041, 9.4.1.2 and 9.4.2.2), as the modem gives
/// them: hexadecimal.
/// @return empty: they are damaged.
std::vector<CBSMessage> ReadPages(const std::string& hex);

/// An AT line's worth of PDU.
struct PduLine {
  std::string hex;             // the service centre in front
  std::size_t tpduOctets = 0;  // what AT+CMGS=<length> counts
  bool bBeginsRun = false;     // the first of several parts
};

/// A line from a modem, as it is written back.
/// @return false: it is damaged.
bool ToLine(const std::string& hex, PduLine& out);

/// @param config  validity, report request and service centre.
sms_pdu::PduError MakeSubmit(const SMS_PARAM& part, const WMSConfigurationType& config, PduLine& out);
/// A received message as it is written into a device memory.
sms_pdu::PduError MakeDeliver(const SMS_PARAM& part, PduLine& out);

/// The network's time as it is; all zero stays so.
UTTime ToNetworkTime(const sms_pdu::TimeStamp& time);
/// The network's time as this computer's local time; all zero stays so.
UTTime ToLocalTime(const sms_pdu::TimeStamp& time);
/// With this computer's zone at that time.
sms_pdu::TimeStamp FromLocalTime(const UTTime& local);

}  // namespace modem
