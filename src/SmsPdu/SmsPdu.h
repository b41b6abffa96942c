// Short messages as they travel between a computer and its modem: TPDUs of 3GPP TS 23.040, bytes in, fields out.
#pragma once

#include "Address.h"
#include "DataCoding.h"
#include "Hex.h"
#include "PduResult.h"
#include "Septets.h"
#include "TimeStamp.h"
#include "UserData.h"
#include "UserDataHeader.h"

namespace sms_pdu {

// Purpose:  pure functions between octets and plain values. A TPDU here is without the service centre; in an AT line
//           that stands in front (DecodeServiceCentre, EncodeServiceCentre) and is not counted in AT+CMGS=<length>.
// Threads:  any. No state, no allocation.
// Errors:   decoding is total: a message, perhaps with defects, or a reason. *out is a fresh value then.
//           encoding writes nothing beyond capacity; on an error *written is 0.
// Pointers: octets may be null when size is 0; out pointers must not be null.

/// Room for any TPDU (a status report with every field is the longest), and for the service centre in front of it.
const std::size_t kTpduOctets = 176;
const std::size_t kPduOctets = kTpduOctets + kAddressMaxOctets;

/// SMS-DELIVER (9.2.2.1): a message on its way to this device.
struct Deliver {
  bool moreMessages = false;            // the centre has more (TP-MMS, inverted on the air)
  bool loopPrevention = false;          // TP-LP
  bool statusReportIndication = false;  // TP-SRI
  bool replyPath = false;               // TP-RP
  BYTE protocolId = 0;                  // TP-PID
  Address originator;                   // TP-OA
  TimeStamp time;                       // TP-SCTS
  UserData userData;
  unsigned defects = kDefectNone;  // out only
};

/// SMS-SUBMIT (9.2.2.2): a message from this device.
struct Submit {
  bool rejectDuplicates = false;     // TP-RD
  bool statusReportRequest = false;  // TP-SRR
  bool replyPath = false;            // TP-RP
  BYTE reference = 0;                // TP-MR; most modems put their own
  BYTE protocolId = 0;               // TP-PID
  Address destination;               // TP-DA
  Validity validity;                 // TP-VPF, TP-VP
  UserData userData;
  unsigned defects = kDefectNone;  // out only
};

/// SMS-STATUS-REPORT (9.2.2.3): what became of a message of this device.
struct StatusReport {
  bool moreMessages = false;    // TP-MMS, inverted on the air
  bool loopPrevention = false;  // TP-LP
  bool ofCommand = false;       // TP-SRQ: answers an SMS-COMMAND, not an SMS-SUBMIT
  BYTE reference = 0;           // TP-MR of the message it is about
  Address recipient;            // TP-RA
  TimeStamp time;               // TP-SCTS of the message it is about
  TimeStamp dischargeTime;      // TP-DT
  BYTE status = 0;              // TP-ST; see OutcomeOf
  bool hasProtocolId = false;   // the optional fields, as TP-PI says
  bool hasDataCoding = false;
  bool hasUserData = false;
  BYTE protocolId = 0;
  UserData userData;
  unsigned defects = kDefectNone;  // out only
};

/// What TP-ST says (9.2.3.15).
enum class Outcome : BYTE {
  Delivered,   // 0x00..0x1F: the transaction is complete
  StillTried,  // 0x20..0x3F: a temporary failure, the centre goes on trying
  Failed,      // everything else, reserved values too: no further attempt
};
Outcome OutcomeOf(BYTE status);

/// Types of a TPDU by its first octet; which of two it is depends on the way it goes.
enum class TpduType : BYTE { Deliver, StatusReport, Submit, Other };
TpduType TypeTowardsDevice(BYTE firstOctet);
TpduType TypeFromDevice(BYTE firstOctet);

PduError DecodeDeliver(const BYTE* octets, std::size_t size, Deliver* out);
PduError DecodeSubmit(const BYTE* octets, std::size_t size, Submit* out);
PduError DecodeStatusReport(const BYTE* octets, std::size_t size, StatusReport* out);

PduError EncodeDeliver(const Deliver& message, BYTE* out, std::size_t capacity, std::size_t* written);
PduError EncodeSubmit(const Submit& message, BYTE* out, std::size_t capacity, std::size_t* written);
PduError EncodeStatusReport(const StatusReport& message, BYTE* out, std::size_t capacity, std::size_t* written);

}  // namespace sms_pdu
