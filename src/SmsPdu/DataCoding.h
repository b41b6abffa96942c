// The data coding scheme of a short message (3GPP TS 23.038, 4).
#pragma once

#include "VelkTypes.h"

namespace sms_pdu {

enum class Coding : BYTE { Gsm7, Octets, Ucs2 };

/// What a message-waiting indication is about, in the order of the standard.
enum class Waiting : BYTE { VoiceMail = 0, Fax = 1, EMail = 2, Other = 3 };

/// TP-DCS taken apart. Reserved values read as the GSM 7-bit alphabet, as the standard asks.
struct DataCoding {
  Coding coding = Coding::Gsm7;
  std::int8_t messageClass = -1;  // 0..3, or -1: none
  bool compressed = false;
  bool autoDelete = false;         // marked for deletion once read
  bool reserved = false;           // a value the standard has not given out
  bool indication = false;         // message-waiting group; the next three count
  bool indicationActive = false;   // something waits
  bool indicationDiscard = false;  // the message itself need not be stored
  Waiting waiting = Waiting::VoiceMail;
};

DataCoding ParseDataCoding(BYTE dcs);
/// The general scheme for a coding and a class of 0..3, or -1 for none.
BYTE MakeDataCoding(Coding coding, int messageClass);

}  // namespace sms_pdu
